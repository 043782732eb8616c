-- Draw objects: shapes that are created once and drawn in every frame, sorted by depth with the
-- processes.
--
-- What to look at: three panes of coloured glass have different depths, and birds fly between them.
-- Behind everything a fan of lines turns. In the window on the right rings grow, clipped by its
-- region. A frame follows one of the birds, and sparks fade where the ball has been.
--
-- A locked object has its own z. Unlocked objects, here the frame and the sparks, all follow the
-- script's draw_z, draw_visible and draw_destination.
--
-- Keys: space hides and shows the unlocked objects; 8, 1 and 3 switch to 8, 16 and 32 bits a pixel,
-- escape ends. Argument: the depth, 8, 16 or 32; "help" lists it.

local options = require "options" { { "depth", 32, "bits a pixel", { 8, 16, 32 } } }
local colour = require "colour"

local line, rectangle, filled_rectangle, ellipse, filled_ellipse = 1, 2, 3, 4, 5
local screen_region, window_region = 0, 1
local width, height = 640, 480

local depths = { ["8"] = 8, ["1"] = 16, ["3"] = 32 }
local graphs = {}

-- Converts an opacity in percent to the mode's range: 8-bit modes have 16 steps.
local function alpha(percent)
  return percent * (mode_get_bpp() == 8 and 15 or 255) // 100
end

-- Locks a draw object and sets its depth.
local function locked(z, ...)
  local id = draw_new(...)
  draw_lock(id)
  draw_set_z(id, z)
  return id
end

-- A pane of glass with its frame.
local function pane(x, z, r, g, b)
  locked(z, filled_rectangle, colour(r, g, b), alpha(45), screen_region, x, 90, x + 110, 330)
  local white = colour(255, 255, 255)
  local edge = locked(z - 1, rectangle, white, alpha(100), screen_region, x, 90, x + 110, 330)
  -- The short form of draw_move checks the last opacity passed to the long form, perhaps in another
  -- mode. This call sets it to one of this mode.
  draw_move(edge, white, alpha(100), x, 90, x + 110, 330)
end

-- Flies from left to right and starts again.
local function bird(self, speed)
  local base = self.y
  while true do
    self.graph = graphs.bird
    self.x = (self.x + speed + 40) % (width + 80) - 40
    self.y = base + math.floor(20 * math.sin(self.x / 40))
    frame()
  end
end

-- Lines through one point, turning.
local function fan()
  local objects, step, bits = {}, 0, 0
  while true do
    if bits ~= mode_get_bpp() then -- recreated in every mode
      bits = mode_get_bpp()
      for i = 1, 12 do
        objects[i] = locked(100, line, colour(255, 200, 20 * i), alpha(60), screen_region, 0, 0, 0, 0)
      end
    end
    step = step + 1
    for i, id in ipairs(objects) do
      local angle = math.pi * i / #objects + step / 120
      local dx, dy = math.floor(600 * math.cos(angle)), math.floor(600 * math.sin(angle))
      draw_move(id, 320 - dx, 210 - dy, 320 + dx, 210 + dy)
    end
    frame()
  end
end

-- Rings that grow inside a window; its region clips them.
local function rings()
  local objects, step, bits = {}, 0, 0
  while true do
    if bits ~= mode_get_bpp() then
      bits = mode_get_bpp()
      locked(20, filled_rectangle, colour(20, 10, 40), alpha(70), window_region, 0, 0, width, height)
      for i = 1, 5 do
        objects[i] = locked(10, ellipse, colour(120, 255, 50 * i), alpha(100), window_region, 0, 0, 0,
          0)
      end
      locked(5, rectangle, colour(255, 255, 255), alpha(100), screen_region, 479, 359, 620, 460)
    end
    step = step + 1
    for i, id in ipairs(objects) do
      local r = (step + 28 * i) % 140
      draw_move(id, 549 - r, 409 - r * 2 // 3, 549 + r, 409 + r * 2 // 3)
    end
    frame()
  end
end

-- A frame around a process. It isn't locked, so draw_z puts it in front of everything.
local function follow(_, whom)
  local object, bits = nil, 0
  while true do
    if bits ~= mode_get_bpp() then
      bits = mode_get_bpp()
      object = draw_new(rectangle, colour(255, 255, 0), alpha(100), screen_region, 0, 0, 0, 0)
    end
    draw_move(object, whom.x - 34, whom.y - 26, whom.x + 34, whom.y + 26)
    frame()
  end
end

-- One spark, which fades and is deleted.
local function spark(_, x, y)
  local bits = mode_get_bpp()
  local object
  for percent = 90, 10, -4 do
    if bits ~= mode_get_bpp() then return end -- deleted by the mode change
    local r = (100 - percent) // 8
    if not object then
      object = draw_new(filled_ellipse, colour(255, 160, 60), alpha(percent), screen_region, x, y, x, y)
    end
    draw_move(object, colour(255, 160, 60), alpha(percent), x - r, y - r, x + r, y + r)
    frame()
  end
  draw_delete(object)
end

-- Bounces along the lower edge.
local function ball(self)
  local step = 0
  while true do
    self.graph = graphs.ball
    step = step + 1
    self.x = 40 + math.abs((step * 3) % 800 - 400)
    self.y = 440 - math.floor(50 * math.abs(math.sin(step / 14)))
    if step % 4 == 0 then spawn(spark, {}, self.x, self.y) end
    frame()
  end
end

local function set_screen(depth)
  draw_delete(all_drawing) -- their colours belong to the mode
  image_unload(all_image)
  mode_set(width, height, depth, mode_window)
  for _, name in ipairs { "meadow", "ball", "bird" } do
    graphs[name] = image_load("../assets/" .. name .. ".png")
  end
  ground_put(0, graphs.meadow, 320, 240)
  region_define(window_region, 480, 360, 140, 100)
  pane(60, 30, 255, 80, 80)
  pane(250, 0, 80, 255, 120)
  pane(440, -30, 90, 140, 255)
end

-- Below each pane its depth. Texts outlive a change of the mode.
for i, z in ipairs { 30, 0, -30 } do
  write("pane at z " .. z, { x = 190 * i - 75, y = 334, z = 200, align = "centre" })
end

set_screen(options.depth)
set_fps(60, 0)
spawn(bird, { x = 20, y = 120, z = 50 }, 2)
spawn(bird, { x = 250, y = 180, z = 15 }, 3)
local leader = spawn(bird, { x = 120, y = 240, z = -15 }, 2)
spawn(bird, { x = 330, y = 300, z = -50 }, 1)
spawn(fan)
spawn(rings)
spawn(follow, {}, leader)
spawn(ball, { z = -20 })

local was_down = false
while not key("escape") do
  for name, depth in pairs(depths) do
    if key(name) and depth ~= mode_get_bpp() then set_screen(depth) end
  end
  if key("space") and not was_down then draw_visible = 1 - draw_visible end
  was_down = key("space")
  frame()
end
quit()
