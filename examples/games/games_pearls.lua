-- String of Pearls: dive for pearls on one breath, and bring them to the boat before sunset.
--
-- Pearls that you touch follow you on a string, and each makes you slower. A haul of n pearls is worth
-- 10 * n * n points, so one long string beats many short ones. But a jellyfish that touches the string cuts it;
-- one that touches you takes all of it, and some of your breath. During the day they become more, and
-- quicker. You breathe at the surface; only the boat takes pearls.
--
-- What to look at: a pearl is one process that lies, follows and comes on board in plain order. The
-- main loop at the end is the course of the game, from the title to the last score. The sea with its
-- lights, and how the picture shakes, are in pearls_sea.lua.
--
-- Keys: arrows swim, space kicks, which costs breath, p pauses, escape ends. Mouse: the left button swims
-- to the pointer, the right one kicks. Pad: the left stick or the cross swims, a kicks, start pauses.
-- Arguments: the depth, 16 or 32 (lights need one of these); "demo" plays by itself; "help" lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 16, 32 } },
  { "demo", false, "plays by itself" },
}
local width, height, surface, floor = 320, 240, 48, 214
mode_set(width, height, options.depth, mode_window)
set_fps(60, 0)

local random, sin, max, min = math.random, math.sin, math.max, math.min
local day, lungs = 75 * 60, 10 * 60 -- frames that a day and a breath last
local score, best, age, breath = 0, 0, 0, 0
local playing, paused = false, false
local diver -- nil until the first game
local strung = {} -- the pearls that follow the diver, the nearest first
local pearls, jellies = {}, {} -- all that there are: process -> true

-- Ends a turn, and waits during a pause.
local function turn()
  repeat frame() until not paused
end

local sea = require "pearls_sea" (width, height, surface, floor, turn)
local picture, put, boat = sea.picture, sea.put, sea.boat
local pictures = {
  pearl = picture "pearl", shut = picture "shell", open = picture "shell_open", jelly = picture "jelly",
  glow = picture "glow", lamp = picture "lamp", gauge = picture "gauge",
  diver = { picture "diver1", picture "diver2" },
}
local function sound(name) return sound_load("../assets/" .. name .. ".wav") end
local sounds = {
  take = sound "pling", cut = sound "hit", sting = sound "boom", kick = sound "bubble",
  breath = sound "step", haul = sound "haul", splash = sound "jump",
}

-- Plays a sound from where it happens: as far to the left or right as x is on the screen.
local function play_at(x, name, volume)
  sound_play(sounds[name], 0, volume, 140 * (x / width - 0.5))
end

-- ---- Jellyfish ----------------------------------------------------------------------------------

local function glow(self, owner)
  while owner:alive() do
    self.x, self.y, self.alpha = owner.x, owner.y, 40 + 170 * sea.hour
    turn()
  end
end

-- Crosses the sea by beats of its bell. way: 1 to the right, -1 to the left.
local function jelly(self, way)
  local speed, beat = 0.25 + 0.4 * random() + 0.5 * sea.hour, random() * 6
  local depth, drift = random(surface + 45, floor - 35), 10 + 22 * random()
  self.x = way > 0 and -20 or width + 20
  jellies[self] = true
  put(glow, { graph = pictures.glow, z = -60, fxmode = fx_additiveblend }, self)
  while self.x > -30 and self.x < width + 30 do
    beat = beat + 0.06
    self.x = self.x + way * speed * (1 + 0.7 * sin(2 * beat))
    self.y = depth + drift * sin(beat / 2)
    self.size_x, self.size_y = 100 + 14 * sin(2 * beat), 100 - 14 * sin(2 * beat)
    turn()
  end
  jellies[self] = nil
end

local function send_jellies()
  while true do
    put(jelly, { graph = pictures.jelly, y = -50, z = 10 }, random(2) == 1 and 1 or -1)
    for _ = 1, 230 - 160 * sea.hour do turn() end
  end
end

-- ---- Pearls and shells --------------------------------------------------------------------------

-- Cuts the string at its pearl number `first`: that one and all behind it are loose.
local function cut(first)
  for i = #strung, first, -1 do
    strung[i].place, strung[i].loose = nil, 45 -- frames until it can be taken again
    strung[i] = nil
  end
end

-- Keeps the pearl 9 pixels from what is in front of it on the string.
local function follow(self, front)
  local dx, dy = front.x - self.x, front.y - self.y
  local share = 1 - 9 / max(9, math.sqrt(dx * dx + dy * dy))
  self.x, self.y = self.x + dx * share, max(surface, self.y + dy * share + 0.2)
  if collision(type_of(jelly)) ~= 0 then
    play_at(self.x, "cut", 80)
    sea.jolt(3, 70, 220, 120, 255)
    sea.burst(self.x, self.y, pictures.glow, 8)
    cut(self.place)
  end
