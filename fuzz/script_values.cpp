// Plausible and extreme values for the arguments of script functions.
#include "fuzz/script_reader.h"

#include <climits>

namespace fuzz {
namespace {

// clang-format off
constexpr int32_t libraries[] = {0, 0, 0, 1, 1, 2, 3, 17};
constexpr int32_t graphs[] = {1000, 1001, 1002, 1003, 1004, 1005, 1, 2, 3, 0, 999, -1};
constexpr int32_t draws[] = {1, 3, 5, 7, 9, 2, 0, -1};
constexpr int32_t draw_types[] = {1, 2, 3, 4, 5};
constexpr int32_t alphas[] = {255, 254, 128, 64, 15, 8, 1, 0};
constexpr int32_t regions[] = {0, 1, 2, 3, 4, 31, 32, 40, -1};
constexpr int32_t graph_sides[] = {1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 64, 100, 128, 255, 320,
                                   33000, 65535};
constexpr int32_t screen_sides[] = {32, 33, 40, 63, 64, 96, 100, 127, 160, 200, 240, 320};
constexpr int32_t depths[] = {8, 16, 32};
constexpr int32_t packed_modes[] = {320200, 320240, 320400, 360240, 64048, 40040};
constexpr int32_t colours[] = {0, 1, 15, 255, 0xF81F, 0xFFFF, 0xFF00FF, 0xFFFFFF,
                               int32_t(0xFF804020), int32_t(0x80FF8040), -1};
constexpr int32_t angles[] = {0, 1, 45000, 90000, 180000, 270000, -90000, -45000, 30500, 359999,
                              360000, 1000000};
constexpr int32_t flags[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15};
constexpr int32_t effects[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19,
                               20, 21, 22, 23, 24, 25, 26, 1001, 1002, 1003, 1004, 1005, 1006, 1007,
                               1008, 1009, 1010, 1011, 1012, 1013, 1014, 1015};
constexpr int32_t formats[] = {1, 2, 3, 4, 5, 6};
constexpr int32_t switches[] = {0, 1, 1, 0, -1, 2};
constexpr int32_t sizes[] = {100, 100, 50, 200, 150, 99, 37, 300, 1, 0, 1000, -100};
constexpr int32_t shears[] = {0, 0, 10, -20, 100, -50, 1000};
constexpr int32_t orders[] = {0, 1, 2, 3, 4, 5, 6, -1};
constexpr int32_t scales[] = {0, 1, 2, 1, 2, 3};
constexpr int32_t scanlines[] = {0, 1, 16, 17, 32, 33, 64, 65, 128, 129};
constexpr int32_t mode_flags[] = {0, 1, 2, 2 | 2048, 2 | 1024, 64, 128, 4 | 32, 8 | 16, 4096, 8192};
constexpr int32_t percents[] = {0, 50, 100, 150, 200, 1, 199, 99};
constexpr int32_t targets[] = {0, 0, 1, 2, 3, -1, -1};
constexpr int32_t anything[] = {
    0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 12, 13, 15, 16, 17, 20, 24, 25, 31, 32, 33, 40, 47, 48, 50, 63,
    64, 65, 75, 90, 95, 96, 97, 99, 100, 101, 120, 127, 128, 150, 180, 199, 200, 201, 240, 254, 255,
    256, 257, 300, 320, 360, 400, 640, 999, 1000, 1001, 1002, 1015, 1024, 2048, 4094, 4095, 4096,
    8192, 10000, 32766, 32767, 32768, 45000, 65534, 65535, 65536, 65537, 90000, 100000, 1 << 20,
    1 << 24, 1 << 30, INT_MAX - 1, INT_MAX, INT_MIN, INT_MIN + 1, -1, -2, -3, -8, -10, -16, -50,
    -64, -100, -101, -255, -256, -1000, -32768, -32769, -65535, -65536, -90000, -(1 << 24)};

constexpr struct {
  const char *start, *kinds;
} kinds_of[] = {
#include "fuzz/argument_kinds.inc"
};
// clang-format on

/// The values of a kind, and whether earlier results belong to it, too.
struct value_pool {
  std::span<const int32_t> values;
  bool results;
};

value_pool pool_of(char kind) {
  switch (kind) {
  case 'f': return {libraries, true};
  case 'g': return {graphs, true};
  case 'd': return {draws, true};
  case 'y': return {draw_types, false};
  case 'l': return {alphas, false};
  case 'r': return {regions, false};
  case 's': return {graph_sides, false};
  case 'w': return {screen_sides, false};
  case 'b': return {depths, false};
  case 'm': return {packed_modes, false};
  case 'c': return {colours, false};
  case 'a': return {angles, false};
  case 'n': return {flags, false};
  case 'e': return {effects, false};
  case 'i': return {formats, false};
  case 'u': return {switches, false};
  case 'z': return {sizes, false};
  case 'h': return {shears, false};
  case 'o': return {orders, false};
  case 'q': return {scales, false};
  case 'j': return {scanlines, false};
  case 'k': return {mode_flags, false};
  case 'v': return {percents, false};
  case 't': return {targets, false};
  default: return {anything, false};
  }
}

} // namespace

int32_t read_value(script_reader &script, const script_handles &handles, char kind) {
  const uint8_t choice = script.byte();
  if (choice % 4 != 3) {
    const size_t index = choice / 4;
    if (kind == 'p' || (kind == 't' && index % 4 == 0))
      return handles.processes[index / 4 % handles.processes.size()];
    const value_pool pool = pool_of(kind);
    if (pool.results && index >= 48)
      return handles.results[(handles.next_result - 1 - index % 4) % handles.results.size()];
    if (kind != 'x') return pool.values[index % pool.values.size()];
    if (choice % 2 == 0) return int32_t(index) - 8; // on the screen, or just beside it
  }
  // No process ids: addresses would make a script's pictures differ from run to run.
  switch (choice / 4 % 8) {
  case 0: return script.number();
  case 1: return handles.results[script.below(handles.results.size())];
  case 3: return int8_t(script.byte());
  case 4: return int16_t(script.word());
  default: return anything[script.below(std::size(anything))];
  }
}

const char *argument_kinds(const char *signature) {
  for (const auto &row : kinds_of)
    if (strncmp(signature, row.start, strlen(row.start)) == 0) return row.kinds;
  return "";
}

} // namespace fuzz
