-- First light: three hundred processes that move over a background.
--
-- What to look at: every picture on the screen is a process. It has locals (x, y, z, graph, flags,
-- alpha ...) that the engine reads once a frame; the script only changes them. Higher z is further
-- back, flg_hmirror turns a picture to face left, flg_ghost lets the background through.
--
-- Keys: 8, 1 and 3 switch to 8, 16 and 32 bits a pixel, escape ends.
-- Argument: the depth, 8, 16 or 32; "help" lists it.

local depths = { ["8"] = 8, ["1"] = 16, ["3"] = 32 }
local options = require "options" { { "depth", 32, "bits a pixel", { 8, 16, 32 } } }

-- Pictures belong to the mode they were loaded in, so a mode change reloads them.
local graphs = {}
local function set_screen(depth)
  image_unload(all_image)
  mode_set(640, 480, depth, mode_window)
  for _, name in ipairs { "meadow", "ball", "bird", "cloud", "star" } do
    graphs[name] = image_load("../assets/" .. name .. ".png")
  end
  ground_put(0, graphs.meadow, 320, 240)
end

local width, height = 640, 480

-- Flies across the screen, facing its direction, and turns round beyond the edges.
local function bird(self, speed)
  local phase = math.random() * 6
  local base = self.y
  while true do
    self.graph = graphs.bird
    self.x = self.x + speed
    phase = phase + 0.07
    self.y = base + math.floor(12 * math.sin(phase))
    if self.x < -40 then speed = math.abs(speed) end
    if self.x > width + 40 then speed = -math.abs(speed) end
    self.flags = speed < 0 and flg_hmirror or flg_normal
    frame()
  end
end

-- Bounces on the meadow.
local function ball(self, dx)
  local dy = 0
  local floor = self.y
  local y = floor - math.random(20, 160)
  while true do
    self.graph = graphs.ball
    dy = dy + 0.25
    y = y + dy
    if y > floor then
      y = 2 * floor - y
      dy = -dy
    end
    self.x = (self.x + dx + 20) % (width + 40) - 20
    self.y = math.floor(y)
    frame()
  end
end

-- Drifts with the wind, half transparent.
local function cloud(self, speed)
  local x = self.x
  self.flags = flg_ghost
  while true do
    self.graph = graphs.cloud
    x = (x + speed + 80) % (width + 160) - 80
    self.x = math.floor(x)
    frame()
  end
end

-- Falls, and starts again at the top.
local function star(self, speed)
  self.flags = math.random(0, 1) * flg_hmirror + math.random(0, 1) * flg_vmirror
  while true do
    self.graph = graphs.star
    self.y = self.y + speed
    if self.y > height + 20 then
      self.y = -20
      self.x = math.random(0, width)
    end
    frame()
  end
end

set_screen(options.depth)
set_fps(60, 0)

local random = math.random
for i = 1, 70 do
  spawn(bird, { x = random(0, width), y = random(40, 260), z = random(-20, 20) },
    random(1, 4) * (random(0, 1) * 2 - 1))
end
for i = 1, 90 do
  -- The nearer a ball is, the lower it lands.
  local y = random(330, 460)
  spawn(ball, { x = random(0, width), y = y, z = -y }, random(-2, 2))
end
for i = 1, 40 do
  spawn(cloud, { x = random(-80, width), y = random(10, 200), z = random(-30, 60) },
    0.2 + random() * 1.2)
end
for i = 1, 100 do
  spawn(star, { x = random(0, width), y = random(0, height), z = 100 }, random(1, 3))
end

while not key("escape") do
  for name, depth in pairs(depths) do
    if key(name) and depth ~= mode_get_bpp() then set_screen(depth) end
  end
  frame()
end
quit()
