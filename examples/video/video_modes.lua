-- Every kind of display mode, one after the other.
--
-- A tour of windows at each depth, 2x and Scale2x, scan lines of all strengths, virtual
-- resolutions with and without their aspect ratio, the full screens that the display offers, one
-- with borders, one that flips its pages, and fades to black, to a tint and to full brightness.
-- The line at the top names the mode and what the display made of it.
--
-- Keys: right and left go on and back, space stops and starts the tour, escape ends.
-- All depths are shown. Arguments: frames that a step lasts; "window" leaves full screens out; "help"
-- lists them.

local options = require "options" {
  { "frames", 60, "how many a step lasts" },
  { "window", false, "leaves full screens out" },
}
local frames_a_step, windows_only = options.frames, options.window

local depths = { 8, 16, 32 }
local graphs = {}

-- ---- The picture --------------------------------------------------------------------------------

-- An 8-bit mode has no rgb(); the default palette has white at 15.
local function white()
  return mode_get_bpp() == 8 and 15 or rgbx(255, 255, 255)
end

local function grade(r, g, b)
  if mode_get_bpp() ~= 8 then return rgbx(r, g, b) end
  return find_color(r // 4, g // 4, b // 4)
end

-- Pictures belong to the depth they were loaded at.
local loaded_at
local function load_pictures()
  if loaded_at == mode_get_bpp() then return end
  loaded_at = mode_get_bpp()
  image_unload(all_image)
  for _, name in ipairs { "meadow", "bird", "star" } do
    graphs[name] = image_load("../assets/" .. name .. ".png")
  end
end

local label = write("", { x = 4, y = 1 })

-- A background of the mode's size with steps of red, green, blue and grey at the bottom, and rings
-- whose steps distinguish Scale2x from plain doubling.
local function draw_ground(title)
  load_pictures()
  local w, h = mode_get_width(), mode_get_height()
  ground_xxput(0, graphs.meadow, w // 2, h // 2, 0, w * 100 // 640 + 1, h * 100 // 480 + 1, 0, 0,
    tfm_hsr, flg_normal, 0, 255, fx_solid)
  for x = 0, w - 1 do
    local level = (x * 32 // w) * 8
    for y = 0, 3 do
      ground_put_pixel(x, h - 16 + y, grade(level, 0, 0))
      ground_put_pixel(x, h - 12 + y, grade(0, level, 0))
      ground_put_pixel(x, h - 8 + y, grade(0, 0, level))
      ground_put_pixel(x, h - 4 + y, grade(level, level, level))
    end
  end
  local cx, cy = w * 3 // 4, h // 2
  for ring = 6, 30, 8 do
    for step = 0, 8 * ring do
      local angle = step * math.pi / (4 * ring)
      ground_put_pixel(cx + math.floor(ring * math.cos(angle) + 0.5),
        cy + math.floor(ring * math.sin(angle) + 0.5), white())
    end
  end
  for y = 0, 26 do
    for x = 0, w - 1 do ground_put_pixel(x, y, grade(0, 0, 40)) end
  end
  label.text = string.format("%s\n%d × %d, %d bits, display %d × %d%s", title, w, h, mode_get_bpp(),
    mode_get_realwidth(), mode_get_realheight(), mode_is_emulated() == 1 and ", borders" or "")
end

local function bird(self)
  while true do
    self.graph = graphs.bird
    self.x = (self.x + 2 + 40) % (mode_get_width() + 80) - 40
    self.y = mode_get_height() // 3
    frame()
  end
end

local function star(self)
  while true do
    self.graph = graphs.star
    self.x, self.y = mode_get_width() // 4, mode_get_height() * 2 // 3
    self.angle = self.angle + 3000
    self.size = 200
    frame()
  end
end

-- ---- The steps ----------------------------------------------------------------------------------

-- Each has a title and a function that sets its mode and returns whether the display supports it.
local steps = {}
local function step(title, set)
  steps[#steps + 1] = { title = title, set = set }
end

local function plain_window(depth)
  virtualresolution_set(0, 0, 0, 0)
  return mode_set(320, 200, depth, mode_window | mode_buffercopy | mode_donotfade, 0, 0, 0) == 1
end

for _, depth in ipairs(depths) do
  step("window", function() return plain_window(depth) end)
end

local scales = { { "plain", filter_scale_noscale }, { "2x", filter_scale_normal2x },
  { "scale2x", filter_scale_scale2x } }
local lines = { { "", filter_scanline_noscanline },
  { ", scan lines 25 %", filter_scanline_1x | filter_scanline_25percent },
  { ", scan lines 50 %", filter_scanline_1x | filter_scanline_50percent },
  { ", scan lines 75 %", filter_scanline_1x | filter_scanline_75percent },
  { ", black scan lines", filter_scanline_1x | filter_scanline_100percent } }
for _, depth in ipairs(depths) do
  for _, scale in ipairs(scales) do
    for _, line in ipairs(lines) do
      step(scale[1] .. line[1], function()
        if mode_get_bpp() ~= depth or virtualresolution_is_emulated() == 1 or mode_get_type() == 2 then
          plain_window(depth)
        end
        return mode_set_filter(scale[2], line[2]) == 1
      end)
    end
  end
  for aspect = 0, 1 do
    for _, size in ipairs { { 640, 360 }, { 360, 480 } } do
      local title = string.format("virtual %d x %d%s", size[1], size[2],
        aspect == 1 and ", aspect ratio kept" or "")
      step(title, function()
        if mode_get_bpp() ~= depth then plain_window(depth) end
        return virtualresolution_set(size[1], size[2], aspect, 1) == 1
      end)
    end
  end
end

-- Full screens: the sizes that this display lists at each depth.
local sizes = { { 320, 200 }, { 320, 240 }, { 320, 400 }, { 360, 240 }, { 360, 360 }, { 376, 282 },
  { 400, 300 }, { 512, 384 }, { 640, 400 }, { 640, 480 }, { 800, 600 }, { 848, 480 }, { 960, 600 },
  { 1024, 768 }, { 1152, 864 }, { 1280, 720 }, { 1280, 768 }, { 1280, 800 }, { 1280, 960 },
  { 1280, 1024 } }
for i = 0, num_video_modes - 1 do
  local listed, known = video_modes[i], false
  for _, size in ipairs(sizes) do
    known = known or (size[1] == listed.width and size[2] == listed.height)
  end
  if not known then sizes[#sizes + 1] = { listed.width, listed.height } end
end

local function full_screen(width, height, depth, flags)
  if virtualresolution_is_emulated() == 1 then virtualresolution_set(0, 0, 0, 0) end
  return mode_set(width, height, depth, mode_fullscreen | mode_donotfade | flags, 0, 0, 0) == 1
end

if not windows_only then
  for _, depth in ipairs(depths) do
    local largest
    for _, size in ipairs(sizes) do
      local width, height = size[1], size[2]
      if mode_exists(width, height, depth) == 1 then
        largest = size
        step("full screen", function()
          return full_screen(width, height, depth, mode_buffercopy)
        end)
      end
    end
    if largest then
      step("full screen, page flipping", function()
        return full_screen(largest[1], largest[2], depth, mode_bufferflip)
      end)
      step("full screen with borders", function()
        return full_screen(largest[1] - 120, largest[2] - 90, depth, mode_buffercopy)
      end)
      step("full screen, 2x with borders", function()
        return full_screen(160, 120, depth, mode_buffercopy) and
          mode_set_filter(filter_scale_normal2x) == 1
      end)
    end
  end
end

local fades = { { "fade to black", 0, 0, 0 }, { "fade in", 100, 100, 100 },
  { "fade to a tint", 130, 90, 50 }, { "fade to full bright", 200, 200, 200 },
  { "fade back", 100, 100, 100 } }
for _, depth in ipairs(depths) do
  for _, fade in ipairs(fades) do
    step(fade[1], function()
      if mode_get_bpp() ~= depth or mode_get_type() == 2 or
          virtualresolution_is_emulated() == 1 then
        plain_window(depth)
      end
      screen_fade(fade[2], fade[3], fade[4], 2)
      return true
    end)
  end
end

-- ---- The tour -----------------------------------------------------------------------------------

local at, age, stopped = 1, 0, false

local function show(direction)
  for _ = 1, #steps do
    local current = steps[at]
    if current.set() then
      draw_ground(current.title)
      break
    end
    at = (at - 1 + direction) % #steps + 1 -- the display can't show this size after all
  end
  age = 0
end

local function go(direction)
  at = (at - 1 + direction) % #steps + 1
  show(direction)
end

set_fps(60, 0)
show(1)
spawn(bird, {})
spawn(star, {})
while not key("escape") do
  if pressed("right") then go(1) end
  if pressed("left") then go(-1) end
  if pressed("space") then stopped = not stopped end
  frame()
  age = age + 1
  if age >= frames_a_step and not stopped then go(1) end
end
quit()
