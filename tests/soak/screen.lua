-- Acts on the screen: the ground, drawings for one frame, draw objects, regions, palette and fades.

local chance = require "chance"
local world = require "world"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick
local x, y, side, colour, look = world.x, world.y, world.side, world.colour, world.look
local any = world.graph

local acts, act = chance.acts()

-- ---- The ground ---------------------------------------------------------------------------------

act(8, function()
  local form = below(9)
  if form == 0 then
    ground_put_line(x(), y(), x(), y(), colour())
  elseif form == 1 then
    ground_put_rect(x(), y(), x(), y(), colour(), below(2))
  elseif form == 2 then
    ground_put_srect(x(), y(), side(), side(), colour(), below(2))
  elseif form == 3 then
    ground_put_csrect(x(), y(), side(), side(), colour(), below(2))
  elseif form == 4 then
    ground_put_circle(x(), y(), side(), colour(), below(2))
  elseif form == 5 then
    ground_put_ellipse(x(), y(), x(), y(), colour(), below(2))
  elseif form == 6 then
    ground_put_csellipse(x(), y(), side(), side(), colour(), below(2))
  elseif form == 7 then
    ground_put_pixel(x(), y(), colour())
    ground_get_pixel(x(), y())
  else
    screen_clear()
  end
end)

act(10, function()
  local file, graph = any()
  local flags, alpha, effect, tint, strength = look()
  local region = world.region()
  local form = below(10)
  if form == 0 then
    ground_put(file, graph, x(), y())
  elseif form == 1 then
    ground_xput(file, graph, x(), y(), world.angle(), world.size(), flags, region)
  elseif form == 2 then
    ground_xxput(file, graph, x(), y(), world.angle(), world.size(), world.size(), world.shear(),
      world.shear(), below(6), flags, region, alpha, effect)
  elseif form == 3 then
    ground_xxput(file, graph, x(), y(), world.angle(), world.size(), world.size(), world.shear(),
      world.shear(), below(6), flags, region, alpha, effect, tint, strength)
  elseif form == 4 then
    ground_put_block(file, graph, x(), y(), below(20), below(20), side(), side())
  elseif form == 5 then
    ground_put_block(file, graph, x(), y(), below(20), below(20), side(), side(), flags, region, alpha,
      effect, tint, strength)
  elseif form == 6 then
    ground_put_tile(file, graph, x(), y())
  elseif form == 7 then
    ground_put_tile(file, graph, x(), y(), flags, region, alpha, effect, tint, strength)
  elseif form == 8 then
    ground_put_screen(file, graph)
  else
    ground_copy(region, file, graph, x(), y(), side(), side())
  end
end)

-- ---- The screen ---------------------------------------------------------------------------------

act(10, function()
  local file, graph = any()
  local flags, alpha, effect, tint, strength = look()
  local region, z, resolution = world.region(), between(-20, 20), pick { 0, 0, 1, 2, -1 }
  local form = below(9)
  if form == 0 then
    screen_draw_graphic(file, graph, x(), y(), z, resolution)
  elseif form == 1 then
    screen_draw_graphic(file, graph, x(), y(), z, resolution, world.angle(), world.size(), flags)
  elseif form == 2 then
    screen_draw_graphic(file, graph, x(), y(), z, resolution, world.angle(), world.size(), flags, region,
      alpha, effect, tint, strength)
  elseif form == 3 then
    screen_draw_graphic(file, graph, x(), y(), z, resolution, world.angle(), world.size(), world.size(),
      world.shear(), world.shear(), below(6), flags, region, alpha, effect, tint, strength)
  elseif form == 4 then
    screen_draw_block(file, graph, x(), y(), z, below(20), below(20), side(), side(), flags, region,
      alpha, effect, tint, strength)
  elseif form == 5 then
    screen_draw_block(file, graph, x(), y(), z, below(20), below(20), side(), side())
  elseif form == 6 then
    screen_draw_tile(file, graph, x(), y(), z, flags, region, alpha, effect, tint, strength)
  elseif form == 7 then
    screen_draw_tile(file, graph, x(), y(), z)
  else
    screen_copy(region, file, graph, x(), y(), side(), side())
  end
end)

