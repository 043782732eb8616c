-- Soak test: creates and destroys processes, graphs, libraries, files, modes and draw objects for N
-- frames, chosen by a seed. Now and then it unloads everything. Then the module's counters must be
-- back at their start, with no more memory and descriptors in use than the first time.
--
-- Arguments, NAME=VALUE: frames (1000000); every (100000): frames until everything is unloaded;
-- seed (1); folder for files (that of the script); memory: the library soak_memory.so, without
-- which only the counters and Lua's heap are checked. The module's reports go to standard error.

local chance = require "chance"
local world = require "world"
local modes = require "modes"
local processes = require "processes"

local one_in = chance.one_in

local options = { frames = 1000000, every = 100000, seed = 1 }
for _, argument in ipairs(arg) do
  local name, value = argument:match "^(%l+)=(.+)$"
  if not name then error("'" .. argument .. "' is no NAME=VALUE", 0) end
  options[name] = math.tointeger(value) or value
end
world.folder = options.folder or "."
local memory = options.memory and assert(package.loadlib(options.memory, "luaopen_soak_memory"))()

-- The allowed increase over the first measurement. Lists have reached their largest size by then,
-- since every round includes the peak.
local slack = {
  lua = 4096, -- bytes in use by Lua
  heap = 8192, -- bytes allocated by malloc
  resident = 2 << 20, -- bytes of the process in memory: the pages that malloc keeps vary
  descriptors = 0,
}

-- ---- Acts ---------------------------------------------------------------------------------------

local acts = {}
for _, name in ipairs { "graphs", "files", "screen", "processes", "modes", "mistakes" } do
  for _, act in ipairs(require(name)) do
    for _ = 1, act[1] do acts[#acts + 1] = act[2] end
  end
end

-- Creates more of everything than at any other time. Processes come in two waves, because the
-- player reuses records of ended ones, with their memory, once there are more than 1024. Each wave
-- also makes more requests in a frame than the initial capacity of the module's list.
local function peak()
  for _ = 1, 300 do world.enter("graphs", map_new(4, 4, 1)) end
  for _ = 1, 12 do world.enter("libraries", fpg_new()) end
  for _ = 1, 40 do world.enter("draws", draw_new(1, 1, 15, 0, 0, 0, 9, 9)) end
  for number = 41, 90 do
    region_define(number, 0, 0, 9, 9)
    world.enter("regions", number)
  end
  local directions = {}
  for i = 1, 12 do directions[i] = world.loose() end
  for _ = 1, 2 do
    for _ = 1, 1200 do processes.spawn().xgraph = directions end
    frame()
    for _ = 1, 1180 do kill(chance.take(world.processes)) end
    frame()
    frame()
  end
end

-- ---- Measurements -------------------------------------------------------------------------------

local columns = { "lua", "heap", "resident", "descriptors" }
local first, flat = nil, true

local function measure()
  world.check_counters()
  world.agree("closed variables", world.closed, world.opened)
  -- The player keeps the last 1000 reports: make them the same every time.
  for _ = 1, 1000 do map_get_width(0, -1) end
  collectgarbage()
  collectgarbage()
  local use = memory and memory() or {}
  use.lua = math.floor(collectgarbage "count" * 1024)
  return use
end

local function print_row(frame, row, trace, seconds)
  local line = string.format("%10s", frame)
  for _, name in ipairs(columns) do line = line .. string.format("%12s", row[name] or "-") end
  print(line .. string.format("%8s%7s", trace, seconds))
  io.flush()
end

local function compare(use)
  first = first or use
  for _, name in ipairs(columns) do
    if first[name] and use[name] > first[name] + slack[name] then
      print(string.format("%s has grown by %d; %d were allowed", name, use[name] - first[name],
        slack[name]))
      flat = false
    end
  end
end

-- ---- The run ------------------------------------------------------------------------------------

chance.seed(options.seed)
set_fps(0, 0)
modes.restore()
frame()
world.begin()
print_row("frame", { lua = "lua", heap = "heap", resident = "resident", descriptors = "descriptors" },
  "trace", "s")

local began = os.time()
local frames = 0
while frames < options.frames do
  peak()
  for _ = 1, math.min(options.every, options.frames - frames) do
    for _ = 1, 6 do chance.pick(acts)() end
    frames = frames + 1
    if one_in(500) then world.audit() end
    frame()
  end
  world.take_down()
  modes.restore()
  for _ = 1, 3 do frame() end
  local use = measure()
  print_row(frames, use, chance.trace(), os.time() - began)
  compare(use)
end

if not flat then error("memory isn't flat", 0) end
print("every counter is back at its start, every handle was found and freed, " ..
  (memory and "memory" or "Lua's heap") .. " is flat")
quit()
