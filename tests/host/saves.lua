-- saves.lua PREFIX NAMES...: saves with every function whose name begins with PREFIX, under each of
-- the names; tells for each name whether all saved a whole file, or all refused.
mode_set(64, 48, 8)
local graph = map_new(90, 70, 1)
fpg_new()
fpg_add_map(0, 1, 0, graph)
local saves = {
  {'map', function(name) return map_save(0, graph, name) end},
  {'key_map', function(name) return map_save(0, graph, name, 1, 'key') end},
  {'fpg', function(name) return fpg_save(0, name) end},
  {'key_fpg', function(name) return fpg_save(0, name, 1, 'key') end},
  {'pal', function(name) return palette_save(name) end},
}
for format = 1, 6 do
  saves[#saves + 1] = {'image_' .. format, function(name) return image_save(0, graph, name, format) end}
end

local function content(name)
  local file = io.open(name, 'rb')
  return file and file:read('a'), file and file:close()
end
local prefix = table.remove(arg, 1)
for _, name in ipairs(arg) do
  local saved, refused, all = 0, 0, 0
  for _, save in ipairs(saves) do
    if save[1]:sub(1, #prefix) == prefix then
      all = all + 1
      local result = save[2](name)
      if result == -2147483648 then refused = refused + 1 end
      if result == 1 then
        if name == 'new' then os.rename('new', save[1]) name = save[1] end -- what the others must be
        if content(name) == content(save[1]) then saved = saved + 1 end
        if name == save[1] then name = 'new' end
      end
    end
  end
  print(name, all == saved and 'saved' or all == refused and 'refused' or
              saved .. ' saved, ' .. refused .. ' refused of ' .. all)
end
