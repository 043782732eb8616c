-- Keys that act once a press.
--
--   local keys = require "keys"
--   if keys.pressed "p" then ... end      call it once a frame

local keys = {}

local held = {}

-- True in the first frame of a press.
function keys.pressed(name)
  local down = key(name)
  local first = down and not held[name]
  held[name] = down
  return first
end

return keys
