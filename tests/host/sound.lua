-- What scripts can tell of sounds and music, the same on every run headless: 20 frames a second.
set_fps(20, 0)

local function save(name, bytes)
  local file <close> = assert(io.open(name, "wb"))
  file:write(bytes)
end

-- A WAV file of that many samples, all of the same value.
local function wav(name, samples, rate, value)
  local data = string.pack("<i2", value or 0):rep(samples)
  save(name, string.pack("<c4I4c8I4I2I2I4I4I2I2c4s4", "RIFF", 36 + #data, "WAVEfmt ", 16, 1, 1, rate,
                         rate * 2, 2, 16, "data", data))
end

local function try(...) print(select(2, pcall(...))) end

-- The frames that a voice plays.
local function frames(voice)
  local count = 0
  while sound_playing(voice) do count = count + 1 frame() end
  return count
end

if arg[1] == "heard" then
  set_fps(40, 0)
  wav("long.wav", 1100, 44100, 16000)
  wav("fast.wav", 1200, 48000, 16000)
  local long, fast = sound_load("long.wav"), sound_load("fast.wav")
  local function wait(n) for _ = 1, n or 4 do frame() end end
  wait()
  sound_play(long) wait()
  sound_play(fast, 0, 50) wait()
  sound_play(long, 2, 100, -100) wait(6)
  sound_play(long, 0, 300, 50) wait()
  local voice = sound_play(long, -1) wait()
  sound_volume(voice, 25) wait()
  sound_pan(voice, 100) wait()
  sound_stop(voice) wait()
  master_volume(50)
  sound_play(long, 0, 50) wait()
  return
elseif arg[1] == "music" then
  music_volume(tonumber(arg[3]))
  music_play(arg[2], 0)
  for _ = 1, 8 do frame() end
  return
end

print "the clock and the length of a sound decide"
wav("half.wav", 4000, 8000)
local half, ogg = sound_load("half.wav"), sound_load(arg[1])
print(frames(sound_play(half)), frames(sound_play(half, 2)), frames(sound_play(ogg)))

print "a voice is one playing of a sound"
local first, second = sound_play(half), sound_play(half, -1)
sound_stop(first)
print(first == second, sound_playing(first), sound_playing(second))
for _ = 1, 99 do frame() end
print(sound_playing(second))
sound_stop()
print(sound_playing(second))

print "the 33rd stops the one that would end first, and its number stops no other"
local voices = { sound_play(half, 1), sound_play(half), sound_play(half, -1) }
for i = 4, 33 do voices[i] = sound_play(half, 5) end
sound_stop(voices[2]) sound_volume(voices[2], 0) sound_pan(voices[2], 0)
local playing = {}
for i, voice in ipairs(voices) do playing[i] = sound_playing(voice) and 1 or 0 end
print(table.concat(playing))
sound_unload(half)
print(sound_playing(voices[3]), sound_playing(voices[33]))

print "music is on until it is stopped"
print(music_playing())
music_play(arg[2], 0)
for _ = 1, 200 do frame() end
music_pause()
print(music_playing())
music_resume() music_volume(50) master_volume(-3)
try(music_play, "half.wav")
print(music_playing())
music_stop()
print(music_playing())

print "mistakes"
try(sound_load, "absent.wav")
try(sound_load, "/absent.wav")
try(sound_load, ".")
try(sound_load, "sound.lua")
try(music_play, "sound.lua")
try(sound_load)
try(sound_play, half)
try(sound_play, nil)
try(sound_play, ogg, "twice")
try(sound_stop, nil)
try(sound_volume, 1)
try(music_play, arg[2], 1)
try(master_volume, 1 / 0)
wav("slow.wav", 9, 1)
try(sound_load, "slow.wav")

print "files that are cut off are no sounds; damaged ones may be played, or not"
for _, name in ipairs { "half.wav", arg[1], arg[2] } do
  local file <close> = assert(io.open(name, "rb"))
  local whole, loaded = file:read("a"), 0
  for at = 0, #whole - 1, #whole // 100 do
    save("cut", whole:sub(1, at))
    save("bad", whole:sub(1, at) .. "\xFF\0\x80" .. whole:sub(at + 4))
    loaded = loaded + (pcall(sound_load, "cut") and 1 or 0)
    pcall(sound_load, "bad")
    pcall(music_play, "cut")
    pcall(music_play, "bad")
  end
  print(name, loaded)
end
