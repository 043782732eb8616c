// The world of the allocation tests: the module with a host, and its state as text.
#include <functional>
#include <sstream>
#include <string_view>

#include <SDL.h>

#include "blit/blit_list.h"
#include "call_table.h"
#include "collision/collision.h"
#include "failure_points.h"
#include "script/handlers.h"
#include "surface/depth_tables.h"
#include "surface/ghost_table.h"
#include "video/display.h"
#include "video/mode_lists.h"
#include "video/presentation.h"
#include "video/sdl_backend.h"
#include "video/virtual_resolution.h"

namespace {

size_t hash_of(const void *from, size_t size) {
  if (!from) return 0;
  return std::hash<std::string_view>()({static_cast<const char *>(from), size});
}

void describe(std::ostream &out, const __ORBSurface2D__ *surface) {
  if (!surface) {
    out << " none";
    return;
  }
  const __ORBSurface2D__ &s = *surface;
  out << " " << s.width << "x" << s.height << "x" << s.depth << " pitch " << s.pitch << " alpha "
      << int(s.alpha_channel) << " points " << s.has_cpoints << "/" << s.cpoint_last;
  if (s.cpoints) out << " " << hash_of(s.cpoints, (s.cpoint_last + 1) * 12);
  if (s.is_wrapper || !s.pixels) return; // a display: SDL owns its pixels
  out << " pixels " << hash_of(s.pixels, s.byte_size);
}

void describe_libraries(std::ostream &out) {
  for (int32_t file = 0; file < max_fpg; ++file) {
    const orb_fpg &library = fpg[file];
    if (!library.in_use && !library.slots && !library.memory_usage) continue;
    out << "library " << file << ": " << library.in_use << ", graphs " << library.map_count
        << ", memory " << library.memory_usage << "\n";
    for (int32_t code = 0; library.slots && code < (file ? 1000 : max_map); ++code) {
      const orb_map_slot &slot = library.slots[code];
      const int32_t mark = file == 0 && code >= 1000 ? image_loaded[code - 1000] : 0;
      if (!slot.surface && !slot.code && !slot.memory_usage && !mark) continue;
      out << "graph " << file << ":" << code << ": " << slot.code << " id " << slot.id << " \""
          << slot.description << "\" \"" << slot.name << "\" memory " << slot.memory_usage
          << " mark " << mark;
      describe(out, slot.surface);
      out << "\n";
    }
  }
}

void describe_lists(std::ostream &out) {
  for (int32_t i = 0; i < max_region; ++i)
    if (regions_def[i])
      out << "region " << i << ": " << regions[i].x0 << " " << regions[i].x1 << " " << regions[i].y0
          << " " << regions[i].y1 << "\n";
  for (int32_t i = 0; i < max_draw; ++i)
    if (draws[i].in_use) out << "draw " << i << ": " << hash_of(&draws[i], 14 * 4) << "\n";
  for (uint32_t i = 0; pBlitLists2D && i < pBlitLists2D->count; ++i)
    out << "blit list " << pBlitLists2D->lists[i].name << ": " << pBlitLists2D->lists[i].used
        << (pBlitList2D == &pBlitLists2D->lists[i] ? ", current\n" : "\n");
}

void describe_palette(std::ostream &out) {
  if (palette)
    out << "system colours " << hash_of(&system_colors, sizeof system_colors) << "\nshown palette "
        << hash_of(&fadepalette, sizeof fadepalette) << "\n";
  out << "palette " << hash_of(palette, sizeof *palette) << " crc " << palette_crc << " flags "
      << int(palette_update) << int(palette_loaded) << int(palette_forced) << int(force_sys_fnt)
      << int(fake_ghost_table) << "\nforced " << image_palette_crc << " "
      << hash_of(forced_palette_map, 256) << "\nghosts " << hash_of(table_ghost8, 65536)
      << "\ndepth tables " << hash_of(table_color8to16, 512) << " "
      << hash_of(table_color8to32, 1024) << " " << hash_of(table_color16to32, 65536 * 4)
      << "\nfade " << hash_of(&fade_pos, sizeof fade_pos) << " " << fade_step << " "
      << (fading ? *fading : -1) << "\n";
}

void describe_mode(std::ostream &out) {
  out << "mode";
  for (const int32_t word : {mode.x, mode.y, mode.width, mode.height, mode.bpp, mode.type,
                             mode.bufferbehaviour, mode.rate, int32_t(mode.changing), cur_mode,
                             int32_t(full_screen), int32_t(change_mode), int32_t(filtering_mode)})
    out << " " << word;
  out << "\nfilter";
  for (const int32_t word :
       {filter_w, filter_h, int32_t(filterNx_mode), filter_scale, filter_scanline,
        filter_scanlinepercent, filter_scanline_percent, filter_fx, vsync})
    out << " " << word;
  out << "\ndisplay";
  for (const int32_t word : {sdl_w, sdl_h, int32_t(sdl_fullscreen), mode_x, mode_y, emulated_mode,
                             emulated_w, emulated_h, int32_t(mode_bufferflipping),
                             int32_t(VID_DrawFrame == SDLX11_DrawFrame_FullScreen)})
    out << " " << word;
  out << "\nvirtual " << virtual_resolution << " " << virtual_resolution_w << " "
      << virtual_resolution_h << " " << virtual_resolution_aspectratio;
  if (virtual_buffer_w)
    out << " ratio " << virtual_resolution_ratiow << " " << virtual_resolution_ratioh << " "
        << virtual_resolution_xoffset << " " << virtual_resolution_yoffset << " "
        << hash_of(virtual_buffer_w, size_t(virtual_extent.columns) * 4) << " "
        << hash_of(virtual_buffer_h, size_t(virtual_extent.rows) * 4);
  out << "\nlisted modes " << num_video_modes << " " << num_video_modes8 << " " << num_video_modes16
      << " " << num_video_modes32 << "\nground" << int(ground_puting);
  describe(out, ground);
  out << "\nscreen";
  describe(out, screen);
  out << "\n";
}

void describe_display(std::ostream &out) {
  if (!SDL_WasInit(SDL_INIT_VIDEO)) return;
  const SDL_Surface *const shown = SDL_GetVideoSurface();
  if (!shown) return;
  size_t sum = 0;
  for (int32_t y = 0; y < shown->h; ++y)
    sum = sum * 31 + hash_of(static_cast<const uint8_t *>(shown->pixels) + y * shown->pitch,
                             size_t(shown->w) * shown->format->BytesPerPixel);
  out << "shown " << shown->w << "x" << shown->h << "x" << int(shown->format->BitsPerPixel) << " "
      << sum << "\n";
}

const std::filesystem::path &folder() {
  static const struct temporary {
    std::filesystem::path path;
    temporary() {
      std::string pattern = testing::TempDir() + "orb_XXXXXX";
      if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
      path = pattern;
    }
    ~temporary() { std::filesystem::remove_all(path); }
  } made;
  return made.path;
}

} // namespace

