-- What the player's hands do, told frame by frame. See orbplay.txt.
local names = {
  'a', 'shift', 'f12', 'mouse_left', 'mouse_right',
  'pad1_left', 'pad1_right', 'pad1_down', 'pad1_a', 'pad2_button16',
}
local text = '?'
mode_set(64, 48, 32, mode_window)
for number = 1, 12 do
  frame()
  local line = {}
  local function tell(...) line[#line + 1] = table.concat({ ... }, ' ') end
  for _, name in ipairs(names) do
    local told = (key(name) and 'd' or '') .. (pressed(name) and 'p' or '') .. (released(name) and 'r' or '')
    if told ~= '' then tell(name, told) end
  end
  if mouse.x + mouse.y > 0 then tell(mouse.x, mouse.y) end
  if mouse.left or mouse.right then tell('mouse', tostring(mouse.left), tostring(mouse.right)) end
  if mouse.wheel ~= 0 then tell('wheel', mouse.wheel) end
  if typed() ~= '' or typed(text) ~= text then
    local new = typed()
    text = typed(text)
    tell(('%q'):format(new), text)
  end
  if pad_count() > 0 then tell('pads', pad_count(), pad(1, 'x'), pad(1, 'y'), pad(2, 'x2'), pad(2, 'y2')) end
  print(clock(), table.concat(line, ', '))
end
