-- Texts: their letters, their graphs, their ends; fonts.
local function fails(f, ...) print(select(2, pcall(f, ...))) end
local function show(text, look)
  local graph = text_graph(text, look)
  for y = 0, map_get_height(0, graph) - 1 do
    local row = {}
    for x = 0, map_get_width(0, graph) - 1 do
      local _, _, _, _, a = map_get_rgba(0, graph, x, y)
      local seen = map_get_pixel(0, graph, x, y) ~= 0
      row[#row + 1] = not seen and '_' or a == 255 and 'X' or '+'
    end
    print(table.concat(row))
  end
  map_unload(graph)
end
local function place(align)
  local text = write('ab\nabcd', { align = align })
  print(align, map_get_xcenter(0, text.graph), map_get_ycenter(0, text.graph))
  text:kill()
end

mode_set(64, 48, 32, mode_window)
print('letters, accents, lines, bytes that are no UTF-8')
show('Åñí\tÌç\xe9', {})
show('i\nMi', { align = 'right' })
show('\u{3b1}\xc0\xaf\xed\xa0\x80', {})
print(text_width('abc'), text_width('a\nab'), text_height(''), text_height('a\n\n'), text_width(12.5))
for _, align in ipairs { 'left', 'centre', 'right', 'middle' } do place(align) end

print('colours')
local function colours(...)
  for _, colour in ipairs { ... } do
    local text = write('l', { colour = colour })
    io.write(string.format('%X ', map_get_pixel(0, text.graph, 0, 5) & 0xFFFFFFFF))
    text:kill()
  end
  print()
end
colours({ 1, 2, 3 }, rgb(1, 2, 3), rgba(1, 2, 3, 128), rgbx(0, 0, 0), rgb(0, 0, 0))
local kept = write('l', { colour = rgb(252, 0, 0) })
mode_set(64, 48, 16, mode_window)
frame()
print(string.format('%X', map_get_pixel(0, kept.graph, 0, 5)))
colours({ 255, 0, 0 }, rgb(0, 255, 0), 0)
mode_set(64, 48, 8, mode_window)
frame()
print(map_get_pixel(0, kept.graph, 0, 5))
colours({ 255, 255, 255 }, 7, 0)
palette_set_color(77, 63, 0, 0)
palette_set_color(220, 0, 0, 0)
frame()
print(map_get_pixel(0, kept.graph, 0, 5), kept.colour ~= nil)
kept:kill()

print('a text is a process')
local a = write('12', { x = 9, y = 9, size = 200, mine = 1 })
local b = write(12, { x = 9, y = 9 })
print(type_of(a) == type_of(write), process(a.id) == a, alive(a), collision(a, type_of(write)) == b.id)
print(a.text, b.text, a.x, a.size, a.mine, a.align, a.colour, a.font)
b:sleep()
print(collision(a, b))
frame()
b:kill()
print(alive(b), process(b.id), b.text)

print('its graph is drawn again, and is no other\'s')
frame()
local graph = a.graph
print(graphiclib_get_mapsloaded(), graph)
a.text = '34'
print(a.graph == graph, map_get_pixel(0, graph, 0, 3) ~= 0)
map_put_pixel(0, graph, 0, 0, 9)
a.text = '34'
a.colour = a.colour
print(map_get_pixel(0, graph, 0, 0))
a.text = '345'
a.text = 'four'
print(graphiclib_get_mapsloaded(), map_get_width(0, a.graph))
map_unload(all_map)
local other = map_new(3, 3)
frame()
print(other, a.graph, map_exists(0, a.graph), map_get_width(0, other))
map_unload(a.graph)
other = map_clone(0, other)
a.text = ''
print(other, a.graph, map_get_width(0, other))
a:kill()
frame()
print(graphiclib_get_mapsloaded(), map_exists(0, other))

print('what is wrong')
fails(write)
fails(write, nil)
fails(write, 'a', 5)
fails(write, 'a', { x = 'a' })
fails(write, 'a', { graph = 1 })
fails(write, 'a', { align = 'top' })
fails(write, 'a', { colour = 'red' })
fails(write, 'a', { colour = 256 })
fails(write, 'a', { font = 'a.ttf' })
fails(write, ('x'):rep(99999))
fails(text_width, nil)
fails(text_width, 'a', 5)
fails(text_graph, 'a', { size = 5 })
fails(function() a.text = 'a' end)
frame()
print(graphiclib_get_mapsloaded())

print('fonts')
fails(font_load, 'absent.ttf', 12)
fails(font_load, 'text.lua', 12)
fails(font_load, 'text.lua', 0)
local bitmaps = font_load('a.bdf')
print(text_width('AA', bitmaps), text_height('A', bitmaps))
mode_set(64, 48, 32, mode_window)
show('A', { font = bitmaps })
-- A font with one glyph, a square on its corner, in an em of 10 pixels of 10 units.
local pack = string.pack
local words = function(...) return pack('>' .. ('i2'):rep(select('#', ...)), ...) end
local tables = {
  { 'cmap', words(0, 1, 3, 1, 0, 12, 6, 12, 0, 65, 1, 1) },
  { 'glyf', words(1, 5, 0, 65, 60, 3, 0) .. '\1\1\1\1' .. words(35, 30, -30, -30, 0, 30, 30, -30) },
  { 'head', pack('>I4I4I4I4', 65536, 0, 0, 0x5F0F3CF5) ..
    words(0, 100, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 65, 60, 0, 8, 2, 0, 0) },
  { 'hhea', words(1, 0, 80, -20, 0, 70, 0, 0, 65, 1, 0, 0, 0, 0, 0, 0, 0, 1) },
  { 'hmtx', words(70, 0, 5) },
  { 'loca', words(0, 0, 17) },
  { 'maxp', words(1, 0, 2, 4, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0) },
}
local head, body = pack('>I4I2I2I2I2', 65536, #tables, 64, 2, 48), ''
for _, entry in ipairs(tables) do
  head = head .. pack('>c4I4I4I4', entry[1], 0, 12 + 16 * #tables + #body, #entry[2])
  body = body .. entry[2] .. ('\0'):rep(-#entry[2] % 4)
end
local file = io.open('a.ttf', 'wb')
file:write(head, body)
file:close()
fails(font_load, 'a.ttf')
local outlines = font_load('a.ttf', 10)
print(text_width('AA', outlines), text_height('A', outlines))
show('A', { font = outlines })
mode_set(64, 48, 16, mode_window)
show('A', { font = outlines })
write('play doesn\'t wait for a text', { font = outlines })
