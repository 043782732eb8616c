-- @NAME@: a ship catches stars.
--
-- Keys: the arrows move the ship, escape ends.

local width, height = 640, 480
mode_set(width, height, 32, mode_window)
set_fps(60, 0)
ground_put_rect(0, 0, width - 1, height - 1, rgb(20, 24, 56), 1)

local ship_graph = image_load("assets/ship.png")
local star_graph = image_load("assets/star.png")
local score = write("0 stars", { x = 16, y = 12, size = 200 })
local caught = 0

-- Moves while an arrow is down, and stays on the screen.
local function ship(self)
  while true do
    local dx = (key("right") and 6 or 0) - (key("left") and 6 or 0)
    local dy = (key("down") and 6 or 0) - (key("up") and 6 or 0)
    self.x = math.max(32, math.min(width - 32, self.x + dx))
    self.y = math.max(32, math.min(height - 32, self.y + dy))
    frame()
  end
end

-- Falls, until it is caught or out of sight.
local function star(self, speed)
  while self.y < height + 20 do
    self.y = self.y + speed
    self.angle = self.angle + 2000 * speed
    if collision(type_of(ship)) ~= 0 then
      caught = caught + 1
      score.text = caught .. " stars"
      return
    end
    frame()
  end
end

spawn(ship, { graph = ship_graph, x = width // 2, y = height - 60, angle = 90000 })

while not key("escape") do
  if math.random(30) == 1 then
    local x = math.random(20, width - 20)
    spawn(star, { graph = star_graph, x = x, y = -20, size = 60 }, math.random(2, 5))
  end
  frame()
end
quit()
