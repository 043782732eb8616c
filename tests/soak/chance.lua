-- Random numbers of the soak's own: a seed gives the same ones on every machine.

local chance = {}

local state = 1

-- 0 to n - 1.
local function below(n)
  state = state * 6364136223846793005 + 1442695040888963407
  return (state >> 33) % n
end
chance.below = below

function chance.seed(n)
  state = n
  for _ = 1, 4 do below(2) end
end

function chance.between(first, last)
  return first + below(last - first + 1)
end

function chance.one_in(n)
  return below(n) == 0
end

function chance.pick(list)
  return list[below(#list) + 1]
end

-- Takes an element out of a list; nil from an empty one.
function chance.take(list)
  if #list == 0 then return nil end
  local i = below(#list) + 1
  local element = list[i]
  list[i] = list[#list]
  list[#list] = nil
  return element
end

-- Four digits that two runs share as long as they have gone the same way.
function chance.trace()
  return string.format("%04x", state >> 48)
end

-- A list of acts, { weight, run } each, from which soak.lua draws; and the function that adds one.
function chance.acts()
  local acts = {}
  return acts, function(weight, run) acts[#acts + 1] = { weight, run } end
end

return chance
