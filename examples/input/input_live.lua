-- What the player's hands do, live: keys, mouse, game pads, and a line to type in.
--
-- A key lights up while it is down and jumps when it is pressed; a spark leaves it when it is
-- released. The ball follows the mouse, and the wheel turns it. Each pad that is connected gets two
-- sticks and its buttons.
--
-- Keys: escape ends; all others light up, return clears the line.
-- Argument: the depth, 8, 16 or 32; "help" lists it.

local options = require "options" { { "depth", 32, "bits a pixel", { 8, 16, 32 } } }
local colour = require "colour"
local width, height = 640, 360
mode_set(width, height, options.depth, mode_window)
set_fps(60, 0)

local dark, light = colour(40, 48, 72), colour(255, 176, 64)
local glowing = options.depth == 8 and fx_solid or fx_additiveblend
local picture_of_spark = image_load("../assets/spark.png")

-- A box with a label in its middle.
local function box(w, h, colour, label)
  local graph = map_new(w, h, colour)
  local letters = text_graph(label, { align = "middle" })
  map_put(0, graph, letters, w // 2, h // 2)
  map_unload(letters)
  return graph
end

local function spark(self)
  for life = 20, 1, -1 do
    self.y, self.alpha, self.size = self.y - 2, life * 12, 40 + 3 * life
    frame()
  end
end

-- One key or button, drawn where its process is.
local function button(self, name, w, label)
  local up, down = box(w, 22, dark, label), box(w, 22, light, label)
  while true do
    self.graph = key(name) and down or up
    if pressed(name) then self.size = 140 end
    if released(name) then
      spawn(spark, { graph = picture_of_spark, x = self.x, y = self.y, z = -10, fxmode = glowing })
    end
    self.size = 100 + (self.size - 100) * 3 // 4
    frame()
  end
end

local function row(x, y, names)
  for _, name in ipairs(names) do
    local label = name:gsub("^mouse_", ""):gsub("^pad%d_", "")
    local w = math.max(22, text_width(label) + 8)
    spawn(button, { x = x + w // 2, y = y }, name, w, label)
    x = x + w + 4
  end
end

local function letters(line)
  local names = {}
  for letter in line:gmatch(".") do names[#names + 1] = letter end
  return names
end

row(20, 70, letters "1234567890")
row(30, 96, letters "qwertyuiop")
row(38, 122, letters "asdfghjkl")
row(50, 148, letters "zxcvbnm")
row(20, 174, { "shift", "ctrl", "alt", "space", "backspace", "enter" })
row(464, 96, { "up" })
row(420, 122, { "left", "down", "right" })
row(420, 174, { "mouse_left", "mouse_middle", "mouse_right" })

local function ball(self)
  while true do
    self.x, self.y = mouse.x, mouse.y
    self.angle = self.angle + mouse.wheel * 30000
    self.size = key("mouse_left") and 60 or 100
    frame()
  end
end
spawn(ball, { graph = image_load("../assets/ball.png"), z = -20 })

-- A stick: its knob, which is home in the middle of a square.
local function stick(self, pad_number, axis_x, axis_y)
  local home_x, home_y = self.x, self.y
  local square = spawn(function() while true do frame() end end,
    { graph = map_new(64, 64, dark), x = home_x, y = home_y, z = 5 })
  self.graph = map_new(14, 14, light)
  while pad_number <= pad_count() do
    self.x = home_x + pad(pad_number, axis_x) * 25 // 100
    self.y = home_y + pad(pad_number, axis_y) * 25 // 100
    frame()
  end
  kill(square)
end

local function show_pad(number)
  local x = 4 + (number - 1) * 160
  spawn(stick, { x = x + 32, y = 270 }, number, "x", "y")
  spawn(stick, { x = x + 104, y = 270 }, number, "x2", "y2")
  local names = {}
  for _, name in ipairs { "a", "b", "x", "y", "l", "r" } do names[#names + 1] = "pad" .. number .. "_" .. name end
  row(x, 324, names)
end

write("Press, click, turn the wheel, move a stick, type.", { x = 20, y = 14, colour = light })
write("Pads:", { x = 4, y = 220 })

local line, pads = "", 0
local shown = write("_", { x = 20, y = 30, size = 200 })
while not key("escape") do
  line = pressed("enter") and "" or typed(line)
  shown.text = line .. "_"
  while pads < pad_count() do
    pads = pads + 1
    show_pad(pads)
  end
  frame()
end
quit()
