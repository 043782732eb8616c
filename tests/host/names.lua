-- Names of files in Lua's own functions: the script's folder comes first, then the current one.
print(dofile('part.lua'))
print(loadfile('only.lua')())
print(loadfile('absent.lua'))
print(select(2, pcall(dofile, 'bad.lua')))

print(io.open('absent.txt'))
local file = io.open('s.txt', 'w')
file:write('one\ntwo\n')
file:close()
for line in io.lines('s.txt') do io.write(line, ' ') end
print()
print(io.open('../cwd/s.txt'))
print(os.rename('s.txt', 't.txt'), os.remove('t.txt'))
print(select(2, os.remove('t.txt')))

-- Messages tell the line and the function.
local function fails(f) print(select(2, pcall(f))) end
fails(function() return io.open('o.txt', 'q'), 1 end)
fails(function() return io.lines('absent.txt'), 1 end)
io.output('o.txt')
io.write('written')
io.close()
io.output(io.stdout)
io.input('o.txt')
print(io.read())

local saves = save_folder()
local before = #list_folder(saves)
io.open(saves .. '/a', 'w'):close()
print(saves == save_folder(), before, #list_folder(saves))
