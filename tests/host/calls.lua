-- How calls choose a form, and what becomes of arguments, results and reports.
local function try(name, ...)
  local results = table.pack(pcall(_G[name], ...))
  print(name, table.unpack(results, results[1] and 2 or 1, results.n))
end

mode_set(64, 48, 8)
print('forms, by number and kind')
try('map_new', 3, 2)
try('map_new', 3, 2, 7)
try('map_new', 1)
try('map_new', 3, true)
try('map_load', 1)
try('map_exists', 0, nil)
try('map_load', main)
try('advance', main)
try('map_clone', table.unpack({}, 1, 20))

print('numbers become words')
region_define(1, 2.9, -2.9, 0xFFFFFFFF, 2^32 + 5)
print(region_get_box(1))
try('region_define', 2, 0, 0, 0/0, 0)
try('region_define', 2, 0, 0, 2^70, 0)

print('texts, nil, and a number or text for palette_load')
try('map_set_desc', 0, 1000, 'text')
print(map_get_desc(0, 1000), map_get_desc(0, 5))
try('map_set_desc', 0, 1000, nil)
print(map_get_desc(0, 1000) == '')
try('map_set_desc', 0, 1000, 'a\0b')
try('palette_load', 'absent.pal')
try('palette_load', 5)

print('results by type')
print(math.type(region_is_xout(main, 0)), region_is_xout(main, 0), map_get_memoryusage(0, 77))

print('pointers are tables, nil or further results')
map_new_cpoint(0, 1001, 3, 1, 2)
print(map_get_cpoint(0, 1001, 3))
local x, y = {10}, {5, 6}
print(map_get_cpoint(0, 1001, 3, x), x[1])
print(map_get_cpoint(0, 1001, 3, x, y), y[1], y[2])
print(map_get_cpoint(0, 1001, 3, nil, nil))
try('map_get_cpoint', 0, 1001, 3, {'x'})

print('arrays that functions read are tables')
local t = {}
for i = 1, 256 do t[i] = 256 - i end
map_put_pixel(0, 1000, 0, 0, 3)
try('map_convert_palette', 0, 1000, t)
print(map_get_pixel(0, 1000, 0, 0), t[4])
for _, change in ipairs({{9, 256}, {256, -1}, {1, 0.5}, {2, '2'}, {257, 0}}) do
  local bad = table.move(t, 1, 256, 1, {})
  bad[change[1]] = change[2]
  try('map_convert_palette', 0, 1000, bad)
end
for _, bad in ipairs({7, print, main, {}}) do try('map_convert_palette', 0, 1000, bad) end
local three = {10, 20, 30.9, 40, 50, 6, 'more'}
try('palette_set_colors', 7, 2, three)
print(three[3], palette_find_color(10, 20, 30), palette_find_color(40, 50, 6))
try('palette_set_colors', 7, 0, {})
for _, bad in ipairs({7, {1, 2, 3, 4, 5}, {1, 2, {}, 4, 5, 6}}) do try('palette_set_colors', 0, 2, bad) end
try('palette_set_colors', 0, 2)

print('reports name the line, and play goes on')
local function inside()
  map_load('absent.map')
end
inside()
return map_load('absent.map') -- a tail call, too
