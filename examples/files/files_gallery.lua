-- Shows every picture in a folder, whatever its format, and packs them all into one file.
--
-- What to look at: the pictures, with their names and sizes, and an A for an alpha channel. Below,
-- the library that they are packed into, saved plain, compressed and enciphered with a key. Each
-- file is loaded again, shown, and compared with the original, to the last pixel, control point and
-- letter.
--
-- Keys: left and right turn the pages, escape ends.
-- Arguments: the depth, 8, 16 or 32; the folder; "help" lists them.

local options = require "options" {
  { "depth", 32, "bits a pixel", { 8, 16, 32 } },
  { "folder", "../assets/gallery", "where the pictures are" },
}
local colour = require "colour"
local depth, folder = options.depth, options.folder

local columns, rows = 4, 2
local per_page = columns * rows
local cell_width, cell_height = 160, 178
local frame_width, frame_height = 144, 132
local top, strips = 26, 392

-- ---- Loading
-- --------------------------------------------------------------------------------------

-- The pictures of the folder, and the names of files that aren't pictures or are too deep for the
-- mode.
local function load_pictures()
  local pictures, others = {}, {}
  local names, problem = list_folder(folder)
  if not names then error(problem, 0) end
  for _, name in ipairs(names) do
    -- With --strict a failure value becomes an error.
    local called, graph = pcall(image_load, folder .. "/" .. name)
    if called and graph >= 0 then
      pictures[#pictures + 1] = { name = name, graph = graph }
    else
      others[#others + 1] = name
    end
  end
  return pictures, others
end

-- map_unload frees graphs from MAP files, even those that image_load has loaded.
local function unload(graph)
  return image_unload(graph) + map_unload(graph)
end

-- ---- Pages
-- ----------------------------------------------------------------------------------------

-- A graph, scaled to fit a box about (x, y).
local function put_fitting(file, graph, x, y, width, height)
  local w, h = map_get_width(file, graph), map_get_height(file, graph)
  local size = math.max(1, math.min(100 * width // w, 100 * height // h, 200))
  -- A graph is positioned by its pivot, which may be anywhere.
  local dx = (graphic_info(file, graph, 2) - w // 2) * size // 100
  local dy = (graphic_info(file, graph, 3) - h // 2) * size // 100
  local opaque = depth == 32 and map_has_alphachannel(file, graph) == 0
  ground_xput(file, graph, x + dx, y + dy, 0, size, opaque and flg_nokey or flg_normal, 0)
end

-- Squares of two greys, which show through transparent pixels.
local function put_squares(x, y, width, height)
  local side = 12
  ground_put_rect(x, y, x + width - 1, y + height - 1, colour(88, 88, 96), 1)
  for j = 0, height // side - 1 do
    for i = j % 2, width // side - 1, 2 do
      ground_put_rect(x + i * side, y + j * side, x + i * side + side - 1, y + j * side + side - 1,
        colour(120, 120, 128), 1)
    end
  end
end

-- The end of a name that fits a cell.
local function shortened(name)
  local shown = name
  for from = 2, #name do
    if text_width(shown) <= frame_width then break end
    shown = "…" .. name:sub(from)
  end
  return shown
end

-- Prints a line on the ground.
local function put_text(x, y, line, colour_of_line, align)
  local graph = text_graph(line, { colour = colour_of_line, align = align })
  ground_put(0, graph, x, y)
  map_unload(graph)
end

local function put_page(pictures, others, page)
  local white, grey = colour(255, 255, 255), colour(176, 184, 200)
  ground_put_rect(0, 0, 639, strips - 1, colour(28, 32, 48), 1)
  local pages = math.max(1, (#pictures + per_page - 1) // per_page)
  put_text(8, 6, ("%d pictures at %d bits, page %d of %d"):format(#pictures, depth, page, pages),
    white)
  if #others > 0 then put_text(632, 6, ("%d not shown"):format(#others), grey, "right") end
  for i = 1, per_page do
    local picture = pictures[(page - 1) * per_page + i]
    if not picture then break end
    local x = (i - 1) % columns * cell_width + cell_width // 2
    local y = top + (i - 1) // columns * cell_height
    put_squares(x - frame_width // 2, y, frame_width, frame_height)
    put_fitting(0, picture.graph, x, y + frame_height // 2, frame_width, frame_height)
    local w, h = map_get_width(0, picture.graph), map_get_height(0, picture.graph)
    local alpha = map_has_alphachannel(0, picture.graph) == 1 and " A" or ""
    put_text(x, y + frame_height + 3, shortened(picture.name), white, "centre")
    put_text(x, y + frame_height + 16, ("%d × %d × %d%s"):format(w, h, depth, alpha), grey, "centre")
  end
end

-- ---- One file
-- -------------------------------------------------------------------------------------

local ways = {
  { name = "plain", compression = 0 },
  { name = "compressed", compression = 1 },
  { name = "enciphered", compression = 0, key = "open sesame" },
}

local function bytes_of(file_name)
  local file = assert(io.open(file_name, "rb"))
  local bytes = file:read("a")
  file:close()
  return bytes
end

-- The whole graph as its MAP file, except for the id, which libraries don't store.
local function contents(library, code, scratch)
  map_save(library, code, scratch)
  local bytes = bytes_of(scratch)
  return bytes:sub(1, 12) .. bytes:sub(17)
end

-- Saves the library in one way, loads it again and shows the result in a strip.
local function show_way(library, count, way, y)
  local file_name, scratch = os.tmpname(), os.tmpname()
  fpg_save(library, file_name, way.compression, way.key)
  local again = fpg_load(file_name, way.key)
  local equal = 0
  for code = 1, count do
    if contents(library, code, scratch) == contents(again, code, scratch) then
      equal = equal + 1
    end
    if code <= 12 then put_fitting(again, code, 210 + 26 * code, y + 12, 24, 22) end
  end
  put_text(8, y + 6, ("%s: %d KB"):format(way.name, #bytes_of(file_name) // 1024),
    colour(255, 255, 255))
  put_text(632, y + 6, ("%d equal"):format(equal),
    equal == count and colour(120, 220, 120) or colour(255, 96, 80), "right")
  fpg_unload(again)
  os.remove(file_name)
  os.remove(scratch)
end

local function pack(pictures)
  ground_put_rect(0, strips, 639, 479, colour(16, 18, 30), 1)
  local library = fpg_new()
  local count = math.min(#pictures, 999)
  for code = 1, count do fpg_add_map(library, code, 0, pictures[code].graph) end
  for i, way in ipairs(ways) do
    frame()
    show_way(library, count, way, strips + 6 + (i - 1) * 27)
  end
  fpg_unload(library)
end

mode_set(640, 480, depth, mode_window)
set_fps(30, 0)
local pictures, others = load_pictures()
if depth == 8 then
  -- The first picture with a palette has set the mode's. Once more, with the others remapped to it.
  local file_name = os.tmpname()
  palette_save(file_name)
  palette_force(file_name)
  os.remove(file_name)
  for _, picture in ipairs(pictures) do unload(picture.graph) end
  pictures, others = load_pictures()
end
local page = 1
put_page(pictures, others, page)
if #pictures > 0 then pack(pictures) end

local held = false
while not key("escape") do
  local step = (key("right") and 1 or 0) - (key("left") and 1 or 0)
  local wanted = page + (held and 0 or step)
  held = step ~= 0
  if wanted ~= page and wanted >= 1 and (wanted - 1) * per_page < #pictures then
    page = wanted
    put_page(pictures, others, page)
  end
  frame()
end
quit()
