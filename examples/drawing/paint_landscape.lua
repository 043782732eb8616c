-- The demo of drawing_paint.lua: moves the pointer by itself and paints a landscape.
--
--   spawn(require "paint_landscape", {}, paint, tools, panels, pointer)

-- One stroke a row: the tool, its points, and the settings that differ from the defaults.
local plain = {
  filled = "yes", width = 1, size = 100, angle = 0, flags = "normal", opacity = 255,
  effect = "solid",
}
local steps = {
  -- The sky, brighter towards the horizon, and the sun in its glow.
  { tool = "fill", 284, 60, colour = "4888e8" },
  { tool = "rectangle", 0, 40, 567, 300, colour = "90c0f8", opacity = 64 },
  { tool = "rectangle", 0, 75, 567, 300, colour = "90c0f8", opacity = 64 },
  { tool = "rectangle", 0, 110, 567, 300, colour = "d0e8ff", opacity = 64 },
  { tool = "rectangle", 0, 145, 567, 300, colour = "d0e8ff", opacity = 64 },
  { tool = "rectangle", 0, 180, 567, 300, colour = "f8e0c0", opacity = 128 },
  { tool = "rectangle", 0, 210, 567, 300, colour = "f8e0c0", opacity = 128 },
  { tool = "circle", 215, 95, 215, 165, colour = "f8b830", opacity = 64, effect = "additiveblend" },
  { tool = "circle", 215, 95, 215, 145, colour = "f8e858", opacity = 96, effect = "screenblend" },
  { tool = "circle", 215, 95, 215, 127, colour = "f8f8b0" },
  { tool = "stamp", 290, 70, stamp = "cloud", size = 200, opacity = 224 },
  { tool = "stamp", 372, 100, stamp = "cloud", size = 150, opacity = 192, flags = "hmirror" },
  { tool = "stamp", 500, 50, stamp = "cloud", size = 200, flags = "ghost_hmirror" },

  -- Hills, paler with distance.
  { tool = "ellipse", 300, 170, -120, 420, colour = "38a0b8", opacity = 160 },
  { tool = "ellipse", 150, 190, 480, 420, colour = "1c6880", opacity = 160 },
  { tool = "ellipse", 230, 140, 650, 460, colour = "389040" },
  { tool = "ellipse", 330, 210, -180, 460, colour = "70c048" },

  -- A brick wall: two courses are painted where the lake will be, then taken and tiled.
  { tool = "rectangle", 20, 330, 35, 341, colour = "b87848" },
  { tool = "line", 20, 335, 35, 335, colour = "e0b080" },
  { tool = "line", 20, 341, 35, 341, colour = "e0b080" },
  { tool = "line", 24, 330, 24, 335, colour = "e0b080" },
  { tool = "line", 32, 336, 32, 341, colour = "e0b080" },
  { tool = "block", 20, 330, 35, 341 },
  { tool = "tile", 380, 220, 475, 279 },

  -- The roof is filled inside its outline. A window, copied for the other one; a door, a chimney.
  { tool = "line", 368, 222, 428, 176, colour = "8a1c2c", width = 4 },
  { tool = "line", 428, 176, 488, 222, colour = "8a1c2c", width = 4 },
  { tool = "line", 368, 222, 488, 222, colour = "8a1c2c", width = 4 },
  { tool = "fill", 428, 200, colour = "d83838" },
  { tool = "rectangle", 390, 236, 409, 257, colour = "d0e8ff" },
  { tool = "rectangle", 390, 236, 409, 257, colour = "5a2a1e", width = 2, filled = "no" },
  { tool = "line", 390, 246, 409, 246, colour = "5a2a1e" },
  { tool = "line", 400, 236, 400, 257, colour = "5a2a1e" },
  { tool = "block", 390, 236, 409, 257 },
  { tool = "stamp", 456, 247, stamp = "block" },
  { tool = "rectangle", 419, 240, 437, 279, colour = "5a2a1e" },
  { tool = "circle", 433, 262, 433, 263, colour = "f8b830" },

  -- A tree, taken with the green around it and repeated smaller and mirrored.
  { tool = "rectangle", 116, 250, 123, 284, colour = "5a2a1e" },
  { tool = "circle", 118, 238, 118, 258, colour = "205c30" },
  { tool = "circle", 108, 246, 108, 256, colour = "205c30" },
  { tool = "circle", 124, 232, 124, 242, colour = "389040" },
  { tool = "block", 95, 218, 141, 286 },
  { tool = "stamp", 60, 266, stamp = "block", size = 75 },
  { tool = "stamp", 178, 268, stamp = "block", size = 75, flags = "hmirror" },

  -- A fence: one picket, tiled.
  { tool = "rectangle", 240, 276, 245, 295, colour = "f8e0c0" },
  { tool = "line", 238, 283, 248, 283, colour = "f8e0c0", width = 2 },
  { tool = "block", 239, 276, 248, 295 },
  { tool = "tile", 240, 276, 319, 295 },

  -- Flowers.
  { tool = "stamp", 350, 262, stamp = "star", size = 35 },
  { tool = "stamp", 362, 290, stamp = "star", size = 35 },
  { tool = "stamp", 520, 270, stamp = "star", size = 35, effect = "tint", colour = "e888c8" },
  { tool = "stamp", 540, 286, stamp = "star", size = 35, effect = "invert" },

  -- The lake mirrors what is above it, under translucent blue.
  { tool = "rectangle", 0, 300, 567, 399, colour = "2848a8" },
  { tool = "block", 0, 200, 567, 299 },
  { tool = "stamp", 284, 350, stamp = "block", flags = "ghost_vmirror" },
  { tool = "stamp", 215, 318, stamp = "spark", size = 150, effect = "additiveblend" },
  { tool = "stamp", 226, 340, stamp = "spark", size = 125, effect = "additiveblend" },
  { tool = "stamp", 208, 362, stamp = "spark", size = 100, effect = "additiveblend" },

  -- Reeds, drawn by hand, and what flies.
  { tool = "pen", 500, 399, 504, 380, 502, 362, 496, 350, colour = "183020", width = 4 },
  { tool = "pen", 516, 399, 518, 372, 524, 350, 534, 340, colour = "183020", width = 4 },
  { tool = "pen", 532, 399, 530, 380, 534, 366, 542, 358, colour = "205c30", width = 4 },
  { tool = "ellipse", 491, 334, 498, 354, colour = "5a2a1e" },
  { tool = "ellipse", 531, 322, 538, 344, colour = "5a2a1e" },
  { tool = "stamp", 110, 90, stamp = "bird", size = 75 },
  { tool = "stamp", 60, 120, stamp = "bird", size = 50, angle = 15 },
  { tool = "stamp", 150, 130, stamp = "bird", size = 50, effect = "tint", colour = "e888c8" },
  { tool = "line", 516, 130, 522, 150, colour = "5a2a1e" },
  { tool = "line", 544, 130, 538, 150, colour = "5a2a1e" },
  { tool = "rectangle", 521, 150, 539, 162, colour = "8a4a2a" },
  { tool = "stamp", 530, 108, stamp = "ball", size = 125, angle = 345 },
}

return function(_, paint, tools, panels, pointer)
  local function choose(name, wanted)
    for at, value in ipairs(paint.settings[name].values) do
      if value == wanted then paint.settings[name].at = at end
    end
  end

  local function glide(x, y, frames)
    local from_x, from_y = pointer.x, pointer.y
    for i = 1, frames do
      pointer.x = from_x + (paint.sheet.x + x - from_x) * i // frames
      pointer.y = from_y + (paint.sheet.y + y - from_y) * i // frames
      frame()
    end
  end

  for _, s in ipairs(steps) do
    paint.tool = tools[s.tool]
    if s.colour then paint.colour = paint.colour_of(s.colour) end
    for _, stamp in ipairs(paint.stamps) do
      if stamp.name == s.stamp then paint.stamp = stamp end
    end
    for name, value in pairs(plain) do choose(name, s[name] or value) end
    panels.draw()
    glide(s[1], s[2], 3)
    pointer.left = true
    frame()
    for i = 3, #s, 2 do glide(s[i], s[i + 1], #s > 4 and 1 or 4) end
    pointer.left = false
    frame()
  end
end
