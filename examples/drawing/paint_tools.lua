-- The tools of drawing_paint.lua.
--
--   local tools = require "paint_tools" (paint)
--
-- `paint` holds what they work on: the graphs `picture` and `layer` in the size of `sheet`, the
-- `colour`, the `stamp`, and value(name) of a setting. A tool may have these fields:
--
--   shape(s)       draws the stroke s on the layer, where 0 is empty
--   put(graph, s)  draws it on the picture, or on the displayed copy
--   done(s)        called at the end of a stroke
--   icon(x, y, ink) draws its icon on the ground, around (x, y)
--   grows          the layer isn't cleared during a stroke
--   once           the shape is drawn once, when the button is pressed
--   hovers         shown without a button
--   marks          the rectangle of the stroke is marked
--
-- A stroke goes from (x0, y0) to (x, y), and was at (last_x, last_y) a frame ago.

return function(paint)
  local sheet, layer, value = paint.sheet, paint.layer, paint.value

  -- Copies a rectangle, whatever is in it.
  local function copy(to, x, y, from, from_x, from_y, w, h)
    map_block_copy(0, to, x, y, from, from_x, from_y, w, h, flg_nokey, 255, fx_solid)
  end

  -- The part of a stroke's rectangle that is on the sheet: x, y, width, height, or nil.
  local function box_of(s)
    local x0, x1 = math.max(0, math.min(s.x0, s.x)), math.min(sheet.w - 1, math.max(s.x0, s.x))
    local y0, y1 = math.max(0, math.min(s.y0, s.y)), math.min(sheet.h - 1, math.max(s.y0, s.y))
    if x1 >= x0 and y1 >= y0 then return x0, y0, x1 - x0 + 1, y1 - y0 + 1 end
  end

  -- A line of the chosen width: a row of discs.
  local function brush(x0, y0, x1, y1)
    map_put_line(0, layer, x0, y0, x1, y1, paint.colour)
    local radius = value "width" // 2
    if radius == 0 then return end
    local length = math.max(math.abs(x1 - x0), math.abs(y1 - y0))
    local steps = length // math.max(1, radius // 3) + 1
    for i = 0, steps do
      local x, y = x0 + (x1 - x0) * i // steps, y0 + (y1 - y0) * i // steps
      map_put_circle(0, layer, x, y, radius, paint.colour, 1)
    end
  end

  -- Draws a filled shape and, unless it should stay filled, clears all but its border. put(inset,
  -- colour) draws it smaller by the inset on every side.
  local function outlined(put)
    put(0, paint.colour)
    if value "filled" == "no" then put(value "width", 0) end
  end

  local function boxed(rasterise, s)
    local x0, x1 = math.min(s.x0, s.x), math.max(s.x0, s.x)
    local y0, y1 = math.min(s.y0, s.y), math.max(s.y0, s.y)
    outlined(function(inset, colour)
      if x1 - x0 < 2 * inset or y1 - y0 < 2 * inset then return end
      rasterise(0, layer, x0 + inset, y0 + inset, x1 - inset, y1 - inset, colour, 1)
    end)
  end

  local function circle(s)
    local radius = math.floor(math.sqrt((s.x - s.x0) ^ 2 + (s.y - s.y0) ^ 2) + 0.5)
    outlined(function(inset, colour)
      if radius >= inset then map_put_circle(0, layer, s.x0, s.y0, radius - inset, colour, 1) end
    end)
  end

  -- Fills a connected area of one colour. Runs are filled from end to end, so one pixel of the
  -- layer shows whether a run is done.
  local function flood(s)
    if s.x < 0 or s.y < 0 or s.x >= sheet.w or s.y >= sheet.h then return end
    local from = map_get_pixel(0, paint.picture, s.x, s.y)
    local function same(x, y) return map_get_pixel(0, paint.picture, x, y) == from end
    local seeds = { { s.x, s.y } }
    local function seed_row(left, right, y)
      if y < 0 or y >= sheet.h then return end
      local before = false
      for x = left, right do
        local now = same(x, y)
        if now and not before then seeds[#seeds + 1] = { x, y } end
        before = now
      end
    end
    while #seeds > 0 do
      local x, y = table.unpack(table.remove(seeds))
      if map_get_pixel(0, layer, x, y) == 0 then
        local left, right = x, x
        while left > 0 and same(left - 1, y) do left = left - 1 end
        while right < sheet.w - 1 and same(right + 1, y) do right = right + 1 end
        map_put_line(0, layer, left, y, right, y, paint.colour)
        seed_row(left, right, y - 1)
        seed_row(left, right, y + 1)
      end
    end
  end

  local function put_stamp(graph, s)
    local size = value "size"
    map_xxput(0, graph, paint.stamp.graph, s.x, s.y, value "angle" * 1000, size, size, 0, 0,
      tfm_hsr, _G["flg_" .. value "flags"], paint.effect())
  end

  -- Repeats the stamp over a graph of w x h, starting in its corner. The tile functions support no
  -- size, angle or mirrors, and number the effects differently for graphs with an alpha channel, so
  -- a stamp that isn't plain is drawn one by one.
  local function tile_all(graph, w, h)
    local one, size, flags = paint.stamp.graph, value "size", value "flags"
    local x, y = map_get_xcenter(0, one), map_get_ycenter(0, one)
    if size == 100 and value "angle" == 0 and value "effect" == "solid" and
        (flags == "normal" or flags == "nokey") then
      map_put_tile(0, graph, one, x, y, _G["flg_" .. flags], paint.effect())
      return
    end
    local step_x = math.max(4, map_get_width(0, one) * size // 100)
    local step_y = math.max(4, map_get_height(0, one) * size // 100)
    for at_y = y * size // 100, h + step_y, step_y do
      for at_x = x * size // 100, w + step_x, step_x do
        put_stamp(graph, { x = at_x, y = at_y })
      end
    end
  end

  -- Tiles cover a whole graph, so the rectangle becomes a temporary graph.
  local function put_tiles(graph, s)
    local x, y, w, h = box_of(s)
    if not x then return end
    local piece = map_new(w, h)
    copy(piece, 0, 0, paint.picture, x, y, w, h)
    tile_all(piece, w, h)
    copy(graph, x, y, piece, 0, 0, w, h)
    map_unload(piece)
  end

  local tools -- in the order of the panel, and by name

  local function take_block(s)
    local x, y, w, h = box_of(s)
    if not x then return end
    local block = paint.block
    if block.graph then map_unload(block.graph) end
    block.graph = map_new(w, h)
    copy(block.graph, 0, 0, paint.picture, x, y, w, h)
    paint.stamp, paint.tool = block, tools.stamp
  end

  local function take_colour(s)
    if s.x < 0 or s.y < 0 or s.x >= sheet.w or s.y >= sheet.h then return end
    local found = map_get_pixel(0, paint.picture, s.x, s.y)
    if found ~= 0 then paint.colour = found end -- 0 would draw nothing
  end

  -- ---- Icons ------------------------------------------------------------------------------------

  local icons = {}
  function icons.pen(x, y, ink)
    for i = -10, 9 do
      local wave, next_wave = math.floor(6 * math.sin(i / 3)), math.floor(6 * math.sin((i + 1) / 3))
      ground_put_line(x + i, y + wave, x + i + 1, y + next_wave, ink)
    end
  end
  function icons.line(x, y, ink) ground_put_line(x - 9, y + 8, x + 9, y - 8, ink) end
  function icons.rectangle(x, y, ink) ground_put_rect(x - 10, y - 7, x + 10, y + 7, ink, 0) end
  function icons.circle(x, y, ink) ground_put_circle(x, y, 9, ink, 0) end
  function icons.ellipse(x, y, ink) ground_put_ellipse(x - 11, y - 6, x + 11, y + 6, ink, 0) end
  function icons.fill(x, y, ink)
    ground_put_rect(x - 9, y - 8, x + 9, y + 8, ink, 0)
    ground_put_rect(x - 7, y, x + 7, y + 6, ink, 1)
  end
  function icons.stamp(x, y, ink)
    ground_put_rect(x - 9, y + 4, x + 9, y + 8, ink, 1)
    ground_put_rect(x - 2, y - 4, x + 2, y + 4, ink, 1)
    ground_put_circle(x, y - 6, 3, ink, 1)
  end
  function icons.tile(x, y, ink)
    for i = 0, 8 do
      local left, top = x - 10 + i % 3 * 7, y - 10 + i // 3 * 7
      ground_put_rect(left, top, left + 5, top + 5, ink, i % 2)
    end
  end
  function icons.block(x, y, ink)
    for i = -9, 6, 5 do
      ground_put_line(x + i, y - 8, x + i + 2, y - 8, ink)
      ground_put_line(x + i, y + 8, x + i + 2, y + 8, ink)
      ground_put_line(x - 9, y + i, x - 9, y + i + 2, ink)
      ground_put_line(x + 8, y + i, x + 8, y + i + 2, ink)
    end
  end
  function icons.colour(x, y, ink)
    ground_put_line(x - 8, y + 8, x + 3, y - 3, ink)
    ground_put_line(x - 7, y + 8, x + 4, y - 3, ink)
    ground_put_circle(x + 6, y - 6, 4, ink, 1)
  end

  tools = {
    { name = "pen", key = "p", hint = "drag", grows = true,
      shape = function(s) brush(s.last_x, s.last_y, s.x, s.y) end },
    { name = "line", key = "l", hint = "drag from end to end",
      shape = function(s) brush(s.x0, s.y0, s.x, s.y) end },
    { name = "rectangle", key = "r", hint = "drag from corner to corner",
      shape = function(s) boxed(map_put_rect, s) end },
    { name = "circle", key = "c", hint = "drag from the middle", shape = circle },
    { name = "ellipse", key = "e", hint = "drag from corner to corner",
      shape = function(s) boxed(map_put_ellipse, s) end },
    { name = "fill", key = "f", hint = "click on a colour", once = true, shape = flood },
    { name = "stamp", key = "s", hint = "click", hovers = true, put = put_stamp },
    { name = "tile", key = "t", hint = "drag over an area", marks = true, put = put_tiles },
    { name = "block", key = "b", hint = "drag over an area", marks = true, done = take_block },
    { name = "colour", key = "i", hint = "click on the picture", done = take_colour },
  }
  for _, tool in ipairs(tools) do
    tools[tool.name], tool.icon = tool, icons[tool.name]
  end
  return tools
end
