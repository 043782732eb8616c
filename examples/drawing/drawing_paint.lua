-- A painting program for the mouse.
--
-- A shape is drawn on a separate layer. With the chosen effect and opacity the layer is drawn on
-- the displayed copy of the picture and, when the button is released, on the picture itself: the
-- same calls preview and paint. The tools are in paint_tools.lua.
--
-- Mouse: the left button uses the tool and the panels; the left half of a setting's box lowers it,
-- the right half raises it. The right button takes the colour under the pointer.
-- Keys, tools: p pen, l line, r rectangle, c circle, e ellipse, f fill, s stamp, t tile, b block
-- (what it takes is the next stamp), i takes a colour. Settings, with shift the other way: x
-- filled, w width, d size of stamps, a angle, m flags, o opacity, k effect.
-- z undoes, y redoes, n starts a new sheet, g saves a PNG under a new name, escape ends.
--
-- Compositing effects (src to srcxordst) also change what is around a shape: dstinsrc keeps only
-- the part of the picture that the shape covers. 8-bit modes have no opacity except that of the
-- ghost flags, and no effects from additiveblend on.
--
-- Arguments: the depth, 8, 16 or 32 bits a pixel; "demo" paints a landscape by itself
-- before the mouse takes over; "help" lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 8, 16, 32 } },
  { "demo", false, "paints a landscape by itself" },
}
local depth, demo = options.depth, options.demo
local sheet = { x = 72, y = 20, w = 568, h = 400 }

mode_set(640, 480, depth, mode_window)
set_fps(60, 0)

