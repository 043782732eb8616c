-- Acts on files: every format written and read, compressed, enciphered, damaged and missing.

local chance = require "chance"
local world = require "world"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick

local acts, act = chance.acts()

local keys = { "", "key", "a longer key with spaces in it" }

-- ---- Writing ------------------------------------------------------------------------------------

-- A name for a new file of some kind. Names repeat, so that files are overwritten.
local function new_name(kind)
  return string.format("%s/%d.%s", world.folder, below(8), kind)
end

local function enter_file(name, kind, key)
  for _, file in ipairs(world.files) do
    if file.name == name then
      file.key = key
      return
    end
  end
  world.enter("files", { name = name, kind = kind, key = key })
end

local endings = { "map", "bmp", "jpg", "pcx", "png", "tga" } -- by img_format_...

local function save_picture()
  local file, graph = world.graph()
  local format, key = between(1, 6), nil
  local name = new_name(endings[format])
  local form, saved = below(3), nil
  if form == 0 then
    saved = image_save(file, graph, name, format)
  elseif form == 1 then
    saved = image_save(file, graph, name, format, between(-1, 1))
  else
    key = format == img_format_map and pick(keys) or nil
    saved = image_save(file, graph, name, format, between(-1, 1), key)
  end
  if world.ok(saved) then enter_file(name, "picture", key) end
end

local function save_map()
  local file, graph = world.graph()
  local name, key = new_name "map", nil
  local saved
  if one_in(3) then
    saved = map_save(file, graph, name)
  else
    key = one_in(3) and nil or pick(keys)
    saved = map_save(file, graph, name, below(2), key)
  end
  if world.ok(saved) then enter_file(name, "picture", key) end
end

local function save_library()
  if #world.libraries == 0 then return end
  local library, name, key = pick(world.libraries), new_name "fpg", nil
  local saved
  if one_in(3) then
    saved = fpg_save(library, name)
  else
    key = one_in(3) and nil or pick(keys)
    saved = fpg_save(library, name, below(2), key)
  end
  if saved == 1 then enter_file(name, "library", key) end
end

local function save_palette()
  local name = new_name "pal"
  if world.ok(palette_save(name)) then enter_file(name, "palette") end
end

act(4, save_picture)
act(2, save_map)
act(2, save_library)
act(1, save_palette)
act(1, function()
  local file, graph = world.graph()
  local name = new_name "pcx"
  if world.ok(save_pcx(file, graph, name)) then enter_file(name, "picture") end
end)

-- Truncates a file, or changes some of its bytes. It may still be read as before.
act(1, function()
  if #world.files == 0 then return end
  local file = pick(world.files)
  local from = io.open(file.name, "rb")
  if not from then return end
  local bytes = from:read("a")
  from:close()
  if one_in(2) then
    bytes = bytes:sub(1, below(#bytes + 1))
  else
    for _ = 1, between(1, 8) do
      local at = below(#bytes + 1)
      bytes = bytes:sub(1, at) .. string.char(below(256)) .. bytes:sub(at + 2)
    end
  end
  local to <close> = assert(io.open(file.name, "wb"))
  to:write(bytes)
end)

act(1, function()
  if #world.files < 12 then return end
  os.remove(chance.take(world.files).name)
end)

-- ---- Reading ------------------------------------------------------------------------------------

-- Usually a file of a kind, and usually the right key.
local function saved_file(kind)
  if one_in(40) then return world.folder .. "/missing", nil end
  for _ = 1, 8 do
    if #world.files == 0 then break end
    local file = pick(world.files)
    if file.kind == kind or one_in(30) then
      return file.name, one_in(8) and pick(keys) or file.key
    end
  end
  return nil
end

act(6, function()
  if world.full "graphs" then return end
  local name, key = saved_file "picture"
  if not name then return end
  if one_in(5) then
    world.enter("graphs", key and map_load(name, key) or map_load(name))
  elseif one_in(8) then
    world.enter("graphs", load_pcx(name))
  else
    world.enter("graphs", key and image_load(name, key) or image_load(name))
  end
end)

act(3, function()
  if world.full "libraries" then return end
  local name, key = saved_file "library"
  if not name then return end
  world.enter("libraries", key and fpg_load(name, key) or fpg_load(name))
end)

act(2, function()
  local name, key = saved_file "library"
  if not name then return end
  local library = #world.libraries > 0 and pick(world.libraries) or 0
  if one_in(8) and not world.full "libraries" then library = below(4) end
  local code = between(1, 12)
  if key then
    fpg_load_map(name, key, library, code)
  else
    fpg_load_map(name, library, code)
  end
  if library ~= 0 then world.enter_library(library) end
end)

act(1, function()
  local name, key = saved_file "picture"
  if not name then return end
  if key then screen_load(name, key) else screen_load(name) end
end)

act(1, function()
  local name = saved_file(pick { "palette", "picture", "library" })
  if not name then return end
  if one_in(4) then
    palette_force(name)
  elseif one_in(3) then
    palette_force(nil)
  else
    palette_load(name)
  end
end)

return acts
