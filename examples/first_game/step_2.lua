-- Your first game, step 2: a paddle that the arrow keys move.

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

spawn(paddle, { graph = block(96, 16, 200, 215, 240), x = 320, y = 450 })

while not key("escape") do
  frame()
end
quit()
