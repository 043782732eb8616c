-- Palette effects: pictures that move although no pixel changes.
--
-- Three pictures, one after the other: a plasma whose colours roll; a waterfall whose water flows
-- because its ranges of the palette roll, with the palette of its own picture; and the same pixels
-- by night, with a palette taken from another picture. Between them the 8-bit screen fades to black
-- and back. The strip at the bottom shows the palette.
--
-- Keys: 1, 2 and 3 go to a picture, space stops and starts the rolling, f flashes, escape ends.
-- The depth is 8, the only one with a palette. Argument: frames that a picture lasts; "help" lists it.

local options = require "options" { { "frames", 300, "how many a picture lasts" } }
local frames_a_scene = options.frames
local ink, shade = 254, 240 -- entries that no picture uses and nothing rolls

mode_set(640, 480, 8, mode_window)
set_fps(60, 0)

-- ---- The scenes ---------------------------------------------------------------------------------

-- One graph a scene, 320 x 200 pixels, shown at double size.
local function plasma_graph()
  local graph = map_new(320, 200)
  local sin, floor = math.sin, math.floor
  for y = 0, 199 do
    for x = 0, 319 do
      local dx, dy = (x - 210) / 31, (y - 60) / 31
      local height = sin(x / 23) + sin(y / 17 + sin(x / 41) * 2) + sin((dx * dx + dy * dy) ^ 0.5) +
        sin((x + y) / 37)
      map_put_pixel(0, graph, x, y, 1 + floor((height + 4) * 28) % 224)
    end
  end
  return graph
end

-- Three times around the colour wheel, from dark to bright and back, without a seam.
local function plasma_palette()
  local colours = {}
  for i = 0, 223 do
    local turn = i / 224 * 2 * math.pi
    local light = 0.62 + 0.38 * math.cos(3 * turn)
    for part = 0, 2 do
      local wave = 0.5 + 0.5 * math.cos(turn + part * 2 * math.pi / 3)
      colours[#colours + 1] = math.floor(63 * light * wave)
    end
  end
  palette_set_colors(1, 224, colours)
  palette_set_color(shade, 4, 4, 4)
  palette_set_color(ink, 63, 63, 63)
end

local plasma = plasma_graph()
local waterfall = image_load("../assets/waterfall.png")

local function roll_water(age)
  palette_roll(112, 32, age % 2)           -- the fall
  palette_roll(144, 32, age % 3 // 2)      -- rings on the pool
  palette_roll(176, 16, age % 6 // 5)      -- stars
end

local scenes = {
  { title = "plasma", graph = plasma, palette = plasma_palette,
    roll = function() palette_roll(1, 224, 2) end },
  { title = "waterfall, its own palette", graph = waterfall, roll = roll_water,
    palette = function() palette_load("../assets/waterfall.png") end },
  { title = "the same pixels, palette of night.png", graph = waterfall, roll = roll_water,
    palette = function() palette_load("../assets/night.png") end },
}

-- ---- The ground -------------------------------------------------------------------------------

local function fill(x0, y0, width, height, colour)
  for y = y0, y0 + height - 1 do
    for x = x0, x0 + width - 1 do ground_put_pixel(x, y, colour) end
  end
end

for i = 0, 255 do fill(64 + i % 128 * 4, 424 + i // 128 * 20, 4, 18, i) end

fill(0, 402, 640, 18, shade)
local caption = write("", { x = 320, y = 404, align = "centre", colour = ink })

-- ---- Play ---------------------------------------------------------------------------------------

local age, stopped = 0, false

local function turn(scene)
  if not stopped then scene.roll(age) end
  age = age + 1
  frame()
end

-- Fades all three channels to a percentage while the colours keep rolling.
local function fade_to(percent, speed, scene)
  screen_fade(percent, percent, percent, speed)
  while fading ~= 0 do turn(scene) end
end

local picture = spawn(function() while true do frame() end end, { x = 320, y = 200, size = 200 })

local function show(scene, former)
  if former then fade_to(0, 4, former) else screen_fade_out() end
  scene.palette()
  picture.graph = scene.graph
  caption.text = scene.title .. "     1 2 3: picture  space: stop  f: flash"
  age = 0
  fade_to(100, 4, scene)
end

local at = 1
show(scenes[at])
while not key("escape") do
  turn(scenes[at])
  local wanted = at
  for number = 1, #scenes do
    if key(tostring(number)) then wanted = number end
  end
  if age >= frames_a_scene and not stopped then wanted = at % #scenes + 1 end
  if wanted ~= at then
    local former = scenes[at]
    at = wanted
    show(scenes[at], former)
  end
  if key("space") then
    stopped = not stopped
    while key("space") do frame() end
  end
  if key("f") then
    fade_to(200, 16, scenes[at])
    fade_to(100, 4, scenes[at])
  end
end
quit()
