-- Your first game, step 3: a ball that flies about.

mode_set(640, 480, 32, mode_window)
set_fps(60, 0)
ground_put(0, image_load("../assets/space.png"), 320, 240)

-- A rectangle with a darker edge, as a graph.
local function block(width, height, r, g, b)
  local graph = map_new(width, height)
  map_clear(0, graph, rgb(r // 2, g // 2, b // 2))
  map_put_rect(0, graph, 2, 2, width - 3, height - 3, rgb(r, g, b), 1)
  return graph
end

local function paddle(self)
  while true do
    local step = (key("right") and 8 or 0) - (key("left") and 8 or 0)
    self.x = math.max(48, math.min(592, self.x + step))
    frame()
  end
end

-- dx and dy: pixels a frame.
local function ball(self)
  self.dx, self.dy = 2.5, -4.5
  while true do
    self.x, self.y = self.x + self.dx, self.y + self.dy
    self.angle = self.angle - self.dx * 1500
    if self.x < 12 then self.dx = math.abs(self.dx) end
    if self.x > 628 then self.dx = -math.abs(self.dx) end
    if self.y < 12 then self.dy = math.abs(self.dy) end
    if self.y > 468 then self.dy = -math.abs(self.dy) end
    frame()
  end
end

spawn(paddle, { graph = block(96, 16, 200, 215, 240), x = 320, y = 450 })
spawn(ball, { graph = image_load("../assets/ball.png"), size = 50, x = 320, y = 400 })

while not key("escape") do
  frame()
end
quit()
