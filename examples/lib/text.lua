-- Small text for labels, drawn pixel by pixel.
--
--   local text = require "text"
--   text.put(10, 20, "hello", rgb(255, 255, 255))            on the ground
--   local graph = text.graph("score", 3, rgb(255, 255, 255)) as a graph for a process
--
-- Capitals, digits and some signs, 5 x 7 pixels each; lower case is drawn as capitals.

local text = { width = 6, height = 9 }

-- Five columns a letter, lowest bit on top.
local glyphs = {
  ["0"] = "3e5149453e", ["1"] = "00427f4000", ["2"] = "4261514946", ["3"] = "2141454b31",
  ["4"] = "1814127f10", ["5"] = "2745454539", ["6"] = "3c4a494930", ["7"] = "0171090503",
  ["8"] = "3649494936", ["9"] = "064949291e",
  A = "7e1111117e", B = "7f49494936", C = "3e41414122", D = "7f4141221c", E = "7f49494941",
  F = "7f09090901", G = "3e4149497a", H = "7f0808087f", I = "00417f4100", J = "2040413f01",
  K = "7f08142241", L = "7f40404040", M = "7f020c027f", N = "7f0408107f", O = "3e4141413e",
  P = "7f09090906", Q = "3e4151215e", R = "7f09192946", S = "4649494931", T = "01017f0101",
  U = "3f4040403f", V = "1f2040201f", W = "3f4038403f", X = "6314081463", Y = "0708700807",
  Z = "6151494543",
  [":"] = "0036360000", ["."] = "0060600000", [","] = "0050300000", ["-"] = "0808080808",
  ["_"] = "4040404040", ["+"] = "08083e0808", ["/"] = "2010080402", ["%"] = "2313086462",
  ["("] = "001c224100", [")"] = "0041221c00", ["="] = "1414141414",
}

-- Calls pixel(x, y) for each pixel of a line of text.
local function each_pixel(line, pixel)
  local x = 0
  for letter in line:upper():gmatch "." do
    local columns = glyphs[letter]
    if columns then
      for i = 0, 4 do
        local bits = tonumber(columns:sub(2 * i + 1, 2 * i + 2), 16)
        for j = 0, 6 do
          if bits & (1 << j) ~= 0 then pixel(x + i, j) end
        end
      end
    end
    x = x + text.width
  end
end

-- Puts a line of text on the ground, its top left corner at (x, y), over a shadow (a colour, or nil
-- for none).
function text.put(x, y, line, colour, shadow)
  if shadow then
    each_pixel(line, function(i, j) ground_put_pixel(x + i + 1, y + j + 1, shadow) end)
  end
  each_pixel(line, function(i, j) ground_put_pixel(x + i, y + j, colour) end)
end

-- A graph that holds a line of text, each pixel drawn as a square of `size`.
function text.graph(line, size, colour)
  local graph = map_new(#line * text.width * size, text.height * size, 0)
  each_pixel(line, function(i, j)
    for k = 0, size * size - 1 do
      map_put_pixel(0, graph, i * size + k % size, j * size + k // size, colour)
    end
  end)
  return graph
end

-- The same, centred on x.
function text.centre(x, y, line, colour, shadow)
  text.put(x - #line * text.width // 2, y, line, colour, shadow)
end

return text
