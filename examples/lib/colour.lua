-- Colours for any depth, from red, green and blue of 0 to 255.
--
--   local colour = require "colour"
--   ground_put_rect(0, 0, 99, 99, colour(255, 200, 0), 1)
--
-- An 8-bit mode has no rgb(): there it is the palette's nearest colour, whose components go to 63. Ask
-- after mode_set, and after loading pictures that bring a palette.

return function(r, g, b)
  if mode_get_bpp() == 8 then return palette_find_color(r // 4, g // 4, b // 4) end
  return rgb(r, g, b)
end
