-- Your first game, step 1: a window with a background.

mode_set(640, 480, 32, mode_window)
set_fps(60, 0)
ground_put(0, image_load("../assets/space.png"), 320, 240)

while not key("escape") do
  frame()
end
quit()
