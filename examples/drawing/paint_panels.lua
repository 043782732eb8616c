-- The panels of drawing_paint.lua: tools, stamps and actions on the left, settings and colours
-- below.
--
--   local panels = require "paint_panels" (paint, tools)
--   panels.draw()        paints them on the ground
--   panels.press(x, y)   does what a click there does

return function(paint, tools)
  local panels = {}
  local colour_of, sheet = paint.colour_of, paint.sheet
  local back, face, edge = colour_of "182028", colour_of "303c48", colour_of "8090a0"
  local ink, lit = colour_of "d0e8ff", colour_of "f8b830"
  panels.ink, panels.lit = ink, lit

  local function put_text(x, y, line, colour, align)
    local graph = text_graph(line, { colour = colour, align = align })
    ground_put(0, graph, x, y)
    map_unload(graph)
  end

  -- A button: a place, draw(), press(dx) with the distance from its left edge, and chosen().
  local buttons = {}
  local function button(x, y, w, h, press, draw, chosen)
    local new = { x = x, y = y, w = w, h = h, press = press, draw = draw, chosen = chosen }
    buttons[#buttons + 1] = new
  end

  -- Cell i of the two columns on the left.
  local function cell(i, top) return 4 + (i - 1) % 2 * 33, top + (i - 1) // 2 * 33 end

  for i, tool in ipairs(tools) do
    local x, y = cell(i, 22)
    button(x, y, 31, 31, function() paint.tool = tool end,
      function() tool.icon(x + 15, y + 15, paint.tool == tool and lit or ink) end,
      function() return paint.tool == tool end)
  end
  for i, stamp in ipairs(paint.stamps) do
    local x, y = cell(i, 194)
    local function choose()
      if not stamp.graph then return end
      paint.stamp = stamp
      if paint.tool ~= tools.tile then paint.tool = tools.stamp end
    end
    button(x, y, 31, 31, choose, function()
      if not stamp.graph then return end
      local longest = math.max(map_get_width(0, stamp.graph), map_get_height(0, stamp.graph))
      local size = math.max(1, math.min(100, 2700 // longest))
      ground_xput(0, stamp.graph, x + 15, y + 15, 0, size, flg_normal, 0)
    end, function() return paint.stamp == stamp end)
  end
  for i, action in ipairs(paint.actions) do
    local x, y = cell(i, 333)
    button(x, y, 31, 31, action.run, function() put_text(x + 16, y + 9, action.name, ink, "centre") end)
  end
  for i, hex in ipairs(paint.colours) do
    local x, y, c = 72 + (i - 1) % 16 * 35, 449 + (i - 1) // 16 * 15, colour_of(hex)
    button(x, y, 34, 14, function() paint.colour = c end,
      function() ground_put_rect(x + 2, y + 2, x + 31, y + 11, c, 1) end,
      function() return paint.colour == c end)
  end
  local left = 72
  for _, setting in ipairs(paint.settings) do
    local x = left
    left = left + setting.box + 4
    button(x, 422, setting.box, 25,
      function(dx) paint.step(setting, dx * 2 < setting.box and -1 or 1) end,
      function()
        put_text(x + setting.box // 2, 422, setting.name, edge, "centre")
        put_text(x + 4, 422, "-", edge)
        put_text(x + setting.box - 3, 422, "+", edge, "right")
        put_text(x + setting.box // 2, 433, tostring(paint.value(setting.name)), ink, "centre")
      end)
  end

  function panels.draw()
    local right, bottom = sheet.x + sheet.w - 1, sheet.y + sheet.h - 1
    ground_put_rect(0, 0, 639, sheet.y - 1, back, 1)
    ground_put_rect(0, sheet.y, sheet.x - 1, 479, back, 1)
    ground_put_rect(sheet.x, bottom + 1, right, 479, back, 1)
    ground_put_rect(6, 422, 66, 477, paint.colour, 1)
    ground_put_rect(6, 422, 66, 477, edge, 0)
    for _, b in ipairs(buttons) do
      ground_put_srect(b.x, b.y, b.w, b.h, face, 1)
      ground_put_srect(b.x, b.y, b.w, b.h, b.chosen and b.chosen() and lit or edge, 0)
      b.draw()
    end
  end

  -- Presses the button at (x, y), if there is one.
  function panels.press(x, y)
    for _, b in ipairs(buttons) do
      local dx, dy = x - b.x, y - b.y
      if dx >= 0 and dy >= 0 and dx < b.w and dy < b.h then b.press(dx) end
    end
  end

  return panels
end
