-- Ten thousand sprites with effects, and the time that a frame takes.
--
-- What to look at: the number in the corner, how many milliseconds the processor works for a frame. It is
-- the true time headless as well. set_fps(0, 0) lets frames follow one another as fast as they can.
--
-- Keys: escape ends.
-- Arguments: the depth, 8, 16 or 32; how many sprites; "help" lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 8, 16, 32 } },
  { "sprites", 10000, "how many there are" },
}
local stopwatch = require "stopwatch"
local bits, count = options.depth, options.sprites
local width, height = 640, 480

mode_set(width, height, bits, mode_window)
local back = image_load("../assets/meadow.png")
local star = image_load("../assets/star.png")
local ball = image_load("../assets/ball.png")
ground_put(0, back, 320, 240)
set_fps(0, 0)

-- The looks of sprites. 8-bit modes have only copies, ghosts and compositing.
local looks = {
  {}, { flags = flg_ghost }, { flags = flg_hmirror }, { flags = flg_vmirror, size = 60 },
}
if bits > 8 then
  for _, fx in ipairs { fx_additiveblend, fx_screenblend, fx_multiplyblend, fx_grayscale,
    fx_invert } do
    looks[#looks + 1] = { fxmode = fx }
  end
  looks[#looks + 1] = { fxmode = fx_tint, fxcolor = rgb(255, 80, 0), fxintensity = 160 }
  looks[#looks + 1] = { alpha = 100 }
end

-- Flies straight and bounces off the edges.
local function sprite(self, dx, dy)
  local x, y = self.x, self.y
  while true do
    x, y = x + dx, y + dy
    if x < 0 or x > width then dx = -dx end
    if y < 0 or y > height then dy = -dy end
    self.x, self.y = x, y
    frame()
  end
end

for i = 1, count do
  local locals = { graph = i % 3 == 0 and ball or star, x = math.random(0, width),
    y = math.random(0, height), z = math.random(-100, 100), size = 70 }
  for name, value in pairs(looks[i % #looks + 1]) do locals[name] = value end
  spawn(sprite, locals, math.random(-3, 3), math.random(-3, 3))
end

-- The number on a dark plate, in front of everything.
local plate = map_new(172, 46, bits == 8 and 8 or rgbx(30, 20, 50))
spawn(function() while true do frame() end end, { graph = plate, x = 89, y = 29, z = -999 })
local counter = write("-- ms", { x = 171, y = 2, z = -1000, align = "right", size = 400 })

while not key("escape") do
  local milliseconds = stopwatch(30)
  if milliseconds then
    counter.text = string.format(milliseconds < 10 and "%.1f ms" or "%.0f ms", milliseconds)
  end
  frame()
end
quit()
