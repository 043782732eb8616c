#include "video/mode_lists.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <utility>

#include "boundary/runtime.h"
#include "surface/screen.h"
#include "video/mode_state.h"

orb_video_mode *video_modes8, *video_modes16, *video_modes32;
int32_t num_video_modes;
int32_t num_video_modes8, num_video_modes16, num_video_modes32;

namespace {

orb_video_mode *video_modes; // the master list
int32_t max_video_modes;     // records allocated for it

constexpr int32_t list_growth = 128;
constexpr int32_t max_script_modes = 64, max_script_rates = 32;

struct depth_list {
  int32_t bpp;
  orb_video_mode **modes;
  int32_t *count;
  const char *failure;
};
constexpr depth_list depth_lists[] = {
    {8, &video_modes8, &num_video_modes8, "Error to Alloc 8bits Video Modes"},
    {16, &video_modes16, &num_video_modes16, "Error to Alloc 16bits Video Modes"},
    {32, &video_modes32, &num_video_modes32, "Error to Alloc 32bits Video Modes"},
};

/// The list that a depth is looked up in.
const depth_list &list_of(int32_t bpp) { return depth_lists[bpp == 16 ? 1 : bpp == 32 ? 2 : 0]; }

bool comes_before(const orb_video_mode &a, const orb_video_mode &b) {
  return a.code != b.code ? a.code < b.code : a.rate < b.rate;
}

/// Stable insertion sort: displays list tens of modes, mostly in order or reversed.
void insertion_sort(orb_video_mode *first, int32_t count) {
  for (int32_t i = 1; i < count; ++i)
    for (int32_t j = i; j > 0 && comes_before(first[j], first[j - 1]); --j)
      std::swap(first[j], first[j - 1]);
}

int32_t make_depth_list(const depth_list &list) {
  const std::span<const orb_video_mode> all(video_modes, size_t(num_video_modes));
  const auto belongs = [&](const orb_video_mode &m) { return m.bpp == list.bpp; };
  free(*list.modes);
  *list.modes = nullptr;
  *list.count = 0;
  const int32_t count = int32_t(std::count_if(all.begin(), all.end(), belongs));
  if (count == 0) return 1;
  *list.modes = static_cast<orb_video_mode *>(malloc(size_t(count) * sizeof(orb_video_mode)));
  if (!*list.modes) {
    rt_fatal(list.failure);
    return 0;
  }
  *list.count = count;
  std::copy_if(all.begin(), all.end(), *list.modes, belongs);
  insertion_sort(*list.modes, count);
  return 1;
}

const orb_video_mode *find_in(const depth_list &list, int32_t width, int32_t height, int32_t bpp,
                              int32_t rate) {
  for (const orb_video_mode &m : std::span(*list.modes, size_t(*list.count)))
    if (m.width == width && m.height == height && m.bpp == bpp && (rate == 0 || m.rate == rate))
      return &m;
  return nullptr;
}

} // namespace

int32_t create_mode_lists() {
  delete_mode_lists();
  video_modes = static_cast<orb_video_mode *>(calloc(list_growth, sizeof(orb_video_mode)));
  if (!video_modes) return 0;
  max_video_modes = list_growth;
  return 1;
}

void delete_mode_lists() {
  free(video_modes);
  video_modes = nullptr;
  max_video_modes = num_video_modes = 0;
  for (const depth_list &list : depth_lists) {
    free(*list.modes);
    *list.modes = nullptr;
    *list.count = 0;
  }
}

int32_t add_video_mode(int32_t width, int32_t height, int32_t bpp, int32_t rate) {
  if (num_video_modes == max_video_modes) {
    const size_t wanted = size_t(max_video_modes + list_growth) * sizeof(orb_video_mode);
    void *const grown = realloc(video_modes, wanted);
    if (!grown) return 0;
    video_modes = static_cast<orb_video_mode *>(grown);
    max_video_modes += list_growth;
  }
  video_modes[num_video_modes++] = {width, height, bpp, rate, mode_code(width, height)};
  return 1;
}

