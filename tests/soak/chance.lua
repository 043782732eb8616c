-- The soak's own random numbers: a seed gives the same ones on every machine.

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

-- Removes and returns a random element of a list; nil if it is empty.
function chance.take(list)
  if #list == 0 then return nil end
  local i = below(#list) + 1
  local element = list[i]
  list[i] = list[#list]
  list[#list] = nil
  return element
end

-- Four digits that are equal in two runs as long as both have done the same.
function chance.trace()
  return string.format("%04x", state >> 48)
end

-- A list of acts, each { weight, run }, from which soak.lua chooses; and a function that adds one.
function chance.acts()
  local acts = {}
  return acts, function(weight, run) acts[#acts + 1] = { weight, run } end
end

return chance