end

-- place: on the string; loose: frames until it can be taken; safe: whether it is on board.
local function pearl(self)
  pearls[self] = true
  self.loose = 0
  while not self.safe do
    if self.place then
      follow(self, strung[self.place - 1] or diver)
    else
      self.loose, self.y = self.loose - 1, min(floor, self.y + 0.7)
      if playing and self.loose < 0 and collision(diver) ~= 0 then
        strung[#strung + 1], self.place = self, #strung + 1
        play_at(self.x, "take", 20 + 5 * #strung)
        sea.burst(self.x, self.y, pictures.lamp, 4)
      end
    end
    turn()
  end
  for _ = 1, 5 * self.place do -- one after the other
    self.x, self.y = self.x + (boat.x - self.x) / 8, self.y + (boat.y - self.y) / 8
    turn()
  end
  play_at(self.x, "take", 60)
  sea.burst(self.x, self.y, pictures.lamp, 6)
  pearls[self] = nil
end

-- Opens, gives a pearl, and shuts again when that is taken.
local function shell(self)
  while true do
    self.graph = pictures.shut
    for _ = 1, random(30, 240) do turn() end
    self.graph = pictures.open
    local mine = put(pearl, { graph = pictures.pearl, x = self.x, y = self.y - 3, z = 20 })
    sea.bubbles(self.x, self.y, 3)
    repeat turn() until mine.place or not mine:alive()
  end
end

-- The whole string comes on board.
local function bring_home()
  local count, points = #strung, 10 * #strung * #strung
  for _, each in ipairs(strung) do each.safe = true end
  strung = {}
  score = score + points
  sea.jolt(min(count, 8), min(25 * count, 220), 255, 240, 200)
  sea.say("+" .. points, boat.x, surface + 24, 90 + 15 * count, { 255, 240, 150 })
  play_at(boat.x, "haul", min(30 + 10 * count, 100))
end

-- ---- The diver ----------------------------------------------------------------------------------

-- Where the player wants to go, and whether to kick.
local function controls(self)
  local x = (key "right" and 1 or 0) - (key "left" and 1 or 0) + pad(1, "x") / 100
  local y = (key "down" and 1 or 0) - (key "up" and 1 or 0) + pad(1, "y") / 100
  if mouse.left then x, y = (mouse.x - self.x) / 20, (mouse.y - self.y) / 20 end
  return x, y, pressed "space" or pressed "mouse_right" or pressed "pad1_a"
end

local function nearest(self, set)
  local found, distance = nil, 1e9
  for each in pairs(set) do
    local d = each.place and 1e9 or get_dist(self, each) -- not those on the string
    -- Of equally near ones the same in every play: the order of pairs() is that of addresses.
    if d < distance or found and d == distance and each.x < found.x then found, distance = each, d end
  end
  return found, distance
end

-- The demo swims to the nearest pearl and away from jellyfish, and home with six pearls, or when its breath
-- or the day gets short.
local function autopilot(self)
  local way_home = get_dist(self, boat) * (1 + 0.12 * #strung)
  if #strung == 6 or breath < way_home + 140 or age + way_home > day - 200 then self.rested = false end
  local goal = self.rested and nearest(self, pearls) or boat
  local pull = 3 / max(1, get_dist(self, goal))
  local x, y = (goal.x - self.x) * pull, (goal.y - self.y) * pull
  local danger, distance = nearest(self, jellies)
  if distance < 60 then
    local fear = (60 - distance) / 250
    x, y = x + (self.x - danger.x) * fear, y + (self.y - danger.y) * fear
  end
  return x, y, false
end

-- Breathes at the surface. Returns whether there is air left.
local function breathe(self)
  if self.y > surface + 8 then
    breath = breath - 1
    if breath < 180 and breath % 30 == 0 then
      play_at(self.x, "breath", 100)
      sea.jolt(0, 70, 255, 40, 60)
    end
    if random(12) == 1 then sea.bubbles(self.x, self.y, 1) end
  elseif breath < lungs then
    breath = min(lungs, breath + 9)
    if breath == lungs then play_at(self.x, "splash", 30) end
  elseif #strung == 0 then
    self.rested = true
  end
  return breath > 0
end

local function lamp(self)
  while diver:alive() do
    self.x, self.y, self.alpha = diver.x, diver.y, 150 * max(0, 2 * sea.hour - 1)
    turn()
  end
end

local function dive(self)
  local dx, dy, stroke, hurt = 0, 0, 0, 0 -- hurt: frames until a jellyfish can sting again
  local steer = options.demo and autopilot or controls
  put(lamp, { graph = pictures.lamp, z = -60, fxmode = fx_additiveblend })
  while playing and breathe(self) do
    local x, y, kick = steer(self)
    local much = max(1, math.sqrt(x * x + y * y))
    local strength = 0.13 / (1 + 0.12 * #strung)
    if kick and breath > 60 and (x ~= 0 or y ~= 0) then
      strength, breath = strength * 20, breath - 30
      play_at(self.x, "kick", 60)
      sea.bubbles(self.x, self.y, 6)
    end
    dx, dy = (dx + x / much * strength) * 0.92, (dy + y / much * strength) * 0.92
    self.x = max(8, min(width - 8, self.x + dx))
    self.y = max(surface + 2, min(floor, self.y + dy))

    stroke = stroke + 0.04 + 0.1 * math.sqrt(dx * dx + dy * dy)
    self.graph = pictures.diver[1 + stroke // 1 % 2]
    if math.abs(dx) > 0.1 then self.flags = dx < 0 and flg_hmirror or flg_normal end
    self.angle = -25000 * dy -- the mirror turns it, too

    hurt = hurt - 1
    self.alpha = hurt > 0 and hurt // 5 % 2 == 0 and 90 or 255
    if hurt < 0 and collision(type_of(jelly)) ~= 0 then
      hurt, breath = 90, breath - 120
      cut(1)
      sea.jolt(8, 140, 255, 60, 120)
      sea.burst(self.x, self.y, pictures.glow, 16)
      play_at(self.x, "sting", 90)
    end
    if #strung > 0 and collision(boat) ~= 0 then bring_home() end
    turn()
  end
  cut(1)
  self.angle, self.flags = 0, flg_vmirror
  while true do -- drifts to the surface, on the back
    self.y = max(surface + 3, self.y - 0.6)
    turn()
  end
end

-- ---- The course of the game ---------------------------------------------------------------------

local score_label = write("", { x = 6, y = 4, z = -600, font = sea.font })
local best_label = write("", { x = width - 6, y = 4, z = -600, align = "right" })
local headline = write("", { x = width // 2, y = 96, z = -600, align = "middle", font = sea.font, size = 150,
  colour = { 255, 244, 214 } })
local line = write("", { x = width // 2, y = 128, z = -600, align = "middle" })

local best_file = save_folder() .. "/best.txt"
local function load_best()
  local file <close> = io.open(best_file)
  return file and file:read("n") or 0
end

local function save_best()
  local file <close> = io.open(best_file, "w")
  if file then file:write(best, "\n") end
end

-- A frame of the main loop: the keys that always work, and what is shown in front of the stage.
local function step()
  if pressed "escape" then quit() end
  if playing and (pressed "p" or pressed "pad1_start") then
    paused = not paused
    if paused then music_pause() else music_resume() end
    headline.text = paused and "PAUSE" or ""
  end
  score_label.text, best_label.text = score, "Best " .. best
  if playing and breath < lungs then -- what is left of it, over the diver
    screen_draw_block(0, pictures.gauge, diver.x - 16, diver.y - 18, -600, 0, 0, 32 * breath // lungs, 4)
  end
  frame()
end

local function wait(frames) for _ = 1, frames do step() end end

-- Shows two lines until the player goes on.
local function ask(title, text)
  headline.text = title
  for waited = 0, math.maxinteger do
    line.text = waited > 30 and waited // 30 % 2 == 1 and text or ""
    local go_on = pressed "space" or pressed "return" or pressed "mouse_left" or pressed "pad1_a"
    if waited > 30 and go_on or options.demo and waited == 90 then break end
    step()
  end
  headline.text, line.text = "", ""
end

local function start_game()
  for each in pairs(pearls) do each:kill() end
  for each in pairs(jellies) do each:kill() end
  if diver then diver:kill() end
  pearls, jellies, strung = {}, {}, {}
  score, age, breath, playing, sea.hour = 0, 0, lungs, true, 0
  diver = put(dive, { x = boat.x, y = surface + 4 })
end

local function play()
  start_game()
  while age < day and breath > 0 do
    if not paused then age = age + 1 end
    sea.hour = age / day
    if age == day - 600 and not paused then sea.say("SUNSET!", width // 2, 110, 150, { 255, 200, 120 }) end
    step()
  end
  playing = false
  return breath > 0 and "THE SUN HAS SET" or "OUT OF BREATH"
end

best = load_best()
for i = 0, 5 do put(shell, { graph = pictures.shut, x = 35 + 50 * i, y = floor + i * 3 % 7, z = 50 }) end
spawn(send_jellies)
music_play("../assets/tune.mod")
music_volume(40)
ask("STRING OF PEARLS", "Press space, click, or press pad a")
while true do
  local verdict = play()
  local record = score > best
  if record then
    best = score
    save_best()
    sound_play(sounds.haul)
  end
  wait(60)
  ask(verdict, record and "A new best: " .. score .. ". Once more?" or score .. " points. Once more?")
  screen_fade(0, 0, 0, 4)
  while fading == 1 do step() end
  screen_fade_in()
end