-- An 8-bit mode has no rgbx(): the palette's nearest colour, from components of 0 to 63.
local function colour_of(hex)
  local rgb = tonumber(hex, 16)
  local r, g, b = rgb >> 16, rgb >> 8 & 255, rgb & 255
  if depth == 8 then return palette_find_color(r // 4, g // 4, b // 4) end
  return rgbx(r, g, b)
end

local function words(line)
  local list = {}
  for word in line:gmatch "%S+" do list[#list + 1] = word end
  return list
end

-- ---- Choices ------------------------------------------------------------------------------------

local colours = words [[
  1c1c24 4a4a58 8a8a98 c8c8d4 ffffff 5a2a1e 8a4a2a b87848 e0b080 f8e0c0 8a1c2c d83838 f07838 f8b830
  f8e858 f8f8b0 183020 205c30 389040 70c048 123848 1c6880 38a0b8 80d8e0 182058 2848a8 4888e8 90c0f8
  d0e8ff 482868 9848b0 e888c8]]
local flags = words [[
  normal hmirror vmirror hvmirror ghost ghost_hmirror ghost_vmirror ghost_hvmirror
  nokey nokey_hmirror nokey_vmirror nokey_hvmirror]]
local effects = words [[
  solid src dst srcoverdst dstoversrc srcindst dstinsrc srcoutdst dstoutsrc srcatopdst dstatopsrc
  srccleardst srcxordst additiveblend subtractiveblend multiplyblend averageblend screenblend rblend
  gblend bblend rgblend rbblend gbblend andblend orblend xorblend invert rinvert ginvert binvert
  rginvert rbinvert gbinvert grayscale rscale gscale bscale rgscale rbscale gbscale tint]]
if depth == 8 then effects = table.move(effects, 1, 13, 1, {}) end -- 8-bit modes have no more

local widths = { 1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64 }
local sizes = { 10, 20, 35, 50, 75, 100, 125, 150, 200, 300, 400 }
local opacities = { 16, 32, 64, 96, 128, 160, 192, 224, 255 }
local angles = {}
for i = 0, 23 do angles[i + 1] = i * 15 end

-- `at` is the index of the chosen value, `box` the width of the box in the panel.
local settings = {
  { name = "filled", key = "x", box = 56, values = { "no", "yes" }, at = 1, wraps = true },
  { name = "width", key = "w", box = 56, values = widths, at = 3 },
  { name = "size", key = "d", box = 56, values = sizes, at = 6 },
  { name = "angle", key = "a", box = 60, values = angles, at = 1, wraps = true },
  { name = "flags", key = "m", box = 104, values = flags, at = 1, wraps = true },
  { name = "opacity", key = "o", box = 72, values = opacities, at = 9 },
  { name = "effect", key = "k", box = 132, values = effects, at = 1, wraps = true },
}
for _, setting in ipairs(settings) do settings[setting.name] = setting end

local function step(setting, by)
  local last = #setting.values
  local at = setting.at + by
  setting.at = setting.wraps and (at - 1) % last + 1 or math.max(1, math.min(last, at))
end

local stamps = {}
for i, name in ipairs { "bird", "cloud", "star", "ball", "meteor1", "ship", "spark" } do
  stamps[i] = { name = name, graph = image_load("../assets/" .. name .. ".png") }
end
stamps[8] = { name = "block" } -- has a graph once a block has been taken

-- ---- The picture --------------------------------------------------------------------------------

local white = colour_of "ffffff"
local paint = {
  sheet = sheet,
  picture = map_new(sheet.w, sheet.h, white),
  layer = map_new(sheet.w, sheet.h), -- the current shape; 0 is empty
  colour = colour_of(colours[1]),
  stamp = stamps[1],
  block = stamps[8],
  colours = colours, stamps = stamps, settings = settings, -- the choices in the panels
  colour_of = colour_of,
  step = step,
}
function paint.value(name) return settings[name].values[settings[name].at] end
-- Opacity, effect and the effect's colour and intensity, as arguments of drawing functions.
function paint.effect()
  return paint.value "opacity", _G["fx_" .. paint.value "effect"], paint.colour, 160
end

local tools = require "paint_tools" (paint)
paint.tool = tools.pen

local shown = map_new(sheet.w, sheet.h, white) -- the picture with the current stroke

local function put_stroke(graph, s)
  if s.tool.put then
    s.tool.put(graph, s)
  elseif s.tool.shape then
    map_apply_fx(0, graph, paint.layer, paint.effect())
  end
end

local function show(s)
  map_block_copy(0, shown, 0, 0, paint.picture, 0, 0, sheet.w, sheet.h, flg_nokey, 255, fx_solid)
  if s then put_stroke(shown, s) end
end

local undo, redo, most_steps = {}, {}, 40

-- Called before the picture changes.
local function remember()
  for _, graph in ipairs(redo) do map_unload(graph) end
  redo = {}
  undo[#undo + 1] = map_clone(0, paint.picture)
  if #undo > most_steps then map_unload(table.remove(undo, 1)) end
end

local function go(from, to)
  if #from == 0 then return end
  to[#to + 1] = paint.picture
  paint.picture = table.remove(from)
end

local notice -- shown in the title until the next click or key

-- The first of paint_001.png, paint_002.png ... that doesn't exist yet, neither beside the script,
-- where a name is looked up first, nor in the current folder.
local function free_name()
  local taken = {}
  for _, name in ipairs(list_folder "." or {}) do taken[name] = true end
  for number = 1, 999 do
    local name = ("paint_%03d.png"):format(number)
    local file = io.open(name)
    if file then file:close() elseif not taken[name] then return name end
  end
end

local function save()
  local name = free_name()
  -- With --strict a failure value becomes an error.
  local called, result = pcall(image_save, 0, paint.picture, name, img_format_png)
  notice = called and result == 1 and "saved as " .. name or "could not be saved"
end

paint.actions = {
  { name = "undo", key = "z", run = function() go(undo, redo) end },
  { name = "redo", key = "y", run = function() go(redo, undo) end },
  { name = "new", key = "n", run = function() remember() map_clear(0, paint.picture, white) end },
  { name = "save", key = "g", run = save },
}

local panels = require "paint_panels" (paint, tools)

-- ---- Processes ----------------------------------------------------------------------------------

local pointer = { x = 320, y = 200, left = false, right = false }
local stroke -- from the press of the button until its release

local function on_sheet()
  return pointer.x >= sheet.x and pointer.y >= sheet.y and pointer.y < sheet.y + sheet.h
end

local function title_line()
  if notice then return notice end
  local line = paint.tool.name .. ": " .. paint.tool.hint
  if on_sheet() then line = line .. ("  %d,%d"):format(pointer.x - sheet.x, pointer.y - sheet.y) end
  if stroke then
    local w, h = math.abs(stroke.x - stroke.x0) + 1, math.abs(stroke.y - stroke.y0) + 1
    line = line .. ("  %d x %d"):format(w, h)
  end
  return line
end

local function arrow(self)
  local graph = map_new(12, 15)
  map_set_center(0, graph, 0, 0)
  for i = 0, 14 do map_put_line(0, graph, 0, i, i * 3 // 4, i, paint.colour) end
  for i = 3, 13 do map_put_line(0, graph, 1, i, i * 3 // 4 - 1, i, white) end
  self.graph, self.z = graph, -200
  while true do
    self.x, self.y = pointer.x, pointer.y
    frame()
  end
end

-- Draw objects: a ring around the pointer, as wide as the brush, and the border of a stroke that
-- takes or covers a rectangle. Shown only while they apply.
local rectangle, ellipse = 2, 4
local opaque = depth == 8 and 15 or 255
region_define(1, sheet.x, sheet.y, sheet.w, sheet.h)
local function marker(shape)
  local id = draw_new(shape, panels.lit, opaque, 1, 0, 0, 0, 0)
  draw_lock(id)
  draw_set_z(id, -100)
  return id
end
local ring, border = marker(ellipse), marker(rectangle)

local function move_markers()
  local brushes = paint.tool == tools.pen or paint.tool == tools.line
  local radius = paint.value "width" // 2
  draw_set_visible(ring, brushes and radius > 1 and 1 or 0)
  draw_move(ring, pointer.x - radius, pointer.y - radius, pointer.x + radius, pointer.y + radius)
  draw_set_visible(border, stroke and stroke.tool.marks and 1 or 0)
  if stroke then
    local x, y = sheet.x + stroke.x0, sheet.y + stroke.y0
    draw_move(border, x, y, sheet.x + stroke.x, sheet.y + stroke.y)
  end
end

-- ---- Input --------------------------------------------------------------------------------------

local function begin_stroke()
  local x, y = pointer.x - sheet.x, pointer.y - sheet.y
  stroke = { tool = paint.tool, x0 = x, y0 = y, x = x, y = y, last_x = x, last_y = y }
  map_clear(0, paint.layer, 0)
  if stroke.tool.once then stroke.tool.shape(stroke) end
end

local function move_stroke()
  local tool = stroke.tool
  stroke.x, stroke.y = pointer.x - sheet.x, pointer.y - sheet.y
  if tool.shape and not tool.once then
    if not tool.grows then map_clear(0, paint.layer, 0) end
    tool.shape(stroke)
  end
  stroke.last_x, stroke.last_y = stroke.x, stroke.y
end

local function end_stroke()
  local done = stroke
  stroke = nil
  if done.tool.shape or done.tool.put then
    remember()
    put_stroke(paint.picture, done)
  else
    done.tool.done(done)
  end
  panels.draw()
end

local was_left = false
local function use_pointer()
  local pressed = pointer.left and not was_left
  was_left = pointer.left
  if pressed then notice = nil end
  if stroke then
    move_stroke()
    if not pointer.left then end_stroke() end
  elseif pressed and on_sheet() then
    begin_stroke()
    move_stroke()
  elseif pressed then
    panels.press(pointer.x, pointer.y)
    panels.draw()
  elseif pointer.right and on_sheet() then
    tools.colour.done { x = pointer.x - sheet.x, y = pointer.y - sheet.y }
    panels.draw()
  end
end

local held = {}
local function use_keys()
  local function on_press(name, act)
    local down = key(name)
    if down and not held[name] then
      notice = nil
      act()
      panels.draw()
    end
    held[name] = down
  end
  for _, tool in ipairs(tools) do on_press(tool.key, function() paint.tool = tool end) end
  for _, action in ipairs(paint.actions) do on_press(action.key, action.run) end
  for _, setting in ipairs(settings) do
    on_press(setting.key, function() step(setting, key "shift" and -1 or 1) end)
  end
end

-- ---- The program --------------------------------------------------------------------------------

local title = write("", { x = 6, y = 3, colour = panels.ink })
spawn(arrow)
spawn(function(self) -- the sheet
  self.graph, self.flags, self.z = shown, flg_nokey, 10
  self.x, self.y = sheet.x + sheet.w // 2, sheet.y + sheet.h // 2
  while true do frame() end
end)
local performer = demo and
    spawn(require "paint_landscape", {}, paint, tools, panels, pointer)

panels.draw()
while not key "escape" do
  if not (performer and performer:alive()) then
    pointer.x, pointer.y, pointer.left, pointer.right = mouse.x, mouse.y, mouse.left, mouse.right
    if not stroke then use_keys() end
  end
  use_pointer()
  move_markers()
  local hover = paint.tool.hovers and on_sheet() and
      { tool = paint.tool, x = pointer.x - sheet.x, y = pointer.y - sheet.y }
  show(stroke or hover)
  title.text = title_line()
  frame()
end
quit()
