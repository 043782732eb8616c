-- Acts on graphs and libraries: creating, drawing on, querying, unloading.

local chance = require "chance"
local world = require "world"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick
local x, y, side, colour, look = world.x, world.y, world.side, world.colour, world.look
local loose, any = world.loose, world.graph

local acts, act = chance.acts()

-- ---- Loose graphs -------------------------------------------------------------------------------

local function paint(file, graph)
  map_clear(file, graph, colour())
  map_put_csellipse(file, graph, 8, 8, 7, 5, colour(), 1)
end

act(30, function()
  if world.full "graphs" then return end
  local w, h = side(), side()
  local form, graph = below(5), nil
  if form == 0 then
    graph = map_new(w, h)
  elseif form == 1 then
    graph = map_new(w, h, colour())
  elseif form == 2 then
    graph = map_new(w, h, colour(), below(2))
  elseif form == 3 then
    graph = map_new(w, h, below(w), below(h), colour())
  else
    graph = map_new(w, h, below(w), below(h), colour(), below(2))
  end
  if world.enter("graphs", graph) then paint(0, graph) end
end)

act(8, function()
  if world.full "graphs" then return end
  world.enter("graphs", map_clone(any()))
end)

act(30, function()
  if #world.graphs < 12 then return end
  world.unload_graph(chance.take(world.graphs))
end)

