-- Measures how long frames take, also when play is headless.
--
--   local stopwatch = require "stopwatch"
--   local milliseconds = stopwatch(60)   -- once in each frame; a number in every 60th, else nil
--
-- What is measured is the processor's time, so that waiting for a frame doesn't count. os.clock tells it
-- in a window; headless it follows the frames instead, so that all runs are the same. The system's own
-- count, in hundredths of a second, is good in both.

local function processor_time()
  local file = io.open("/proc/self/stat")
  if not file then return os.clock() end
  -- The 11th and 12th number behind the program's name and state: its own time, and the system's for it.
  local numbers = file:read("a"):match("%)%s+%a+%s+(.*)")
  file:close()
  local at, hundredths = 0, 0
  for number in numbers:gmatch("%S+") do
    at = at + 1
    if at == 11 or at == 12 then hundredths = hundredths + tonumber(number) end
  end
  return hundredths / 100
end

local frames, before = 0, processor_time()

return function(frames_measured)
  frames = frames + 1
  if frames % frames_measured ~= 0 then return nil end
  local now = processor_time()
  local milliseconds = (now - before) * 1000 / frames_measured
  before = now
  return milliseconds
end
