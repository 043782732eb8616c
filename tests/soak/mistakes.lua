-- Calls that must fail: errors that the module reports, and calls that the player itself refuses.

local chance = require "chance"
local world = require "world"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick

local failure <const> = -2147483648

-- Each returns the module's result.
local reported = {
  function() return map_get_width(pick { -1, 4000 }, 1) end,
  function() return map_put(0, pick { 0, -1, 100000 }, 0, 1000, 1, 1) end,
  function() return map_new(pick { 0, -1, 65536 }, 4) end,
  function() return map_new(4, 4, 4, 0, 1) end,
  function() return map_clone(0, 999999) end,
  function() return map_unload(pick { -2, 0, 999 }) end,
  function() return map_save(0, world.loose(), "/no/such/folder/a.map") end,
  function() return map_load(world.folder .. "/none.map") end,
  function() return map_load(nil) end,
  function() return map_get_cpoint(0, world.loose(), pick { -1, 5000 }) end,
  function() return fpg_load(world.folder .. "/none.fpg") end,
  function() return fpg_unload(pick { -2, 70000 }) end,
  function() return fpg_new_map(0, pick { 0, 1000 }, 4, 4) end,
  function() return fpg_save(pick { -1, 70000 }, world.folder .. "/a.fpg") end,
  function() return image_load(world.folder .. "/none.png") end,
  function() return image_save(0, world.loose(), world.folder .. "/a", pick { 0, 7 }) end,
  function() return image_save(0, world.loose(), "/no/such/folder/a.png", between(1, 6)) end,
  function() return screen_load(world.folder .. "/none.pcx") end,
  function() return palette_load(world.folder .. "/none.pal") end,
  function() return palette_set_color(256, 1, 2, 3) end,
  function() return draw_new(pick { 0, 6 }, 1, 1, 0, 1, 1, 2, 2) end,
  function() return draw_new(1, 1, 1, 9999, 1, 1, 2, 2) end,
  function() return draw_delete(pick { 2, -3, 999999 }) end,
  function() return region_define(-1, 0, 0, 4, 4) end,
  function() return region_undefine(0) end,
  function() return mode_set(31, 200, 8) end,
  function() return mode_set(64, 48, 24) end,
  function() return mode_set(64, 48, 8, 0, 3, 0) end,
  function() return mode_change(-1) end,
  function() return virtualresolution_set(-1, 4, 0, 0) end,
  function() return ground_xput(0, world.loose(), 1, 1, 0, 100, 0, 9999) end,
  function() return collision_set_alphathreshold(255) end,
  function() return advance(1000, 1) end,
}

-- Each must raise an error.
local refused = {
  function() map_new("a", 4) end,
  function() map_new(1, 2, 3, 4, 5, 6, 7) end,
  function() map_load({}) end,
  function() map_load("zero\0byte") end,
  function() rgb(1e300, 0, 0) end,
  function() spawn(3) end,
  function() spawn(print, { xgraph = 3 }) end,
  function() kill {} end,
  function() key "no such key" end,
  function() _G.mode_window = 3 end,
  function() return video_modes[64] end,
  function() mouse.colour = 3 end,
  function() coroutine.wrap(frame)() end,
}

return {
  { 2, function()
    if one_in(3) then
      local i = below(#refused) + 1
      if pcall(refused[i]) then error("refusal " .. i .. " did not come", 0) end
    else
      local i = below(#reported) + 1
      local result = reported[i]()
      world.agree("mistake " .. i, result, failure)
    end
  end },
}
