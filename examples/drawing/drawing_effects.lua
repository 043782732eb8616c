-- Every effect on one sheet.
--
-- What to look at: in each cell a piece of a landscape (the destination) covers the left two
-- thirds; the rest is empty, colour 0. A bird (the source) is drawn over both with the effect named
-- below. The compositing effects, from src to srcxordst, choose which of the two remains where; the
-- blends mix them; the last effects change the bird's own colours. dst keeps the destination and so
-- draws nothing, and 8-bit modes end with srcxordst. At 32 bits the bird has an alpha channel, so
-- the compositing effects also change the destination around it.
--
-- Keys: 8, 1 and 3 switch to 8, 16 and 32 bits a pixel, escape ends.
-- Argument: the depth, 8, 16 or 32; "help" lists it.

local options = require "options" { { "depth", 32, "bits a pixel", { 8, 16, 32 } } }

local depths = { ["8"] = 8, ["1"] = 16, ["3"] = 32 }
local effects = {
  "solid", "src", "dst", "srcoverdst", "dstoversrc", "srcindst", "dstinsrc", "srcoutdst", "dstoutsrc",
  "srcatopdst", "dstatopsrc", "srccleardst", "srcxordst", "additiveblend", "subtractiveblend",
  "multiplyblend", "averageblend", "screenblend", "rblend", "gblend", "bblend", "rgblend", "rbblend",
  "gbblend", "andblend", "orblend", "xorblend", "invert", "rinvert", "ginvert", "binvert", "rginvert",
  "rbinvert", "gbinvert", "grayscale", "rscale", "gscale", "bscale", "rgscale", "rbscale", "gbscale",
  "tint",
}
local columns, cell_width, cell_height = 6, 106, 65

local labels = {}
local function label(x, y, line, align, colour)
  labels[#labels + 1] = write(line, { x = x, y = y, align = align, colour = colour })
end

local function draw_sheet(landscape, bird)
  for _, old in ipairs(labels) do old:kill() end
  labels = {}
  local count = mode_get_bpp() == 8 and "13 of 42" or "42"
  label(8, 4, count .. " effects at " .. mode_get_bpp() .. " bits", "left", { 255, 220, 120 })
  local tint = mode_get_bpp() == 8 and 0 or rgb(255, 80, 0)
  for i, name in ipairs(effects) do
    local left = 2 + (i - 1) % columns * cell_width
    local top = 22 + (i - 1) // columns * cell_height
    local possible = mode_get_bpp() > 8 or _G["fx_" .. name] <= fx_srcxordst
    if possible then
      ground_put_block(0, landscape, left + 4, top, 96 + i * 5, 200, 64, 50)
      ground_xxput(0, bird, left + 60, top + 25, 0, 100, 100, 0, 0, tfm_hsr, flg_normal, 0, 255,
        _G["fx_" .. name], tint, 160)
    end
    local ink = possible and { 255, 255, 255 } or { 110, 110, 120 }
    label(left + 52, top + 50, name, "centre", ink)
  end
end

local function set_screen(depth)
  image_unload(all_image)
  mode_set(640, 480, depth, mode_window)
  draw_sheet(image_load("../assets/meadow.png"), image_load("../assets/bird.png"))
end

set_screen(options.depth)
set_fps(60, 0)

while not key("escape") do
  for name, depth in pairs(depths) do
    if key(name) and depth ~= mode_get_bpp() then set_screen(depth) end
  end
  frame()
end
quit()
