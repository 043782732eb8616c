-- Script globals, constants, tables of the engine, keys, and the files beside the script.
local function fails(f, ...) print(select(2, pcall(f, ...))) end

print(draw_z, _G.draw_z)
draw_z = -300.5
print(draw_z, _G.draw_z, nothing)
fails(function() mouse = 2 end)
fails(function() draw_z = 'x' end)

print(img_format_png, _G.img_format_png, load('return img_format_png')())
local function shadows(img_format_png) img_format_png = img_format_png + 1 return img_format_png end
print(shadows(5), rawget(_G, 'img_format_png'))
fails(function() _G.img_format_png = 2 end)
fails(load('img_format_png = 2'))

print(#video_modes, video_bits[1].bpp)
video_bits[0].bpp = 9
print(video_bits[0].bpp, mouse.size, mouse.left)
fails(function() return video_modes[64] end)
fails(function() return video_modes[-1] end)
fails(function() return video_modes[0].x end)
fails(function() mouse.left = true end)

print(arg[0], #arg, ...)
print(key('left'))
fails(key, 'nonsense')
seed(5)
local a = math.random(1000000)
seed(5)
print(a == math.random(1000000), a == math.random(1000000))

print(table.concat(list_folder('list'), ' '), #list_folder('list/folder'))
print(list_folder('list/b'))
print(list_folder(''))
fails(list_folder)
print(require('part'))
require('bad')
