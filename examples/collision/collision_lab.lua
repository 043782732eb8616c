-- The results of collision, overlap and the region tests, live.
--
-- Two pictures can be dragged with the mouse, rotated and scaled. The frames around them are the
-- quadrilaterals that overlap() compares; collision() compares the pixels inside them. The panel
-- shows both results, how much of the chosen picture lies outside the region in the middle, and
-- whether the pointer is on one of its pixels.
--
-- Mouse: drag with the left button. Keys: tab chooses the other picture, left and right rotate it,
-- up and down scale it, m mirrors it, space starts and stops the demonstration, escape ends.
-- Argument: the depth, 8, 16 or 32; "help" lists it.

local options = require "options" { { "depth", 32, "bits a pixel", { 8, 16, 32 } } }
local colour = require "colour"
local width, height = 640, 480
mode_set(width, height, options.depth, mode_window)
set_fps(60, 0)

ground_put(0, image_load("../assets/space.png"), width // 2, height // 2)
local region_number = 1
local region_box = { x = 200, y = 140, w = 240, h = 200 }
region_define(region_number, region_box.x, region_box.y, region_box.w, region_box.h)

local plain, hit, calm = colour(120, 130, 160), colour(255, 96, 80), colour(110, 220, 150)

-- ---- Frames: four lines as draw objects, moved every frame --------------------------------------

local opaque = options.depth == 8 and 15 or 255 -- 8-bit modes have 16 steps
local whole_screen, line_shape = 0, 1
local function new_frame()
  local lines = {}
  for i = 1, 4 do
    lines[i] = draw_new(line_shape, plain, opaque, whole_screen, 0, 0, 0, 0)
  end
  return lines
end

local function move_frame(lines, corners, colour)
  for i = 1, 4 do
    local a, b = corners[i], corners[i % 4 + 1]
    draw_move(lines[i], colour, opaque, a.x, a.y, b.x, b.y)
  end
end

-- The corners of a picture: its control points 1 to 4, transformed as the picture is.
local function corners_of(shape)
  local corners = {}
  for point = 1, 4 do
    local _, x, y = map_get_realcpoint(shape, point)
    corners[point] = { x = x, y = y }
  end
  return corners
end

-- ---- The shapes ---------------------------------------------------------------------------------

local function load_shape(name)
  local graph = image_load("../assets/" .. name .. ".png")
  local w, h = map_get_width(0, graph), map_get_height(0, graph)
  map_set_center(0, graph, w // 2, h // 2)
  for i, corner in ipairs { { 0, 0 }, { w - 1, 0 }, { w - 1, h - 1 }, { 0, h - 1 } } do
    map_new_cpoint(0, graph, i, corner[1], corner[2])
  end
  return graph
end

local function shape(self)
  while true do frame() end
end

local meteor = spawn(shape, { graph = load_shape "meteor1", x = 250, y = 240, size = 130 })
local fighter = spawn(shape, { graph = load_shape "ship", x = 420, y = 220, size = 260, angle = 150000 })
local shapes = { meteor, fighter }
local frames = { [meteor] = new_frame(), [fighter] = new_frame() }
local chosen = fighter

local x1, y1 = region_box.x + region_box.w - 1, region_box.y + region_box.h - 1
draw_new(2, plain, opaque * 110 // 255, whole_screen, region_box.x, region_box.y, x1, y1)

-- ---- The panel ----------------------------------------------------------------------------------

local answers = {}
local lines = { "overlap", "collision", "pointer", "outside" }
local texts = {} -- of the answers, by line
for i, name in ipairs(lines) do
  local y = 24 * i - 12
  write(name, { x = 16, y = y, z = -100, size = 200 })
  texts[name] = write("", { x = 150, y = y, z = -100, size = 200 })
end

local function show_answers()
  for _, name in ipairs(lines) do
    local answer = answers[name]
    local yes = answer == true or answer ~= false and answer > 0
    texts[name].colour = yes and hit or calm
    texts[name].text = name == "outside" and string.format("%.0f %%", answer) or yes and "yes" or "no"
  end
end

-- ---- Input --------------------------------------------------------------------------------------

local drag
local function drag_with_mouse()
  if not mouse.left then drag = nil end
  if drag then
    drag.shape.x, drag.shape.y = mouse.x + drag.dx, mouse.y + drag.dy
  elseif mouse.left then
    for _, s in ipairs(shapes) do
      if overlap(mouse.x, mouse.y, s) ~= 0 then
        drag = { shape = s, dx = s.x - mouse.x, dy = s.y - mouse.y }
        chosen = s
      end
    end
  end
end

local demonstrating, age = true, 0
while not key "escape" do
  if pressed "tab" then chosen = chosen == meteor and fighter or meteor end
  if pressed "space" then demonstrating = not demonstrating end
  if pressed "m" then chosen.flags = chosen.flags ~ flg_hmirror end
  local turn = (key "left" and 1 or 0) - (key "right" and 1 or 0)
  local grow = (key "up" and 1 or 0) - (key "down" and 1 or 0)
  chosen.angle = chosen.angle + turn * 2000
  chosen.size = math.max(20, math.min(400, chosen.size + grow * 2))
  drag_with_mouse()

  if demonstrating and not drag then
    age = age + 1
    meteor.angle = meteor.angle + 500
    fighter.angle = fighter.angle - 700
    fighter.x = 360 + math.floor(130 * math.cos(age / 70))
    fighter.y = 230 + math.floor(60 * math.sin(age / 45))
  end

  answers.overlap = overlap(meteor, fighter) ~= 0
  answers.collision = collision(meteor, fighter) ~= 0
  answers.pointer = collision(mouse.x, mouse.y, chosen) ~= 0
  answers.outside = region_is_xout(chosen, region_number)
  show_answers()
  for _, s in ipairs(shapes) do
    move_frame(frames[s], corners_of(s), answers.collision and hit or answers.overlap and calm or plain)
  end
  frame()
end
quit()
