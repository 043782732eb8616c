-- Meteors: shoot the rocks before they hit you.
--
-- A complete small game. Every rock, shot, spark and the ship is a process; collision() compares
-- their pixels to find whether two of them touch. Large rocks break into small ones, small ones
-- into dust; each wave has one more rock.
--
-- Keys: left and right turn, up accelerates, space shoots, p pauses, return starts again after the
-- end, escape ends. Arguments: the depth, 8, 16 or 32; "demo" lets the game play by itself; "help"
-- lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 8, 16, 32 } },
  { "demo", false, "plays by itself" },
}
local demo = options.demo
local width, height = 640, 480
local fine = 16 -- positions are kept in sixteenths of a pixel

mode_set(width, height, options.depth, mode_window)
set_fps(60, 0)

local function picture(name) return image_load("../assets/" .. name .. ".png") end
local pictures = {
  ship = picture "ship", shot = picture "shot", spark = picture "spark",
  rocks = { picture "meteor1", picture "meteor2" },
}
ground_put(0, picture "space", width // 2, height // 2)

local function sound(name) return sound_load("../assets/" .. name .. ".wav") end
local sounds = { shot = sound "shot", hit = sound "hit", boom = sound "boom", wave = sound "pling" }
music_play("../assets/tune.mod")
music_volume(50)

local score, lives, wave, best = 0, 3, 0, 0
local over, paused = false, false
local ship
local rocks = {} -- the flying ones: process -> true

local random = math.random
local light = options.depth == 8 and fx_solid or fx_additiveblend -- 8-bit modes can't add colours

-- Plays a sound from where it happens: as far to the left or right as `x` is on the screen.
local function play_at(x, name, volume)
  sound_play(sounds[name], 0, volume, math.floor(140 * (x / width - 0.5)))
end

local function between(low, high) return low + random() * (high - low) end

-- Ends a turn, and waits during a pause.
local function turn()
  repeat frame() until not paused
end

-- ---- Flying things ------------------------------------------------------------------------------

-- Moves a body one step; it reappears on the other side of the screen.
local function fly(self, body, margin)
  body.x = (body.x + body.dx + margin) % (width + 2 * margin) - margin
  body.y = (body.y + body.dy + margin) % (height + 2 * margin) - margin
  self.resolution = fine
  self.x, self.y = math.floor(body.x * fine), math.floor(body.y * fine)
end

-- The direction of an angle in thousandths of a degree; y grows downwards.
local function direction(angle)
  local radians = math.rad(angle / 1000)
  return math.cos(radians), -math.sin(radians)
end

local function spark(self, x, y, speed, life)
  local dx, dy = direction(random(0, 359999))
  local body = { x = x, y = y, dx = dx * speed, dy = dy * speed }
  self.graph, self.fxmode, self.z = pictures.spark, light, -10
  for age = 1, life do
    fly(self, body, 30)
    self.size = 130 - 100 * age // life
    self.alpha = 255 - 255 * age // life
    turn()
  end
end

local function burst(x, y, count, speed)
  for _ = 1, count do spawn(spark, {}, x, y, between(0.2, speed), random(15, 45)) end
end

-- size: percent of the picture.
local function rock(self, x, y, size)
  local dx, dy = direction(random(0, 359999))
  local speed = between(0.4, 1.2) + 30 / size + wave * 0.05
  local body = { x = x, y = y, dx = dx * speed, dy = dy * speed }
  local spin = random(-2000, 2000)
  self.graph, self.size = pictures.rocks[random(1, 2)], size
  rocks[self] = true
  while not self.hit do
    fly(self, body, 60)
    self.angle = self.angle + spin
    turn()
  end
  rocks[self] = nil
  burst(body.x, body.y, size // 4, 2.5)
  play_at(body.x, size > 40 and "boom" or "hit", size > 40 and 60 or 50)
  if size > 40 then
    for _ = 1, 2 do spawn(rock, {}, body.x, body.y, size * 55 // 100) end
  end
end

local function shot(self, x, y, angle)
  local dx, dy = direction(angle)
  local body = { x = x + dx * 30, y = y + dy * 30, dx = dx * 7, dy = dy * 7 }
  self.graph, self.angle, self.fxmode = pictures.shot, angle, light
  for _ = 1, 55 do
    fly(self, body, 10)
    local hit = collision(type_of(rock))
    if hit ~= 0 then
      local target = process(hit)
      if not target.hit then
        target.hit = true
        score = score + 200 - target.size
        return
      end
    end
    turn()
  end
end

-- ---- The ship -----------------------------------------------------------------------------------

-- The player's input: turn (-1, 0, 1), thrust and fire.
local function read_keys()
  local turning = (key "left" and 1 or 0) - (key "right" and 1 or 0)
  return turning, key "up", key "space"
end

-- The demo turns towards the nearest rock, and fires when it points there.
local function autopilot(self)
  local nearest, distance = nil, 1e9
  for other in pairs(rocks) do
    local d = get_dist(self, other)
    if d < distance then nearest, distance = other, d end
  end
  if not nearest then return 0, false, false end
  local off = (get_angle(self, nearest) - self.angle + 540000) % 360000 - 180000
  return off > 4000 and 1 or off < -4000 and -1 or 0, distance > 180 * fine, math.abs(off) < 9000
end

local function fighter(self)
  local body = { x = width / 2, y = height / 2, dx = 0, dy = 0 }
  local cool, safe = 0, 120 -- frames until it can shoot, and until it can be hit
  self.graph, self.size, self.angle = pictures.ship, 75, 90000
  while true do
    local turning, thrust, fire = (demo and autopilot or read_keys)(self)
    self.angle = self.angle + turning * 4000
    local dx, dy = direction(self.angle)
    if thrust then
      body.dx, body.dy = body.dx + dx * 0.12, body.dy + dy * 0.12
      spawn(spark, {}, body.x - dx * 24, body.y - dy * 24, 0.4, 14)
    end
    body.dx, body.dy = body.dx * 0.99, body.dy * 0.99
    if fire and cool <= 0 then
      spawn(shot, {}, body.x, body.y, self.angle)
      play_at(body.x, "shot", 30)
      cool = 12
    end
    fly(self, body, 24)
    cool, safe = cool - 1, safe - 1
    self.alpha = safe > 0 and safe // 6 % 2 == 0 and 90 or 255
    if safe <= 0 and collision(type_of(rock)) ~= 0 then break end
    turn()
  end
  burst(body.x, body.y, 70, 4)
  play_at(body.x, "boom", 100)
  lives = lives - 1
end

-- ---- The course of the game ---------------------------------------------------------------------

local function label(x, y, align, size)
  return write("", { x = x, y = y, z = -100, align = align, size = size, colour = { 235, 240, 255 } })
end
local score_label = label(16, 6, "left", 200)
local lives_label = label(width // 2, 6, "centre", 200)
local best_label = label(width - 16, 6, "right", 200)
local announcement = label(width // 2, height // 2, "middle", 300)

local function show_labels()
  score_label.text = string.format("Score %05d", score)
  lives_label.text = string.rep("+", lives, " ")
  best_label.text = string.format("Best %05d", best)
  announcement.text = paused and "Pause" or over and "Game over: return starts again" or ""
end

local function start_wave()
  wave = wave + 1
  sound_play(sounds.wave)
  for _ = 1, wave + 3 do
    -- Away from the centre, where the ship is.
    local angle = between(0, 2 * math.pi)
    spawn(rock, {}, width / 2 + 300 * math.cos(angle), height / 2 + 220 * math.sin(angle), 100)
  end
end

local function start_game()
  for p in pairs(rocks) do p:kill() end
  rocks = {}
  score, lives, wave, over, ship = 0, 3, 0, false, nil
end

start_game()
while not key "escape" do
  if pressed "p" and not over then
    paused = not paused
    if paused then music_pause() else music_resume() end
  end

  best = math.max(best, score)
  if not paused and not over then
    if not next(rocks) then start_wave() end
    if not (ship and ship:alive()) then
      if lives > 0 then
        ship = spawn(fighter)
      else
        over = true
      end
    end
  elseif over and (key "return" or demo) then
    start_game()
  end
  show_labels()
  frame()
end
quit()
