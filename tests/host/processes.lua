-- Processes: their fields, turns and ends.
local function fails(f, ...) print(select(2, pcall(f, ...))) end
local function short() end

print('fields are the memory of the process')
local p = spawn(function(self, a, b) self.x = self.x + a self.y = b frame() end,
                {x = 10, size = 50, mine = 'own'}, 5, 7)
print(p.x, p.size, p.alpha, p.mine, p.absent)
frame()
print(p.x, p.y, p.graph)
frame()
p.mine = 3
print(p.mine, p.id == nil)
fails(function() p.x = 1 end)
fails(function() return p.type end)
fails(function() main.x = 'a' end)
fails(function() main.id = 1 end)
fails(function() main.kill = 1 end)
main.xgraph = {4, 5.9, -6}
print(#main.xgraph, table.unpack(main.xgraph))
main.xgraph = nil
print(main.xgraph)
fails(function() main.xgraph = 5 end)
fails(spawn, 5)
fails(spawn, print, 5)
fails(spawn, print, {x = 'a'})

print('a local keeps the fraction that the script assigns')
for _ = 1, 4 do main.x, main.y = main.x + 0.4, -0.5 end
print(main.x, main.y)
advance(main, 3)
print(main.x, main.y)
xadvance(main, 90000, 1)
print(main.x, main.y)
main.x, main.y, main.z = 5.75, 7.5, 2.0
main.x, main.y = 5, 2^31 + 0.5
print(main.x, main.y, main.z)
fails(function() main.x = 0/0 end)

print('a process stands for its id, and its object for no other')
p = spawn(short)
print(alive(p), process(p.id) == p, type_of(p) == type_of(short), type_of(short) ~= type_of(print))
local id, q = p.id
frame()
print(alive(p), process(id))
for _ = 1, 1100 do spawn(short) end
frame() frame() frame()
repeat q = spawn(short) until q.id == id
print(alive(p), alive(q), process(id) == q, p == q)
frame()

print('turns come in the order of spawning, in the frame of spawning')
local function body(self, name)
  io.write(name, ' ')
  frame()
  if name == 'a' then spawn(body, nil, 'c') end
  io.write(name, ' ')
  frame()
end
spawn(body, nil, 'a')
spawn(body, nil, 'b')
for _ = 1, 4 do io.write('|') frame() end
print()

print('sleep, freeze, wake, kill')
local n = 0
p = spawn(function() while true do n = n + 1 frame() end end)
frame() sleep(p) frame() frame() io.write(n, ' ')
p:wake() frame() io.write(n, ' ') freeze(p.id) frame() io.write(n, ' ')
wake(p) p:kill() frame() print(n, p:alive(), kill(p))
spawn(function(self) print('in') pcall(kill, self) print('not reached') end)
frame()
local victim
spawn(function() frame() kill(victim) frame() end)
victim = spawn(function() while true do print('once') frame() end end)
frame() frame() frame()

print('turns end in the process\'s own code')
fails(coroutine.wrap(function() frame() end))
fails(table.sort, {3, 2, 1}, function() frame() end)
fails(coroutine.wrap(function() kill(main) end))
for v in coroutine.wrap(function() coroutine.yield(1) end) do print(v) end

print('calls are made for the running process')
mode_set(64, 48, 32)
local graph = map_new(4, 4)
spawn(function(self) self.x = 3 advance(5) print(self.x) end)
main.x = 70
frame()
print(main.x)

print('closers run; a script can quit with a frame')
local function closing()
  local _ <close> = setmetatable({}, {__close = function()
    print('closed')
    spawn(print, nil, 'from a closer')
  end})
  while true do frame() end
end
p = spawn(closing)
frame() kill(p) frame() frame()
spawn(function() frame() print('not reached') end)
frame()
quit()
print('nor this')
