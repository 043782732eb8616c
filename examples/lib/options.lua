-- Reads what is written behind an example's name: the depth first, then what the example takes besides.
--
--   local options = require "options" {
--     { "depth", 32, "bits a pixel", { 8, 16, 32 } },
--     { "sprites", 10000, "how many sprites there are" },
--     { "demo", false, "moves by itself" },
--   }
--   mode_set(640, 480, options.depth, mode_window)
--
-- A row names an option, its value if it isn't given, what it is, and the values that are possible if
-- not all are. Numbers go to the options that have numbers, texts to those that have texts, in their
-- order. An option whose value is false is a word, which may stand anywhere.
--
-- With "help" as the first argument the options are printed, and play ends.

local function print_help(rows)
  print(arg[0]:match("[^/]*$") .. ":")
  for _, row in ipairs(rows) do
    local name, default, purpose, values = table.unpack(row)
    name = default == false and '"' .. name .. '"' or name:upper()
    if values then purpose = purpose .. ": " .. table.concat(values, ", ") end
    if default then purpose = purpose .. " (" .. default .. ")" end
    print(string.format("  %-8s  %s", name, purpose))
  end
end

-- The row to which an argument belongs, and its value there; nil if there is none.
local function find_row(rows, given, argument)
  for _, row in ipairs(rows) do
    if row[2] == false and row[1] == argument then return row, true end
  end
  local value = math.tointeger(tonumber(argument)) or argument
  for _, row in ipairs(rows) do
    if type(row[2]) == type(value) and not given[row] then return row, value end
  end
end

local function is_possible(row, value)
  for _, possible in ipairs(row[4] or { value }) do
    if possible == value then return true end
  end
  return false
end

return function(rows)
  if arg[1] == "help" then
    print_help(rows)
    quit()
  end
  local options, given = {}, {}
  for _, row in ipairs(rows) do options[row[1]] = row[2] end
  for _, argument in ipairs(arg) do
    local row, value = find_row(rows, given, argument)
    if not row then error(argument .. ' is no option; "help" lists them', 0) end
    if not is_possible(row, value) then
      error(string.format("%s can't be %s: %s", row[1], argument, table.concat(row[4], ", ")), 0)
    end
    options[row[1]], given[row] = value, true
  end
  return options
end
