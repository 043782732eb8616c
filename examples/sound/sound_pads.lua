-- Pads: nine boxes that play sounds.
--
-- What to listen to: the left column sounds on the left, the right one on the right. A pad is lit
-- while its voice plays; pressed again, it starts another. The last row repeats for ever, until it is
-- pressed again, and the ninth pad is the music.
--
-- Keys: 1 to 9 or the mouse press pads, up and down change the volume, space stops all sounds, escape
-- ends. Arguments: the depth, 8, 16 or 32; "demo" presses them by itself; "help" lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 8, 16, 32 } },
  { "demo", false, "presses pads by itself" },
}
local colour = require "colour"
mode_set(640, 480, options.depth, mode_window)
set_fps(60, 0)

local white, grey = colour(235, 240, 255), colour(120, 128, 150)
local size, gap = 116, 20
local left, top = 320 - size - gap, 226 - size - gap -- the middle of the first pad
local pads = {
  { name = "shot", colour = { 185, 70, 60 } },
  { name = "hit", colour = { 190, 115, 45 } },
  { name = "boom", colour = { 185, 160, 55 } },
  { name = "jump", colour = { 100, 160, 70 } },
  { name = "step", colour = { 55, 155, 115 } },
  { name = "pling", colour = { 55, 140, 180 } },
  { name = "step", colour = { 70, 100, 185 }, endless = true, label = "drill" },
  { name = "hit", colour = { 115, 85, 185 }, endless = true, label = "engine" },
  { music = "../assets/tune.mod", colour = { 170, 80, 155 }, label = "music" },
}
for _, pad in ipairs(pads) do
  if pad.name then pad.sound = sound_load("../assets/" .. pad.name .. ".wav") end
end

-- ---- Pads ---------------------------------------------------------------------------------------

local function is_lit(pad)
  if pad.music then return music_playing() end
  return pad.voice and sound_playing(pad.voice)
end

local function press(pad)
  if pad.music then
    if music_playing() then music_stop() else music_play(pad.music) end
  elseif pad.endless and is_lit(pad) then
    sound_stop(pad.voice)
  else
    pad.voice = sound_play(pad.sound, pad.endless and -1 or 0, 100, pad.pan)
  end
  pad.glow = 12
end

local function box(self, pad)
  local graph = map_new(size, size, colour(table.unpack(pad.colour)))
  map_put_rect(0, graph, 0, 0, size - 1, size - 1, white, 0)
  self.graph = graph
  while true do
    pad.glow = math.max((pad.glow or 0) - 1, 0)
    local lit = is_lit(pad)
    self.alpha = lit and 255 or 110
    if options.depth == 8 then self.flags = lit and flg_normal or flg_ghost end -- which have no alpha
    self.size = 100 + pad.glow
    frame()
  end
end

for i, pad in ipairs(pads) do
  local column, row = (i - 1) % 3, (i - 1) // 3
  local x, y = left + column * (size + gap), top + row * (size + gap)
  pad.x, pad.y, pad.pan = x, y, (column - 1) * 70
  spawn(box, { x = x, y = y }, pad)
  write(tostring(i), { x = x, y = y - 12, z = -1, size = 400, align = "middle" })
  write(pad.label or pad.name, { x = x, y = y + 26, z = -1, size = 200, align = "middle" })
end

local function pad_at(x, y)
  for _, pad in ipairs(pads) do
    if math.abs(x - pad.x) <= size // 2 and math.abs(y - pad.y) <= size // 2 then return pad end
  end
end

-- ---- The volume ---------------------------------------------------------------------------------

local volume

local function set_volume(value)
  volume = math.max(0, math.min(100, value))
  master_volume(volume)
  ground_put_rect(220, 440, 420, 452, colour(40, 44, 58), 1)
  ground_put_rect(220, 440, 220 + 2 * volume, 452, grey, 1)
end

write("1 to 9 or the mouse, up and down, space", { x = 320, y = 14, align = "centre", colour = grey })
write("volume", { x = 212, y = 440, align = "right", colour = grey })
set_volume(80)

-- ---- The course of things -----------------------------------------------------------------------

local time = 0

while not key "escape" do
  for i, pad in ipairs(pads) do
    if pressed(tostring(i)) then press(pad) end
  end
  local under = pressed "mouse_left" and pad_at(mouse.x, mouse.y)
  if under then press(under) end
  if pressed "space" then sound_stop() end
  if key "up" then set_volume(volume + 1) end
  if key "down" then set_volume(volume - 1) end
  if options.demo and time % 10 == 0 then press(pads[time // 10 % #pads + 1]) end
  time = time + 1
  frame()
end
quit()
