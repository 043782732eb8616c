-- Your first game, step 6: points, and three balls to lose.

mode_set(640, 480, 32, mode_window)
set_fps(60, 0)
ground_put(0, image_load("../assets/space.png"), 320, 240)

local score, balls = 0, 3
local ink = rgb(235, 240, 255)
local score_label = write("Score 0000", { x = 16, y = 8, size = 200, colour = ink })
local balls_label = write("Balls 3", { x = 624, y = 8, size = 200, colour = ink, align = "right" })

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

local player = spawn(paddle, { graph = block(96, 16, 200, 215, 240), x = 320, y = 450 })

local function brick()
  while true do frame() end
end

local brick_graphs = {
  block(58, 20, 235, 80, 80), block(58, 20, 240, 150, 60), block(58, 20, 240, 215, 80),
  block(58, 20, 110, 205, 100), block(58, 20, 90, 150, 240),
}

local function build_wall()
  for row, graph in ipairs(brick_graphs) do
    for column = 1, 10 do
      spawn(brick, { graph = graph, x = 62 * column - 21, y = 24 * row + 40 })
    end
  end
end

-- The ball lies on the paddle for a second, then flies off.
local function serve(self)
  for _ = 1, 60 do
    self.x, self.y = player.x, player.y - 20
    frame()
  end
  self.dx, self.dy = 2.5, -4.5
end

-- Sends the ball back to the side of the brick on which it is.
local function bounce_off(self, hit)
  if math.abs(self.x - hit.x) <= 29 then
    self.dy = self.y < hit.y and -math.abs(self.dy) or math.abs(self.dy)
  else
    self.dx = self.x < hit.x and -math.abs(self.dx) or math.abs(self.dx)
  end
end

-- dx and dy: pixels a frame.
local function ball(self)
  serve(self)
  while true do
    self.x, self.y = self.x + self.dx, self.y + self.dy
    self.angle = self.angle - self.dx * 1500
    if self.x < 12 then self.dx = math.abs(self.dx) end
    if self.x > 628 then self.dx = -math.abs(self.dx) end
    if self.y < 12 then self.dy = math.abs(self.dy) end
    if collision(player) ~= 0 then
      self.dx = (self.x - player.x) / 8
      self.dy = -math.abs(self.dy)
    end
    local id = collision(type_of(brick))
    if id ~= 0 then
      local hit = process(id)
      bounce_off(self, hit)
      hit:kill()
      score = score + 10
    end
    if self.y > 500 then
      balls = balls - 1
      if balls == 0 then return end
      serve(self)
    end
    frame()
  end
end

build_wall()
spawn(ball, { graph = image_load("../assets/ball.png"), size = 50 })

while not key("escape") do
  score_label.text = string.format("Score %04d", score)
  balls_label.text = "Balls " .. balls
  frame()
end
quit()
