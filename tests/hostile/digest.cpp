#include "hostile/digest.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <sstream>

#include <SDL.h>

#include "blit/blit_list.h"
#include "collision/collision.h"
#include "formats/image.h"
#include "frame/draw_objects.h"
#include "script/handlers.h"
#include "support/recording.h"
#include "support/world.h"
#include "surface/depth_tables.h"
#include "surface/ghost_table.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/display.h"
#include "video/fades.h"
#include "video/mode.h"
#include "video/mode_lists.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/sdl_backend.h"
#include "video/virtual_resolution.h"

namespace {

uint32_t sum(const void *from, size_t size) {
  return from ? sum_of(from, size) : 0;
}

void words(std::ostream &out, const char *title, std::initializer_list<int64_t> values) {
  out << '\n' << title;
  for (const int64_t value : values)
    out << ' ' << value;
}

void surface(std::ostream &out, const __ORBSurface2D__ *of) {
  if (!of) return;
  words(out, " surface",
        {of->width, of->height, of->depth, of->pitch, of->alpha_channel, of->has_cpoints,
         of->cpoint_last});
  if (of->cpoints) out << " points " << sum(of->cpoints, (of->cpoint_last + 1) * 12);
  if (!of->is_wrapper && of->pixels) out << " pixels " << sum(of->pixels, of->byte_size);
}

void libraries(std::ostream &out) {
  for (int32_t file = 0; file < max_fpg; ++file) {
    const orb_fpg &library = fpg[file];
    if (!library.in_use && !library.slots && !library.memory_usage) continue;
    words(out, "library", {file, library.in_use, library.map_count, library.memory_usage});
    for (int32_t code = 0; library.slots && code < graph_bound(file); ++code) {
      const orb_map_slot &slot = library.slots[code];
      const int32_t mark = file == 0 && code >= 1000 ? image_loaded[code - 1000] : 0;
      if (!slot.surface && !slot.code && !slot.memory_usage && !mark) continue;
      words(out, "graph", {file, code, slot.code, slot.id, slot.memory_usage, mark});
      out << " \"" << slot.description << "\" \"" << slot.name << '"';
      surface(out, slot.surface);
    }
  }
}

void lists(std::ostream &out) {
  for (int32_t i = 0; i < max_region; ++i)
    if (regions_def[i])
      words(out, "region", {i, regions[i].x0, regions[i].x1, regions[i].y0, regions[i].y1});
  for (int32_t i = 0; i < max_draw; ++i)
    if (draws[i].in_use) words(out, "draw", {i, sum(&draws[i], 14 * 4)});
  for (uint32_t i = 0; pBlitLists2D && i < pBlitLists2D->count; ++i)
    words(out, pBlitLists2D->lists[i].name,
          {pBlitLists2D->lists[i].used, pBlitList2D == &pBlitLists2D->lists[i]});
}

void palettes(std::ostream &out) {
  if (palette) words(out, "shown colours", {sum(&fadepalette, sizeof fadepalette)});
  // Not palette_update, nor the system colours: a restored palette is shown once more. The map of a
  // forced palette is made anew for each picture.
  words(out, "palette",
        {sum(palette, sizeof *palette), palette_crc, palette_loaded, palette_forced, force_sys_fnt,
         fake_ghost_table});
  words(out, "ghosts and depth tables",
        {sum(table_ghost8, 65536), sum(table_color8to16, 512), sum(table_color8to32, 1024),
         sum(table_color16to32, 65536 * 4)});
  words(out, "fade", {sum(&fade_pos, sizeof fade_pos), fade_step, fading ? *fading : -1});
}

void modes(std::ostream &out) {
  words(out, "mode",
        {mode.x, mode.y, mode.width, mode.height, mode.bpp, mode.type, mode.bufferbehaviour,
         mode.rate, mode.changing, cur_mode, full_screen, change_mode, filtering_mode});
  words(out, "filter",
        {filter_w, filter_h, filterNx_mode, filter_scale, filter_scanline, filter_scanlinepercent,
         filter_scanline_percent, filter_fx, vsync});
  words(out, "display",
        {sdl_w, sdl_h, sdl_fullscreen, mode_x, mode_y, emulated_mode, emulated_w, emulated_h,
         mode_bufferflipping, VID_DrawFrame == SDLX11_DrawFrame_FullScreen});
  words(out, "virtual",
        {virtual_resolution, virtual_resolution_w, virtual_resolution_h,
         virtual_resolution_aspectratio});
  if (virtual_buffer_w)
    words(out, "stretched",
          {virtual_resolution_ratiow, virtual_resolution_ratioh, virtual_resolution_xoffset,
           virtual_resolution_yoffset, sum(virtual_buffer_w, size_t(virtual_extent.columns) * 4),
           sum(virtual_buffer_h, size_t(virtual_extent.rows) * 4)});
  words(out, "listed modes",
        {num_video_modes, num_video_modes8, num_video_modes16, num_video_modes32});
  words(out, "ground and screen", {ground_puting});
  surface(out, ground);
  surface(out, screen);
  const SDL_Surface *const shown = SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetVideoSurface() : nullptr;
  if (!shown) return;
  words(out, "shown", {shown->w, shown->h, shown->format->BitsPerPixel});
  for (int32_t y = 0; y < shown->h; ++y)
    out << ' '
        << sum(static_cast<const uint8_t *>(shown->pixels) + y * shown->pitch,
               size_t(shown->w) * shown->format->BytesPerPixel);
}

} // namespace

std::string digest_of(const std::filesystem::path &folder) {
  std::ostringstream out;
  words(out, "counters",
        {maps_loaded, fpgs_loaded, regions_defined, draws_painted, draws_fixed, draws_locked});
  // The collision test recreates its two surfaces when a mode had no memory for them.
  words(out, "surfaces and readers",
        {gfxsurfaces ? gfxsurfaces->count - (proc_surface ? 2 : 0) : 0, image_data != nullptr,
         image_cpoint != nullptr});
  libraries(out);
  lists(out);
  palettes(out);
  modes(out);
  std::set<std::filesystem::path> files;
  for (const auto &entry : std::filesystem::directory_iterator(folder))
    files.insert(entry.path());
  for (const auto &file : files) {
    const file_bytes bytes = read_file(file);
    words(out, file.filename().c_str(), {int64_t(bytes.size()), sum(bytes.data(), bytes.size())});
  }
  return out.str();
}

std::string difference(const std::string &expected, const std::string &found) {
  std::istringstream left(expected), right(found);
  std::string text;
  while (left || right) {
    std::string a = "nothing", b = a;
    std::getline(left, a);
    std::getline(right, b);
    if (a != b) text += "\n  expected " + a + "\n  found    " + b;
  }
  return text;
}
