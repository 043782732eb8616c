-- The sea of games_pearls.lua: the stage on which everything is drawn, and what moves there by itself.
--
--   local sea = require "pearls_sea" (width, height, surface, floor, turn)
--
-- All below the lights of the score is drawn on one picture, the stage. A single process shows the stage
-- on the screen, and so can shake it, enlarge it and make it flash.
--
--   sea.hour              how late it is: 0 in the morning, 1 at sunset
--   sea.put(body, locals, ...)   spawns a process on the stage
--   sea.jolt(pixels, intensity, r, g, b)   shakes the stage and lights it up in a colour
--   sea.bubbles, sea.burst, sea.say        small things that fly and vanish
--   sea.boat              the boat, a process
--   sea.picture(name)     loads a picture of the game

return function(width, height, surface, floor, turn)
  local random, sin, cos, max, min = math.random, math.sin, math.cos, math.max, math.min
  local sea = { hour = 0 }

  function sea.picture(name) return image_load("../assets/pearls/" .. name .. ".png") end
  local picture = sea.picture
  sea.font = font_load "../assets/pearls/pearls.bdf"

  -- ---- The stage --------------------------------------------------------------------------------

  local stage = map_new(width, height)
  local shaking, lit, light = 0, 0, 0

  -- Shakes the stage by so many pixels and lights it up in a colour (intensity to 255). Both die away.
  function sea.jolt(pixels, intensity, r, g, b)
    shaking, lit, light = max(shaking, pixels), intensity, rgb(r, g, b)
  end

  local function show_stage(self)
    while true do
      self.x = width // 2 + (2 * random() - 1) * shaking
      self.y = height // 2 + (2 * random() - 1) * shaking
      self.size = 100 + 2 * shaking -- so large that no edge is seen
      self.fxcolor, self.fxintensity = light, lit
      shaking, lit = shaking > 0.5 and shaking * 0.9 or 0, lit * 0.9
      turn()
    end
  end
  spawn(show_stage, { graph = stage, z = -500, flags = flg_nokey, fxmode = fx_tint })

  function sea.put(body, locals, ...)
    locals.destination_graph = stage
    return spawn(body, locals, ...)
  end
  local put = sea.put

  -- ---- What moves by itself ---------------------------------------------------------------------

  local function stay() while true do turn() end end

  -- The picture repeats itself every 40 pixels.
  local function waves(self)
    while true do
      self.x = self.x - 0.3
      if self.x < 140 then self.x = self.x + 40 end
      turn()
    end
  end

  -- Leans to and fro.
  local function sway(self, pace, time)
    while true do
      time = time + pace
      self.shear_x = 22 * sin(time)
      if self.fades then self.alpha = 190 * (1 - sea.hour) end
      turn()
    end
  end

  local function sun(self)
    while true do
      self.x, self.y = 60 + 225 * sea.hour, 12 + 48 * sea.hour ^ 4
      turn()
    end
  end

  -- Multiplies all that is behind it by its colour; lights are in front of it.
  local function night(self)
    while true do
      self.alpha = 235 * max(0, 2 * sea.hour - 1)
      turn()
    end
  end

  local function sail(self)
    local time = 0
    while true do
      time = time + 1 + sea.hour
      self.x, self.y = width / 2 + 110 * sin(time / 260), surface - 12 + 1.5 * sin(time / 25)
      self.angle = 3000 * sin(time / 40)
      turn()
    end
  end

  local sky_region, middle_x, middle_y = 1, width // 2, height // 2
  region_define(sky_region, 0, 0, width, surface) -- behind the sea the sun isn't seen
  put(stay, { graph = picture "sea", x = middle_x, y = middle_y, z = 100, flags = flg_nokey })
  put(sun, { graph = picture "sun", z = 95, region = sky_region })
  local ray, weed = picture "ray", picture "weed"
  for i = 0, 3 do
    local locals = { graph = ray, x = 45 + 80 * i, y = surface + 75, z = 90, fades = true }
    put(sway, locals, 0.01, 2 * i).fxmode = fx_additiveblend
  end
  map_set_center(0, weed, 9, 43) -- its root
  for i = 0, 8 do
    put(sway, { graph = weed, x = 8 + 38 * i, y = floor + 12 - i * 5 % 4, z = 80 }, 0.03 + i % 3 / 90, i)
  end
  sea.boat = put(sail, { graph = picture "boat", z = 70 })
  put(waves, { graph = picture "waves", x = 180, y = surface + 1, z = 60 })
  put(night, { graph = map_new(width, height, rgb(60, 60, 130)), x = middle_x, y = middle_y, z = -50,
    flags = flg_nokey, fxmode = fx_multiplyblend })

  -- ---- What flies and vanishes ------------------------------------------------------------------

  local function bubble(self)
    local wobble = random() * 6
    while self.y > surface + 4 do
      wobble = wobble + 0.15
      self.x, self.y = self.x + 0.5 * sin(wobble), self.y - 0.5 - self.size / 200
      turn()
    end
  end

  local picture_of_bubble = picture "bubble"
  function sea.bubbles(x, y, count)
    for _ = 1, count do
      put(bubble, { graph = picture_of_bubble, x = x + random(-6, 6), y = y + random(-6, 6), z = -5,
        size = random(40, 110), alpha = 170 })
    end
  end

  local function spark(self, dx, dy)
    for age = 1, 30 do
      self.x, self.y, dx, dy = self.x + dx, self.y + dy, dx * 0.93, dy * 0.93
      self.size, self.alpha = 34 - age, 255 - 8 * age
      turn()
    end
  end

  function sea.burst(x, y, graph, count)
    for _ = 1, count do
      local way, speed = random() * 2 * math.pi, 0.5 + 3 * random()
      put(spark, { graph = graph, x = x, y = y, z = -60, fxmode = fx_additiveblend },
        speed * cos(way), speed * sin(way))
    end
  end

  local function float(_, text, size)
    for age = 1, 70 do
      text.size = size * (1 + 0.1 * max(0, 10 - age))
      text.y, text.alpha = text.y - 0.4, min(255, 8 * (70 - age))
      turn()
    end
    text:kill()
  end

  -- Shows a text that rises and fades; size in percent.
  function sea.say(line, x, y, size, colour)
    local text = write(line, { x = max(75, min(width - 75, x)), y = y, z = -70, align = "middle",
      font = sea.font, colour = colour, destination_graph = stage })
    spawn(float, {}, text, size)
  end

  return sea
end