int32_t add_registered_modes(int32_t bpp) {
  static constexpr struct {
    int16_t width, height;
  } sizes[] = {{320, 200},  {320, 240},  {320, 400},  {360, 240},  {360, 360},
               {376, 282},  {400, 300},  {512, 384},  {640, 400},  {640, 480},
               {800, 600},  {848, 480},  {960, 600},  {1024, 768}, {1152, 864},
               {1280, 720}, {1280, 768}, {1280, 800}, {1280, 960}, {1280, 1024}};
  const orb_device_system *const system = deviceSystem_graphics2D;
  if (!system) return 1;
  for (const auto &size : sizes) {
    if (size.width > system->desktop_width || size.height > system->desktop_height) continue;
    if (!add_video_mode(size.width, size.height, bpp, 0)) return 0;
  }
  return 1;
}

int32_t finish_mode_lists() {
  if (num_video_modes > 0 && num_video_modes < max_video_modes) {
    void *const trimmed = realloc(video_modes, size_t(num_video_modes) * sizeof(orb_video_mode));
    if (!trimmed) {
      rt_fatal("ENGINE 2D: Error to Adjust Video Modes list");
      return 0;
    }
    video_modes = static_cast<orb_video_mode *>(trimmed);
    max_video_modes = num_video_modes;
  }
  for (const depth_list &list : depth_lists)
    if (!make_depth_list(list)) return 0;
  return 1;
}

const orb_video_mode *find_video_mode8(int32_t width, int32_t height, int32_t bpp, int32_t rate) {
  return find_in(list_of(8), width, height, bpp, rate);
}
const orb_video_mode *find_video_mode16(int32_t width, int32_t height, int32_t bpp, int32_t rate) {
  return find_in(list_of(16), width, height, bpp, rate);
}
const orb_video_mode *find_video_mode32(int32_t width, int32_t height, int32_t bpp, int32_t rate) {
  return find_in(list_of(32), width, height, bpp, rate);
}

const orb_video_mode *find_video_mode(int32_t width, int32_t height, int32_t bpp, int32_t rate) {
  return find_in(list_of(bpp), width, height, bpp, rate);
}

int32_t FindEmulatedMode() {
  const depth_list &list = list_of(mode.bpp);
  for (int32_t i = 0; i < *list.count; ++i) {
    const orb_video_mode &candidate = (*list.modes)[i];
    if (candidate.width < filter_w || candidate.height < filter_h) continue;
    if (mode.rate != 0) {
      if (candidate.rate < mode.rate) continue;
      mode.rate = candidate.rate;
    }
    emulated_mode = 1;
    emulated_w = candidate.width;
    emulated_h = candidate.height;
    return 1;
  }
  emulated_mode = 0;
  emulated_w = mode.width;
  emulated_h = mode.height;
  return 0;
}

void update_video_structs() {
  int32_t modes = 0, rates = 0, bits = 0;
  int32_t last_code = 0, last_rate = 0;
  // QUIRK: reads the 8-bit list only, although a display may offer a size at other depths alone.
  for (int32_t i = 0; i < num_video_modes8; ++i) {
    const orb_video_mode &listed = video_modes8[i];
    if (listed.code > last_code && modes < max_script_modes) {
      last_code = listed.code;
      _video_modes_[modes++] = {listed.width, listed.width, listed.height, listed.code};
    }
    if (listed.rate > last_rate && rates < max_script_rates) {
      last_rate = listed.rate;
      _video_rates_[rates++] = listed.rate;
    }
  }
  for (const depth_list &list : depth_lists)
    if (*list.count > 0) _video_bits_[bits++] = list.bpp;
  *_num_video_modes_ = modes;
  *_num_video_bits_ = bits;
  *_num_video_rates_ = rates;
}
