-- Acts on the display: modes of all depths and sizes, filters, virtual resolutions, full screens.

local chance = require "chance"
local world = require "world"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick

local acts, act = chance.acts()

local scan_lines = { filter_scanline_noscanline, filter_scanline_1x | filter_scanline_25percent,
  filter_scanline_1x | filter_scanline_50percent, filter_scanline_1x | filter_scanline_75percent,
  filter_scanline_1x | filter_scanline_100percent }

local function any_depth()
  return one_in(4) and pick { 8, 16, 32 } or mode_get_bpp()
end

local function any_flags()
  return pick { 0, mode_window, mode_window, mode_fullscreen } | pick { 0, mode_donotfade, mode_fade } |
    pick { 0, mode_buffercopy, mode_bufferflip } |
    pick { 0, mode_centerwindow, mode_donotcenterwindow, mode_centermouse, mode_donotcentermouse }
end

-- A small full screen is centred in the smallest one that the display has.
act(4, function()
  local w, h, depth = between(32, 160), between(32, 120), any_depth()
  local form = below(6)
  if form == 0 then
    mode_set(w, h)
  elseif form == 1 then
    mode_set(w, h, depth)
  elseif form == 2 then
    mode_set(w, h, depth, any_flags())
  elseif form == 3 then
    mode_set(w, h, depth, any_flags(), 0)
  elseif form == 4 then
    mode_set(w, h, depth, any_flags(), below(3), pick(scan_lines))
  else
    mode_set(w, h, depth, any_flags(), 0, below(3), pick(scan_lines))
  end
end)

act(2, function()
  local form = below(6)
  if form == 0 then
    mode_change(any_flags())
  elseif form == 1 then
    mode_set_filter(below(3))
  elseif form == 2 then
    mode_set_filter(below(3), pick(scan_lines))
  elseif form == 3 then
    virtualresolution_set(between(32, 160), between(32, 120), below(2), below(2))
  elseif form == 4 then
    virtualresolution_set(0, 0, 0, 0)
  else
    mode_set_render(below(3))
  end
end)

act(1, function()
  mode_exists(320, 200, any_depth())
  mode_get_rate()
  mode_is_emulated()
  mode_get_realwidth()
  virtualresolution_get_ratiowidth()
  if one_in(20) then set_fps(below(100), below(10)) end
end)

-- Restores the player's initial mode, and everything that outlives a mode.
function acts.restore()
  virtualresolution_set(0, 0, 0, 0)
  palette_force(nil)
  screen_set_color(0)
  -- Another depth first: it recreates the surfaces of pixel tests, which grow with the tests.
  mode_set(64, 48, 16, mode_window | mode_donotfade)
  mode_set(320, 200, 8, mode_window | mode_buffercopy | mode_fade | mode_centerwindow |
    mode_donotcentermouse, 0, filter_scale_noscale, filter_scanline_noscanline)
  screen_clear()
  screen_fade(100, 100, 100, 64)
  dump_type, restore_type = complete_dump, complete_restore
  draw_z, draw_visible, draw_destination_file, draw_destination_graph = -255, 1, 0, 0
  mouse.file, mouse.graph, mouse.angle, mouse.size, mouse.flags = 0, 0, 0, 100, 0
end

return acts
