-- Soak test: creates and destroys processes, graphs, libraries, files, modes and draw objects for N
-- frames, chosen by a seed. Now and then it unloads everything. Then the module's counters must be
-- back at their start, with no more memory and descriptors in use than the first time.
--
-- Arguments, NAME=VALUE: frames (1000000); every (100000): frames until everything is unloaded;
-- seed (1); folder for files (that of the script); memory: the library soak_memory.so, without
-- which only the counters and Lua's heap are checked. The module's reports go to standard error.

local options = { frames = 1000000, every = 100000, seed = 1, folder = "." }
for _, argument in ipairs(arg) do
  local name, value = argument:match "^(%l+)=(.+)$"
  if not name then error("'" .. argument .. "' is no NAME=VALUE", 0) end
  options[name] = math.tointeger(value) or value
end
local memory = options.memory and assert(package.loadlib(options.memory, "luaopen_soak_memory"))()
local failure <const> = -2147483648

-- ---- Chance: the same on every machine ----------------------------------------------------------

local state = options.seed
local function below(n)
  state = state * 6364136223846793005 + 1442695040888963407
  return (state >> 33) % n
end
for _ = 1, 4 do below(2) end
local function between(first, last) return first + below(last - first + 1) end
local function one_in(n) return below(n) == 0 end
local function pick(list) return list[below(#list) + 1] end
local function take(list) -- removes it
  local i = below(#list) + 1
  list[i], list[#list] = list[#list], list[i]
  return table.remove(list)
end

-- ---- What is held -------------------------------------------------------------------------------

local held = { graphs = {}, libraries = {}, regions = {}, draws = {}, processes = {}, files = {} }
local most = { graphs = 70, libraries = 6, regions = 12, draws = 14, processes = 14 }
local opened, closed = 0, 0

local function full(name) return #held[name] >= most[name] end
local function enter(name, handle)
  if handle ~= failure then table.insert(held[name], handle) end
  return handle ~= failure and handle or nil
end
local function agree(what, found, expected)
  if found ~= expected then error(string.format("%s: %s, expected %s", what, found, expected), 0) end
end
local function any() -- file and code of a graph that usually exists
  if one_in(3) and #held.libraries > 0 then return pick(held.libraries), between(1, 6) end
  if one_in(60) then return below(4), pick { 1, 999, 1000, 1255, 1256, 1600, 0, -1 } end
  return 0, #held.graphs > 0 and pick(held.graphs) or 1000
end

local start
local function check_counters()
  local counts = { draws = graphiclib_get_drawspainted(), libraries = graphiclib_get_fpgsloaded(),
    graphs = graphiclib_get_mapsloaded(), regions = graphiclib_get_regionsdefined() }
  start = start or counts
  for name, count in pairs(counts) do agree(name, count, start[name] + #held[name]) end
end

-- ---- Plain calls: a letter stands for an argument -----------------------------------------------

local extremes = { 0, -1, 32767, 32768, 65535, 65536, 2147483647, -2147483648 }
local letters = {
  x = function() return one_in(60) and pick(extremes) or between(-20, mode_get_width() + 20) end,
  s = function() return one_in(12) and between(1, 128) or between(1, 40) end,
  c = function() return mode_get_bpp() == 8 and below(256) or one_in(6) and 0 or below(65536) end,
  b = function() return below(2) end,
  q = function() return below(20) end,
  a = function() return one_in(2) and pick { 0, 45000, 90000, 180000 } or between(-400000, 400000) end,
  z = function() return one_in(2) and pick { 100, 50, 200, 1, 0, -100 } or between(10, 200) end,
  n = function() return below(12) end,
  i = function() return below(256) end,
  v = function() return below(mode_get_bpp() == 8 and 16 or 256) end, -- a draw object's alpha
  e = function() return one_in(3) and fx_solid or between(fx_invert, fx_tint) end,
  r = function() return one_in(2) and 0 or #held.regions > 0 and pick(held.regions) or between(-1, 80) end,
  d = function() return between(-20, 20) end,
  D = function() return one_in(20) and all_drawing or #held.draws > 0 and pick(held.draws) or 1 end,
  P = function() return #held.processes > 0 and pick(held.processes).id or -1 end,
  C = function() return one_in(50) and pick { 999, 4094, 4095, -1 } or below(12) end,
  N = function() return string.rep("n", below(300)) end,
  M = function() return pick { 0, 1, 2 } | pick { 0, 64, 128 } | pick { 0, 1024, 2048 } end,
  B = function() return one_in(4) and pick { 8, 16, 32 } or mode_get_bpp() end,
  w = function() return between(32, 160) end,
}
local calls = {}
for call in ([[
  map_clear(Gc) map_put_csellipse(Gxxsscb) map_put(GGxx) map_xxput(GGxxazzddnnie)
  map_block_copy(GxxGqqss) map_put_tile(GGxxnieci) map_apply_fx(GGieci) map_set_color(Gcc)
  map_set_name(GN) map_set_desc(GN) map_get_name(G) map_new_cpoint(GCii) map_set_cpoint(GCxx)
  map_delete_cpoint(GC) map_set_center(Gqq) map_get_realcpoint(C) screen_get(G) ground_get(G)
  ground_put(Gxx) ground_xxput(Gxxazzddnnrieci) ground_put_screen(G) ground_copy(rGxxss)
  screen_clear() screen_draw_graphic(Gxxddazzddnnrieci) screen_draw_block(Gxxdqqssnrieci)
  screen_draw_tile(Gxxdnrieci) screen_set_color(c) screen_fade(iiiq) screen_fade_in()
  screen_fade_out() palette_set_color(iiii) palette_roll(iid) palette_find_color(iii)
  draw_set_destination(DG) draw_set_region(Dr) draw_set_alpha(Dv) draw_set_z(Dd) draw_move(Dcvxxxx)
  draw_set_visible(Db) mode_set(ww) mode_set(wwBM) mode_change(M) mode_set_filter(bb)
  virtualresolution_set(wwbb) mode_set_render(b) collision(P) collision(xxq) overlap(PP)
  collision_set_alphathreshold(i) region_is_out(Pr) advance(d) set_fps(iq)]]):gmatch "%S+" do
  local name, kinds = call:match "([%w_]+)%((%w*)%)"
  calls[#calls + 1] = { assert(_G[name], name), kinds }
end
local function plain()
  local call, arguments = pick(calls), {}
  for letter in call[2]:gmatch "." do
    if letter == "G" then arguments[#arguments + 1], arguments[#arguments + 2] = any()
    else arguments[#arguments + 1] = letters[letter]() end
  end
  call[1](table.unpack(arguments))
end

-- ---- Processes ----------------------------------------------------------------------------------

local fields = {}
for name, letter in ([[x=x y=x z=d angle=a size=z size_x=z shear_x=d tfmorder=n flags=n alpha=i
  fxmode=e fxcolor=c fxintensity=i region=r resolution=d visible=b]]):gmatch "([%w_]+)=(%w)" do
  fields[#fields + 1] = { name, letters[letter] }
end
local closing = { __close = function() closed = closed + 1 end }
local body
local function spawn_one()
  local file, graph = any()
  return enter("processes", spawn(body, { file = file, graph = graph, x = below(64), y = below(48) },
    between(1, 120)))
end
function body(self, life)
  local _ <close> = setmetatable({}, closing)
  opened = opened + 1
  for _ = 1, life do
    local name, value = table.unpack(pick(fields))
    if one_in(4) then self[name] = value() end
    if one_in(20) then self.destination_file, self.destination_graph = any() end
    if one_in(20) then self.xgraph = self.xgraph == nil and { 1000, -1001, below(9) } or nil end
    if one_in(6) then plain() end
    frame()
  end
  if one_in(4) then kill(self) end
end

-- ---- Creating and deleting ----------------------------------------------------------------------

local function unload_graph(code) -- image_unload unloads graphs of picture files, map_unload others
  agree("unloading graph " .. code, map_unload(code) + image_unload(code), 1)
  agree("an unloaded graph", map_exists(0, code), 0)
end
local keys = { "", "key", "a longer key with spaces in it" }
local function add_file(result, name, key)
  if result ~= 1 then return end
  for i, file in ipairs(held.files) do if file.name == name then table.remove(held.files, i) end end
  table.insert(held.files, { name = name, key = key })
end

-- What a frame does: a weight, what must be held or have room, and the act.
local acts = {}
local function act(weight, name, run)
  for _ = 1, weight do acts[#acts + 1] = function() if #held[name] > 0 then run() end end end
end
local function make(weight, name, run)
  for _ = 1, weight do acts[#acts + 1] = function() if not full(name) then enter(name, run()) end end end
end
make(20, "graphs", function() return map_new(letters.s(), letters.s(), letters.c()) end)
make(6, "graphs", function() return map_clone(any()) end)
make(3, "libraries", fpg_new)
make(8, "draws", function()
  return draw_new(between(1, 5), letters.c(), letters.v(), letters.r(), 1, 2, letters.x(), 20)
end)
act(90, "graphs", plain)
act(20, "graphs", function() if #held.graphs > 12 then unload_graph(take(held.graphs)) end end)
act(1, "libraries", function()
  if not full "libraries" then enter("libraries", fpg_clone(pick(held.libraries))) end
end)
act(3, "libraries", function() agree("fpg_unload", fpg_unload(take(held.libraries)), 1) end)
act(8, "libraries", function()
  local library, form = pick(held.libraries), below(3)
  if form == 0 then fpg_new_map(library, between(1, 6), letters.s(), letters.s(), letters.c())
  elseif form == 1 then fpg_add_map(library, between(1, 6), any())
  else fpg_unload_map(library, between(1, 6)) end
end)
act(4, "draws", function() agree("draw_delete", draw_delete(take(held.draws)), 1) end)
make(4, "regions", function()
  local number = between(1, 40)
  local former = region_is_defined(number)
  agree("region_define", region_define(number, letters.x(), letters.x(), 9, letters.s()), 1)
  return former == 0 and number or failure
end)
act(2, "regions", function() agree("region_undefine", region_undefine(take(held.regions)), 1) end)
act(12, "graphs", function()
  for i = #held.processes, 1, -1 do if not alive(held.processes[i]) then table.remove(held.processes, i) end end
  for _ = #held.processes + 1, most.processes do spawn_one() end
end)
act(6, "processes", function()
  local p = take(held.processes)
  kill(one_in(2) and p or p.id)
  agree("alive of a killed process", alive(p), false)
end)
act(4, "processes", function() pick { sleep, freeze, wake, wake }(pick(held.processes)) end)
act(8, "graphs", function() -- write a file
  local file, graph = any()
  local key, form = one_in(3) and pick(keys) or nil, below(9)
  local name = options.folder .. "/" .. form
  if form == 0 then add_file(map_save(file, graph, name, below(2), key), name, key)
  elseif form == 7 then add_file(fpg_save(#held.libraries > 0 and pick(held.libraries) or 0, name, below(2), key), name, key)
  elseif form == 8 then add_file(palette_save(name), name)
  else add_file(image_save(file, graph, name, form, between(-1, 1)), name) end
end)
act(12, "files", function() -- read one, sometimes with another key, or none
  local file, form = pick(held.files), below(7)
  local name = one_in(40) and options.folder .. "/missing" or file.name
  local key = one_in(8) and pick(keys) or file.key or ""
  if form < 2 and not full "graphs" then enter("graphs", form == 0 and map_load(name, key) or form == 1 and image_load(name, key))
  elseif form == 2 and not full "libraries" then enter("libraries", fpg_load(name, key))
  elseif form == 3 and #held.libraries > 0 then fpg_load_map(name, key, pick(held.libraries), between(1, 6))
  elseif form == 4 then screen_load(name, key)
  elseif form == 5 then palette_load(name)
  elseif form == 6 then palette_force(one_in(2) and name or nil) end
end)
act(3, "graphs", function()
  dump_type, restore_type = pick { 0, 0, 1, 2 }, pick { 0, 0, 1, -1 }
  draw_destination_file, draw_destination_graph = 0, 0
  if one_in(3) then draw_destination_file, draw_destination_graph = any() end
  mouse.file, mouse.graph = any()
  mouse.angle, mouse.size = letters.a(), letters.z()
end)

-- ---- Rounds -------------------------------------------------------------------------------------

-- Creates more of everything than at any other time. Processes come in two waves, because the player
-- reuses records of ended ones, with their memory, once there are more than 1024. Each wave also
-- makes more requests in a frame than the initial capacity of the module's list.
local function peak()
  for _ = 1, 300 do enter("graphs", map_new(4, 4, 1)) end
  for _ = 1, 12 do enter("libraries", fpg_new()) end
  for _ = 1, 40 do enter("draws", draw_new(1, 1, 15, 0, 0, 0, 9, 9)) end
  for number = 41, 90 do
    if region_define(number, 0, 0, 9, 9) == 1 then enter("regions", number) end
  end
  for _ = 1, 2 do
    for _ = 1, 1200 do spawn_one().xgraph = held.graphs end
    frame()
    for _ = 1, 1180 do kill(take(held.processes)) end
    frame() frame()
  end
end

-- Restores the player's initial mode, and everything that outlives a mode. Another depth first: it
-- recreates the surfaces of pixel tests, which grow with the tests.
local function restore()
  virtualresolution_set(0, 0, 0, 0)
  palette_force(nil)
  screen_set_color(0)
  mode_set(64, 48, 16, mode_window | mode_donotfade)
  mode_set(320, 200, 8, mode_window | mode_buffercopy | mode_fade | mode_centerwindow |
    mode_donotcentermouse, 0, filter_scale_noscale, filter_scanline_noscanline)
  screen_clear()
  screen_fade(100, 100, 100, 64)
  set_fps(0, 0)
  dump_type, restore_type = complete_dump, complete_restore
  draw_destination_file, draw_destination_graph = 0, 0
  mouse.file, mouse.graph, mouse.angle, mouse.size = 0, 0, 0, 100
end

-- Unloads everything, in any order, with a frame between some of the steps: libraries and graphs may
-- be unloaded while processes and draw objects still show them.
local function take_down()
  local steps = {
    function() for _, p in ipairs(held.processes) do kill(p) end held.processes = {} end,
    function() agree("fpg_unload of all", fpg_unload(all_fpg), #held.libraries) held.libraries = {} end,
    function() agree("unloading all graphs", map_unload(all_map) + image_unload(all_image), #held.graphs) held.graphs = {} end,
    function()
      if #held.draws > 0 then agree("draw_delete of all", draw_delete(all_drawing), #held.draws) end
      held.draws = {}
    end,
    function() for _, number in ipairs(held.regions) do agree("region_undefine", region_undefine(number), 1) end held.regions = {} end,
  }
  while #steps > 0 do
    take(steps)()
    if one_in(2) then frame() end
  end
  -- A library that failed to load keeps its graphs until its number is taken again.
  local numbers = {}
  for i = 1, 24 do numbers[i] = fpg_new() end
  for _, number in ipairs(numbers) do fpg_unload(number) end
  for code = 1, 999 do fpg_unload_map(0, code) end
  for _, file in ipairs(held.files) do os.remove(file.name) end
  held.files = {}
  restore()
  for _ = 1, 3 do frame() end
end

-- The allowed increase over the first measurement, in bytes: lists have reached their largest size by
-- then. The pages that malloc keeps vary.
local slack = { lua = 4096, heap = 8192, resident = 2 << 20, descriptors = 0 }
local columns = { "lua", "heap", "resident", "descriptors" }
local first
local function measure(frames)
  check_counters()
  agree("closed variables", closed, opened)
  for _ = 1, 1000 do map_get_width(0, -1) end -- the player keeps the last 1000 reports
  collectgarbage() collectgarbage()
  local use = { lua = math.floor(collectgarbage "count" * 1024) }
  if memory then
    use.heap, use.descriptors = memory()
    local statm <close> = io.open "/proc/self/statm"
    use.resident = 4096 * tonumber(statm:read "a":match " (%d+)")
  end
  first = first or use
  local line, grown = string.format("%10d", frames), nil
  for _, name in ipairs(columns) do
    line = line .. string.format("%12s", use[name] or "-")
    if first[name] and use[name] > first[name] + slack[name] then grown = name end
  end
  print(line .. string.format("    %04x", state >> 48)) -- a trace, equal in runs that do the same
  io.flush()
  if grown then error(grown .. " has grown by " .. use[grown] - first[grown], 0) end
end

restore()
frame()
check_counters()
print(string.format("%10s%12s%12s%12s%12s   trace", "frame", table.unpack(columns)))
local frames = 0
while frames < options.frames do
  peak()
  for _ = 1, math.min(options.every, options.frames - frames) do
    for _ = 1, 6 do pick(acts)() end
    frames = frames + 1
    frame()
  end
  take_down()
  measure(frames)
end
print("every counter is back at its start, every handle was found and freed, " ..
  (memory and "memory" or "Lua's heap") .. " is flat")
quit()