void finish_fades() {
  while (*fading)
    update_fade();
}

failure_world::failure_world() {
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  for (const auto &entry : std::filesystem::directory_iterator(folder()))
    std::filesystem::remove(entry.path());
  disk.serve(host);
  host.file.path = [](const char *name, int32_t) { return *name ? name : nullptr; };
}

failure_world::~failure_world() {
  ORB_mod_graphics2D_release();
  full_screen = 0;
  EXPECT_EQ(disk.open_streams(), 0u);
  unsetenv("SDL_VIDEODRIVER");
}

void failure_world::start(int32_t depth) {
  constexpr int32_t no_fade = 64;
  ORB_mod_graphics2D_init();
  ASSERT_EQ(host.call(ORB_mode_set, 64, 48, depth, no_fade), 1);
}

int32_t failure_world::make_graph(int32_t width, int32_t height) {
  const int32_t code = call("map_new", width, height, width / 3, height / 3, 1);
  const __ORBSurface2D__ &surface = *fpg[0].slots[code].surface;
  for (uint32_t i = 0; i < surface.byte_size; ++i)
    static_cast<uint8_t *>(surface.pixels)[i] = uint8_t(i * 37 + i / 7 + uint32_t(code));
  return code;
}

const char *failure_world::data(const std::string &name) {
  const std::string path = data_path(name);
  disk.files[path] = read_file(path);
  return data_name(name);
}

const char *failure_world::data_name(const std::string &name) const {
  return disk.files.find(data_path(name))->first.c_str();
}

std::string failure_world::written(const std::string &name) {
  return folder() / name;
}

std::string failure_world::contents() const {
  std::ostringstream out;
  out << "counters " << maps_loaded << " " << fpgs_loaded << " " << regions_defined << " "
      << draws_painted << " " << draws_fixed << " " << draws_locked
      << "\nsurfaces "
      // The collision test recreates its two surfaces when a mode had no memory for them.
      << (gfxsurfaces ? gfxsurfaces->count - (proc_surface ? 2 : 0) : 0) << "\nreader "
      << (image_data != nullptr) << (image_cpoint != nullptr) << "\n";
  describe_libraries(out);
  describe_lists(out);
  describe_palette(out);
  describe_mode(out);
  describe_display(out);
  return out.str();
}

std::string failure_world::written_files() {
  std::ostringstream out;
  for (const auto &entry : std::filesystem::directory_iterator(folder())) {
    const file_bytes bytes = read_file(entry.path());
    out << entry.path() << " " << hash_of(bytes.data(), bytes.size()) << "\n";
  }
  return out.str();
}

std::string failure_world::sizes_and_files() const {
  std::ostringstream out;
  out << "sizes " << max_map << " " << max_fpg << " " << max_region << " " << max_draw << "\n";
  for (uint32_t i = 0; pBlitLists2D && i < pBlitLists2D->count; ++i)
    out << "blit list " << pBlitLists2D->lists[i].capacity << "\n";
  for (const auto &[name, bytes] : disk.files)
    out << name << " " << hash_of(bytes.data(), bytes.size()) << "\n";
  return out.str() + written_files();
}

int32_t (*failure_world::handler(const char *name, size_t arguments))() {
  return find_handler(name, arguments);
}
