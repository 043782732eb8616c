-- The soak's own records of what it has created and not yet deleted, and checks that the module's
-- counters and handles agree with them.

local chance = require "chance"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick

local world = {
  folder = ".",
  graphs = {}, -- codes of loose graphs
  libraries = {},
  regions = {}, -- numbers, without region 0
  draws = {}, -- ids
  processes = {},
  files = {}, -- { name, key } of each file that was written
  locks = 0, fixes = 0, -- changes that the draw functions returned, see world.counters
  closed = 0, opened = 0, -- to-be-closed variables of processes
}

-- No list grows beyond these, except in the peak.
world.most = { graphs = 70, libraries = 6, regions = 12, draws = 14, processes = 14,
  files = 24 }
local library_numbers <const> = 24 -- more than are ever in use, even in the peak

local failure <const> = -2147483648

function world.ok(result)
  return result ~= failure
end

function world.full(name)
  return #world[name] >= world.most[name]
end

-- ---- Values -------------------------------------------------------------------------------------

local effects = {}
for i = fx_solid, fx_xorblend do effects[#effects + 1] = i end
for i = fx_invert, fx_tint do effects[#effects + 1] = i end
local angles = { 0, 0, 1, 45000, 90000, 180000, 270000, -90000, 359999, 360000, 1000000 }
local sizes = { 100, 100, 50, 99, 101, 150, 200, 1, 0, 300, -100 }
local extremes = { 0, -1, 32767, 32768, 65535, 65536, 2147483647, -2147483648 }

function world.x()
  if one_in(60) then return pick(extremes) end
  return between(-20, mode_get_width() + 20)
end

function world.y()
  if one_in(60) then return pick(extremes) end
  return between(-20, mode_get_height() + 20)
end

function world.side()
  return one_in(12) and between(1, 128) or between(1, 40)
end

function world.colour()
  local depth = mode_get_bpp()
  if depth == 8 then return below(256) end
  if one_in(6) then return 0 end
  return depth == 16 and rgb(below(256), below(256), below(256)) or
    rgba(below(256), below(256), below(256), pick { 0, 80, 255 })
end

-- An opacity; for draw objects in 8-bit modes up to 15.
function world.alpha(most)
  return one_in(2) and most or below(most + 1)
end

function world.flags()
  return one_in(40) and below(16) or below(12)
end

function world.effect()
  return one_in(3) and fx_solid or pick(effects)
end

function world.angle()
  return one_in(2) and pick(angles) or between(-400000, 400000)
end

function world.size()
  return one_in(2) and pick(sizes) or between(10, 200)
end

function world.shear()
  return one_in(2) and 0 or between(-100, 100)
end

-- Usually a region that is defined.
function world.region()
  if one_in(2) or #world.regions == 0 then return 0 end
  return one_in(40) and between(-1, 80) or pick(world.regions)
end

-- Flags, alpha, effect, colour and intensity: the last arguments of many calls.
function world.look()
  return world.flags(), world.alpha(255), world.effect(), world.colour(), below(256)
end

local function code_in_library(library)
  local code = between(1, 12)
  for _ = 1, 12 do
    if map_exists(library, code) == 1 then break end
    code = code % 12 + 1
  end
  return code
end

-- The code of a loose graph.
function world.loose()
  return #world.graphs > 0 and pick(world.graphs) or 1000
end

-- File and code of a graph that usually exists.
function world.graph()
  local kind = below(32)
  if kind < 9 and #world.libraries > 0 then
    local library = pick(world.libraries)
    return library, code_in_library(library)
  end
  if kind < 10 then return 0, between(1, 12) end
  if one_in(60) then return below(4), pick { 1, 999, 1000, 1255, 1256, 1600, 0, -1 } end
  return 0, world.loose()
end

-- ---- Records ------------------------------------------------------------------------------------

-- Adds the result of a call that creates a handle to one of the lists.
function world.enter(name, handle)
  if not world.ok(handle) then return nil end
  local list = world[name]
  list[#list + 1] = handle
  return handle
end

-- Adds a library that a call may have created as a side effect.
function world.enter_library(number)
  for _, known in ipairs(world.libraries) do
    if known == number then return end
  end
  if fpg_exists(number) == 1 then world.enter("libraries", number) end
end

function world.forget_dead()
  local processes, kept = world.processes, 0
  for i = 1, #processes do
    if alive(processes[i]) then
      kept = kept + 1
      processes[kept] = processes[i]
    end
  end
  for i = #processes, kept + 1, -1 do processes[i] = nil end
end

-- The module's counters, by the names of their functions.
--
-- Deleting any draw object lowers the counts of fixed and locked ones, and every lock counts, even
-- of a locked object. Both are intended, so these two are compared with what the calls returned.
local counters = { "drawsfixed", "drawslocked", "drawspainted", "fpgsloaded", "mapsloaded",
  "regionsdefined" }

function world.counters()
  local values = {}
  for i, name in ipairs(counters) do values[i] = _G["graphiclib_get_" .. name]() end
  return values
end

local start

function world.begin()
  start = world.counters()
end

local function differs(what, found, expected)
  error(string.format("%s: %d, expected %d", what, found, expected), 0)
end

local function agree(what, found, expected)
  if found ~= expected then differs(what, found, expected) end
end
world.agree = agree

-- Raises an error unless every counter is at its start plus the recorded objects.
function world.check_counters()
  local held = { world.fixes, world.locks, #world.draws, #world.libraries,
    #world.graphs, #world.regions }
  for i, value in ipairs(world.counters()) do
    agree("graphiclib_get_" .. counters[i], value, start[i] + held[i])
  end
end

local function graphs_in(library)
  local count = 0
  for code = 1, 999 do count = count + map_exists(library, code) end
  return count
end

-- Raises an error unless each recorded handle exists and the libraries count their graphs.
function world.audit()
  world.check_counters()
  for _, code in ipairs(world.graphs) do agree("map_exists of " .. code, map_exists(0, code), 1) end
  for _, number in ipairs(world.libraries) do
    agree("fpg_exists of " .. number, fpg_exists(number), 1)
    if number ~= 0 then
      agree("fpg_get_nummaps of " .. number, fpg_get_nummaps(number), graphs_in(number))
    end
  end
  agree("fpg_get_nummaps of 0", fpg_get_nummaps(0), graphs_in(0) + #world.graphs)
  for _, id in ipairs(world.draws) do agree("draw_exists of " .. id, draw_exists(id), 1) end
  for _, number in ipairs(world.regions) do
    agree("region_is_defined of " .. number, region_is_defined(number), 1)
  end
end

-- ---- Deleting single objects --------------------------------------------------------------------

-- image_unload unloads graphs from picture files, map_unload all others.
function world.unload_graph(code)
  agree("unloading graph " .. code, map_unload(code) + image_unload(code), 1)
  agree("map_exists of an unloaded graph", map_exists(0, code), 0)
end

function world.delete_draw(id)
  if draw_is_fixed(id) == 1 then world.fixes = world.fixes - draw_fix(id, 0) end
  agree("draw_delete", draw_delete(id), 1)
  world.fixes, world.locks = world.fixes - 1, world.locks - 1
end

-- ---- Unloading everything -----------------------------------------------------------------------

local function kill_processes()
  local ids = {}
  for i, p in ipairs(world.processes) do
    ids[i] = p.id
    kill(p)
  end
  world.processes = {}
  frame()
  for _, id in ipairs(ids) do agree("process of an id", process(id) and 1 or 0, 0) end
end

local function unload_libraries()
  if one_in(2) then
    agree("fpg_unload of all", fpg_unload(all_fpg), #world.libraries)
  else
    for _, number in ipairs(world.libraries) do
      agree("fpg_unload of " .. number, fpg_unload(number), 1)
    end
  end
  world.libraries = {}
  for code = 1, 999 do fpg_unload_map(0, code) end -- library 0 holds graphs without being loaded
end

local function unload_graphs()
  agree("unloading all graphs", map_unload(all_map) + image_unload(all_image), #world.graphs)
  world.graphs = {}
end

local function delete_draws()
  if #world.draws > 0 then
    world.fixes = world.fixes - draw_fix(all_drawing, 0)
    local deleted = draw_delete(all_drawing)
    agree("draw_delete of all", deleted, #world.draws)
    world.fixes, world.locks = world.fixes - deleted, world.locks - deleted
  end
  world.draws = {}
end

local function undefine_regions()
  for _, number in ipairs(world.regions) do
    agree("region_undefine of " .. number, region_undefine(number), 1)
  end
  world.regions = {}
end

-- Unloads everything, in any order, with a frame between some of the steps: libraries and graphs
-- may be unloaded while processes and draw objects still show them.
function world.take_down()
  world.forget_dead()
  local steps = { kill_processes, unload_libraries, unload_graphs, delete_draws, undefine_regions }
  while #steps > 0 do
    chance.take(steps)()
    if one_in(2) then frame() end
  end
  -- A library that failed to load keeps its graphs until its number is taken again.
  local numbers = {}
  for i = 1, library_numbers do numbers[i] = fpg_new() end
  for _, number in ipairs(numbers) do fpg_unload(number) end
  frame()
  for _, file in ipairs(world.files) do os.remove(file.name) end
  world.files = {}
end

return world
