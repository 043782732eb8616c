-- Two thousand bullets against two hundred enemies.
--
-- What to look at: every bullet is a process, and asks in every frame which enemy it touches:
-- collision() compares the pixels of the two pictures as they are shown, turned and scaled. An
-- enemy that is hit lights up, and bursts in the end; another one comes in its place. The line
-- below tells what all this takes: the time of a frame for moving, testing and drawing.
--
-- Keys: escape ends.
-- Arguments: the depth, 8, 16 or 32; how many bullets; how many enemies; "help" lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 8, 16, 32 } },
  { "bullets", 2000, "how many bullets fly" },
  { "enemies", 200, "how many enemies circle" },
}
local colour, stopwatch = require "colour", require "stopwatch"
local bits, bullets, enemies = options.depth, options.bullets, options.enemies
local width, height = 640, 480
local middle_x, middle_y = width // 2, height // 2

mode_set(width, height, bits, mode_window)
set_fps(60, 0)

local function picture(name) return image_load("../assets/" .. name .. ".png") end
local pictures = {
  ship = picture "ship", spark = picture "spark", drone = picture "drone", hit = picture "drone_hit",
  bolts = { picture "bolt1", picture "bolt2" },
}
ground_put(0, picture "space", middle_x, middle_y)
collision_set_alphathreshold(100) -- the halo of a bullet touches nothing

local light = bits == 8 and fx_solid or fx_additiveblend
local random, sin, cos, floor = math.random, math.sin, math.cos, math.floor
local score = 0

-- ---- Enemies ------------------------------------------------------------------------------------

local function spark(self, dx, dy, life)
  local x, y = self.x, self.y
  for age = 1, life do
    x, y = x + dx, y + dy
    self.x, self.y = floor(x), floor(y)
    self.size = 110 - 90 * age // life
    self.alpha = 255 - 200 * age // life
    frame()
  end
end

local function burst(x, y)
  for _ = 1, 7 do
    local direction, speed = random() * 2 * math.pi, 0.5 + random() * 2
    spawn(spark, { graph = pictures.spark, fxmode = light, x = x, y = y, z = -20 },
      speed * cos(direction), speed * sin(direction), random(12, 26))
  end
end

-- Comes from outside and circles around the middle until it has been hit often enough.
local function enemy(self)
  while true do
    local ring = random(1, 4)
    local goal = 70 + 42 * ring + random(-12, 12)
    local distance, direction = random(420, 620), random() * 2 * math.pi
    local speed = (ring % 2 == 0 and 1 or -1) * (1.1 + random())
    local spin = random(2000, 5000) * (ring % 2 == 0 and 1 or -1)
    self.health, self.lit = 12, 0
    while self.health > 0 do
      distance = distance + (goal - distance) * 0.04
      direction = direction + speed / distance
      self.x = floor(middle_x + 1.3 * distance * cos(direction))
      self.y = floor(middle_y + distance * sin(direction))
      self.angle = self.angle + spin
      self.lit = self.lit - 1
      self.graph = self.lit > 0 and pictures.hit or pictures.drone
      frame()
    end
    score = score + 10
    burst(self.x, self.y)
  end
end

-- ---- Bullets ------------------------------------------------------------------------------------

local arms, launched = 44, 0

-- Flies from the ship to an enemy or off the screen, again and again. `flown`: how many frames it
-- has flown when play begins.
local function bullet(self, flown)
  local target = type_of(enemy)
  while true do
    launched = launched + 1
    local arm = launched % arms
    local turn = launched / 5200 -- every other arm turns the other way
    local direction = 2 * math.pi * arm / arms + (arm % 2 == 0 and turn or -turn)
    local speed = arm % 2 == 0 and 2.6 or 3
    local dx, dy = speed * cos(direction), speed * sin(direction)
    local x, y = middle_x + dx * (10 + flown), middle_y + dy * (10 + flown)
    flown = 0
    self.graph = pictures.bolts[arm % 2 + 1]
    repeat
      x, y = x + dx, y + dy
      self.x, self.y = floor(x), floor(y)
      local struck = collision(target)
      if struck ~= 0 then
        local it = process(struck)
        it.health, it.lit = it.health - 1, 4
        break
      end
      frame()
    until x < -5 or x > width + 5 or y < -5 or y > height + 5
  end
end

-- ---- The scene ----------------------------------------------------------------------------------

local function ship(self)
  while true do
    self.angle = self.angle + 2500
    frame()
  end
end

for _ = 1, enemies do spawn(enemy, { z = 0 }) end
for i = 1, bullets do spawn(bullet, { fxmode = light, z = 10 }, (bullets - i) * 80 // bullets) end
spawn(ship, { graph = pictures.ship, x = middle_x, y = middle_y, z = -10, size = 80 })

-- A line of text on a plate that lets the battle shine through, as wide as the longest line.
local function label(x, y, align, longest)
  local plate = map_new(2 * text_width(longest) + 12, 26, colour(16, 14, 40))
  local middle = align == "left" and x + text_width(longest) or x
  spawn(function() while true do frame() end end,
    { graph = plate, x = middle, y = y + 13, z = -90, flags = flg_ghost })
  return write("", { x = x, y = y, z = -100, align = align, size = 200, colour = { 235, 240, 255 } })
end
local score_label = label(14, 4, "left", "Score 000000")
local time_label = label(middle_x, height - 30, "centre",
  string.format("%d bullets, %d enemies: 00.0 ms", bullets, enemies))
local milliseconds

local function show_labels()
  local time = milliseconds and string.format("%.1f", milliseconds) or "--"
  score_label.text = string.format("Score %06d", score)
  time_label.text = string.format("%d bullets, %d enemies: %s ms", bullets, enemies, time)
end

while not key "escape" do
  milliseconds = stopwatch(60) or milliseconds
  show_labels()
  frame()
end
quit()