-- Unloads all graphs of one kind.
act(1, function()
  if not one_in(10) then return end
  local unloaded = one_in(2) and map_unload(all_map) or image_unload(all_image)
  local left = {}
  for _, code in ipairs(world.graphs) do
    if map_exists(0, code) == 1 then left[#left + 1] = code end
  end
  world.agree("unloading all graphs of a kind", unloaded, #world.graphs - #left)
  world.graphs = left
end)

-- ---- Libraries ----------------------------------------------------------------------------------

local function fill(library)
  for code = 1, between(1, 4) do
    if world.ok(fpg_new_map(library, code, side(), side(), colour())) then paint(library, code) end
  end
end

act(3, function()
  if world.full "libraries" then return end
  local library = world.enter("libraries", fpg_new())
  if library then fill(library) end
end)

act(1, function()
  if world.full "libraries" or #world.libraries == 0 then return end
  local source = pick(world.libraries)
  local before = fpg_get_nummaps(source)
  local library = world.enter("libraries", fpg_clone(source))
  if library and source ~= 0 and library ~= 0 then
    world.agree("fpg_get_nummaps of a clone", fpg_get_nummaps(library), before)
  end
end)

act(3, function()
  if #world.libraries < 2 then return end
  local library = chance.take(world.libraries)
  world.agree("fpg_unload of " .. library, fpg_unload(library), 1)
  world.agree("fpg_exists after fpg_unload", fpg_exists(library), 0)
end)

act(10, function()
  local library = #world.libraries > 0 and pick(world.libraries) or 0
  local code, form, w, h = between(1, 12), below(4), side(), side()
  if form == 0 then
    fpg_new_map(library, code, w, h)
  elseif form == 1 then
    fpg_new_map(library, code, w, h, below(w), below(h), colour(), below(2))
  elseif form == 2 then
    fpg_add_map(library, code, any())
  else
    fpg_unload_map(library, code)
  end
end)

-- ---- Drawing on graphs --------------------------------------------------------------------------

act(20, function()
  local file, graph = any()
  local form = below(8)
  if form == 0 then
    map_put_line(file, graph, x(), y(), x(), y(), colour())
  elseif form == 1 then
    map_put_rect(file, graph, x(), y(), x(), y(), colour(), below(2))
  elseif form == 2 then
    map_put_srect(file, graph, x(), y(), side(), side(), colour(), below(2))
  elseif form == 3 then
    map_put_csrect(file, graph, x(), y(), side(), side(), colour(), below(2))
  elseif form == 4 then
    map_put_circle(file, graph, x(), y(), side(), colour(), below(2))
  elseif form == 5 then
    map_put_ellipse(file, graph, x(), y(), x(), y(), colour(), below(2))
  elseif form == 6 then
    map_put_csellipse(file, graph, x(), y(), side(), side(), colour(), below(2))
  else
    map_put_pixel(file, graph, x(), y(), colour())
    map_put_pixel(file, graph, x(), y(), colour(), below(2))
  end
end)

act(24, function()
  local file, graph = any()
  local file2, graph2 = any()
  local flags, alpha, effect, tint, strength = look()
  local form = below(11)
  if form == 0 then
    map_put(file, graph, file2, graph2, x(), y())
  elseif form == 1 then
    map_put(0, loose(), loose(), x(), y())
  elseif form == 2 then
    map_xput(file, graph, file2, graph2, x(), y(), world.angle(), world.size(), flags)
  elseif form == 3 then
    map_xput(0, loose(), loose(), x(), y(), world.angle(), world.size(), flags)
  elseif form == 4 then
    map_xxput(file, graph, file2, graph2, x(), y(), world.angle(), world.size(), world.size(),
      world.shear(), world.shear(), below(6), flags, alpha, effect)
  elseif form == 5 then
    map_xxput(file, graph, file2, graph2, x(), y(), world.angle(), world.size(), world.size(),
      world.shear(), world.shear(), below(6), flags, alpha, effect, tint, strength)
  elseif form == 6 then
    map_block_copy(file, graph, x(), y(), file2, graph2, below(20), below(20), side(), side())
  elseif form == 7 then
    map_block_copy(file, graph, x(), y(), file2, graph2, below(20), below(20), side(), side(), flags,
      alpha, effect, tint, strength)
  elseif form == 8 then
    map_put_tile(file, graph, file2, graph2, x(), y())
  elseif form == 9 then
    map_put_tile(file, graph, file2, graph2, x(), y(), flags, alpha, effect, tint, strength)
  else
    map_apply_fx(file, graph, file2, graph2, alpha, effect, tint, strength)
  end
end)

act(6, function()
  local file, graph = any()
  local form = below(7)
  if form == 0 then
    paint(file, graph)
  elseif form == 1 then
    map_clear(file, graph, colour(), below(2))
  elseif form == 2 then
    map_set_color(file, graph, colour(), colour())
  elseif form == 3 then
    map_set_name(file, graph, string.rep("n", below(300)))
    map_set_desc(file, graph, string.rep("d", below(300)))
  elseif form == 4 then
    screen_get(file, graph)
  elseif form == 5 then
    ground_get(file, graph)
  else
    local turned, by = {}, below(256)
    for i = 1, 256 do turned[i] = (i - 1 + by) % 256 end
    map_convert_palette(file, graph, turned)
  end
end)

-- ---- Control points -----------------------------------------------------------------------------

act(8, function()
  local file, graph = any()
  local point = one_in(50) and pick { 999, 4094, 4095, -1 } or below(12)
  local form = below(5)
  if form < 2 then
    map_new_cpoint(file, graph, point, below(60), below(60))
  elseif form == 2 then
    if map_cpoint_exists(file, graph, point) == 1 then
      map_set_cpoint(file, graph, point, x(), y())
      map_get_cpoint(file, graph, point)
    end
  elseif form == 3 then
    if point > 0 and map_cpoint_exists(file, graph, point) == 1 then
      world.agree("map_delete_cpoint", map_delete_cpoint(file, graph, point), 1)
    end
  else
    map_set_center(file, graph, between(-1, 40), between(-1, 40))
  end
end)

-- ---- Queries ------------------------------------------------------------------------------------

act(8, function()
  local file, graph = any()
  if map_exists(file, graph) == 0 then return end
  local w, h = map_get_width(file, graph), map_get_height(file, graph)
  world.agree("graphic_info of the width", graphic_info(file, graph, g_width), w)
  map_get_rgba(file, graph, below(w), below(h))
  map_get_pixel(file, graph, x(), y())
  map_get_xcenter(file, graph)
  map_get_ycenter(file, graph)
  map_get_numcpoints(file, graph)
  map_get_memoryusage(file, graph)
  if #map_get_name(file, graph) > 255 or #map_get_desc(file, graph) > 255 then
    error("a graph's text is longer than it can be", 0)
  end
end)

return acts
