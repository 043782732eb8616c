-- One sprite, drawn in every way.
--
-- Rows: natural and mirrored; scaled; rotated; sheared, in all six orders of shear (h), scale (s)
-- and rotation (r); ghost and no key; blocks and tiles. All of it is drawn on the ground once; the
-- rotating bird on the right is a process.
--
-- Keys: 8, 1 and 3 switch to 8, 16 and 32 bits a pixel, escape ends.
-- Argument: the depth, 8, 16 or 32; "help" lists it.

local options = require "options" { { "depth", 32, "bits a pixel", { 8, 16, 32 } } }

local depths = { ["8"] = 8, ["1"] = 16, ["3"] = 32 }
local bird

-- Prints a line on the ground, over its shadow.
local function label(x, y, line, align)
  for i, colour in ipairs { { 30, 20, 50 }, { 255, 255, 255 } } do
    local graph = text_graph(line, { colour = colour, align = align or "centre" })
    ground_put(0, graph, x + 2 - i, y + 2 - i)
    map_unload(graph)
  end
end

-- The bird with every transform: angle, sizes, shears, order, flags, then alpha.
local function put(x, y, name, t)
  ground_xxput(0, bird, x, y, t.angle or 0, t.size_x or 100, t.size_y or 100, t.shear_x or 0,
    t.shear_y or 0, t.order or tfm_hsr, t.flags or flg_normal, 0, t.alpha or 255, fx_solid)
  label(x, y + 35, name)
end

local function draw_sheet()
  label(8, 4, "Transforms at " .. mode_get_bpp() .. " bits", "left")

  put(60, 50, "natural", {})
  put(150, 50, "hmirror", { flags = flg_hmirror })
  put(240, 50, "vmirror", { flags = flg_vmirror })
  put(330, 50, "hvmirror", { flags = flg_hvmirror })

  put(60, 140, "60 %", { size_x = 60, size_y = 60 })
  put(150, 140, "130 %", { size_x = 130, size_y = 130 })
  put(240, 140, "140 x 60 %", { size_x = 140, size_y = 60 })
  put(330, 140, "60 x 130 %", { size_x = 60, size_y = 130, flags = flg_hmirror })

  put(60, 230, "30 degrees", { angle = 30000 })
  put(150, 230, "90 degrees", { angle = 90000 })
  put(240, 230, "200 at 70 %", { angle = 200000, size_x = 70, size_y = 70 })
  put(330, 230, "30 mirrored", { angle = 30000, flags = flg_hmirror })

  local orders = { hsr = tfm_hsr, hrs = tfm_hrs, shr = tfm_shr, srh = tfm_srh, rhs = tfm_rhs,
    rsh = tfm_rsh }
  for i, name in ipairs { "hsr", "hrs", "shr", "srh", "rhs", "rsh" } do
    put(60 + (i - 1) * 90, 320, name, {
      order = orders[name], angle = 20000, size_x = 120, size_y = 70, shear_x = 40
    })
  end

  put(440, 140, "ghost", { flags = flg_ghost })
  put(440, 230, "no key", { flags = flg_nokey })
  put(530, 140, "alpha 128", { alpha = 128 })
  put(530, 230, "ghost turned", { flags = flg_ghost, angle = 315000 })

  -- Blocks: the bird cut into four pieces, drawn a little apart.
  for column = 0, 1 do
    for row = 0, 1 do
      ground_put_block(0, bird, 30 + column * 36, 385 + row * 28, column * 30, row * 22, 30, 22)
    end
  end
  label(62, 447, "blocks")

  region_define(1, 130, 385, 480, 60)
  ground_put_tile(0, bird, 150, 400, flg_normal, 1)
  label(370, 447, "tiles")
end

-- Rotates, grows and shrinks.
local function acrobat(self)
  local step = 0
  while true do
    step = step + 1
    self.graph = bird
    self.angle = step * 2000
    self.size = 110 + math.floor(50 * math.sin(step / 30))
    frame()
  end
end

local function set_screen(depth)
  image_unload(all_image)
  mode_set(640, 480, depth, mode_window)
  local back = image_load("../assets/meadow.png")
  ground_put(0, back, 320, 240)
  bird = image_load("../assets/bird.png")
  draw_sheet()
end

set_screen(options.depth)
set_fps(60, 0)
spawn(acrobat, { x = 550, y = 60 })

while not key("escape") do
  for name, depth in pairs(depths) do
    if key(name) and depth ~= mode_get_bpp() then set_screen(depth) end
  end
  frame()
end
quit()