act(2, function()
  screen_get_pixel(x(), y())
  if one_in(2) then
    screen_set_color(one_in(2) and 0 or colour())
  else
    screen_set_color(below(256), below(256), below(256))
  end
  screen_get_color()
  dump_type = pick { 0, 0, 1, 2 }
  restore_type = pick { 0, 0, 1, -1 }
  mouse.file, mouse.graph = any()
  mouse.angle, mouse.size, mouse.flags = world.angle(), world.size(), below(12)
end)

-- ---- Draw objects -------------------------------------------------------------------------------

local function draw_alpha()
  return world.alpha(mode_get_bpp() == 8 and 15 or 255)
end

act(8, function()
  if world.full "draws" then return end
  world.enter("draws",
    draw_new(between(1, 5), colour(), draw_alpha(), world.region(), x(), y(), x(), y()))
end)

act(4, function()
  local id = chance.take(world.draws)
  if id then world.delete_draw(id) end
end)

act(12, function()
  if #world.draws == 0 then return end
  local id = one_in(20) and all_drawing or pick(world.draws)
  local form = below(11)
  if form == 0 then
    world.locks = world.locks + draw_lock(id)
  elseif form == 1 then
    world.locks = world.locks - draw_unlock(id)
  elseif form == 2 then
    world.fixes = world.fixes + draw_fix(id, 1)
  elseif form == 3 then
    world.fixes = world.fixes - draw_fix(id, 0)
  elseif form == 4 then
    draw_set_destination(id, any())
  elseif form == 5 then
    draw_set_destination(id, 0, 0)
  elseif form == 6 then
    draw_set_region(id, world.region())
  elseif form == 7 then
    draw_set_alpha(id, draw_alpha())
    draw_set_color(id, colour())
  elseif form == 8 then
    draw_set_z(id, between(-20, 20))
    draw_set_visible(id, below(2))
  elseif id ~= all_drawing then
    if form == 9 then
      draw_move(id, x(), y(), x(), y())
    else
      draw_move(id, colour(), draw_alpha(), x(), y(), x(), y())
      local _, x0, _, x1 = draw_get_box(id)
      world.agree("draw_get_x0", draw_get_x0(id), x0)
      world.agree("draw_get_x1", draw_get_x1(id), x1)
    end
  end
end)

act(2, function()
  draw_z, draw_visible = between(-20, 20), one_in(8) and 0 or 1
  draw_destination_file, draw_destination_graph = 0, 0
  if one_in(3) then draw_destination_file, draw_destination_graph = any() end
end)

-- ---- Regions ------------------------------------------------------------------------------------

act(4, function()
  local number = between(1, 40)
  if region_is_defined(number) == 0 then
    if world.full "regions" then return end
    world.enter("regions", number)
  end
  local w = one_in(20) and 2147483647 or side()
  world.agree("region_define", region_define(number, x(), y(), w, side()), 1)
  region_get_box(number)
end)

act(2, function()
  local number = chance.take(world.regions)
  if number then world.agree("region_undefine", region_undefine(number), 1) end
end)

-- ---- The palette and fades ----------------------------------------------------------------------

act(1, function()
  local form = below(6)
  if form == 0 then
    palette_set_color(below(256), below(64), below(64), below(64))
  elseif form == 1 then
    local components = {}
    for i = 1, 30 do components[i] = below(64) end
    palette_set_colors(below(240), 10, components)
  elseif form == 2 then
    palette_roll(between(1, 100), between(1, 100), between(-5, 5))
  elseif form == 3 then
    palette_find_color(below(64), below(64), below(64))
  elseif form == 4 then
    screen_fade(below(201), below(201), below(201), between(1, 64))
  elseif one_in(3) then
    screen_fade_out()
  else
    screen_fade_in()
  end
end)

return acts
