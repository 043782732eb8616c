// Every span routine of every instruction set, called directly through the blit state and compared
// with the reference: all widths from 1 to 67, mirrored and not, at odd addresses, with guard pages
// around the pictures and pixel values where rounding goes wrong.
#include <algorithm>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "blit/span.h"
#include "engine/checkspan/reference.h"
#include "engine/picture.h"
#include "support/random.h"
#include "surface/ghost_table.h"

using namespace checkspan;

namespace {

constexpr int widest = 67;

struct Checkspan : testing::Test {
  guarded_memory src_memory{64 * 1024}, dst_memory{64 * 1024};
  std::vector<uint8_t> ghost = std::vector<uint8_t>(256 * 256);
  uint8_t *former_ghost = table_ghost8;
  const blit_state former_state = blit;

  Checkspan() {
    random_source random(base_seed());
    for (uint8_t &entry : ghost)
      entry = uint8_t(random.word());
    table_ghost8 = ghost.data();
  }
  ~Checkspan() override {
    table_ghost8 = former_ghost;
    blit = former_state;
  }

  /// The parameters of a case that its routine's name does not give.
  pixel_context random_context(random_source &random) {
    static constexpr int alphas[] = {0, 1, 127, 128, 254, -1, -1};
    static constexpr int intensities[] = {0, 1, 128, 254, 255, -1, -1};
    pixel_context context;
    context.alpha = random.any_of(alphas);
    if (context.alpha < 0) context.alpha = random.below(255);
    context.intensity = random.any_of(intensities);
    if (context.intensity < 0) context.intensity = random.below(256);
    context.fxcolor = random.word();
    context.dst_alpha = random.one_in(2);
    context.ghost = ghost.data();
    return context;
  }

  /// Puts the context into the blit state, as an operation would.
  static void set_state(const pixel_rule &rule, const pixel_context &context, picture &src,
                        picture &dst) {
    blit = {};
    blit.src = &src.surface;
    blit.dst = &dst.surface;
    src.surface.alpha_channel = rule.channel;
    dst.surface.alpha_channel = context.dst_alpha;
    blit.alpha = blit.blt_alpha = context.alpha;
    blit.blt_intensity = context.intensity;
    blit.fxcolor = context.fxcolor;
    const bool few = rule.depth == 16;
    blit.tintR = int32_t(few ? context.fxcolor >> 11 & 31 : context.fxcolor >> 16 & 255);
    blit.tintG = int32_t(few ? context.fxcolor >> 5 & 63 : context.fxcolor >> 8 & 255);
    blit.tintB = int32_t(context.fxcolor & (few ? 31 : 255));
  }

  /// One axis of a sampled row: a start and a step in 16.16 that stay inside `length` for `w`
  /// pixels.
  static void random_walk(random_source &random, int length, int w, int *start, int *step) {
    const int top = length * 65536 - 1;
    const int from = random.one_in(4) ? 0 : random.between(0, top);
    const int to = random.one_in(4) ? top : random.between(0, top);
    *start = from;
    *step = w > 1 ? (to - from) / (w - 1) : random.between(-99999, 99999);
    // Doubled and halved rows have loops of their own.
    if (!random.one_in(3)) return;
    const int exact = random.one_in(2) ? 0x8000 : 0x20000, last_start = top - exact * (w - 1);
    if (last_start < 0) return;
    *start = random.between(0, last_start);
    *step = exact;
  }

  /// Runs a routine on `w` pixels a row and compares every byte of the destination. Returns an
  /// empty string, or the difference.
  std::string try_routine(span_routine *routine, const parsed_name &parsed, random_source &random,
                          int w) {
    const pixel_rule &rule = parsed.rule;
    const bool draw = parsed.operation == "draw", tile = parsed.operation == "tile";
    const bool rotated = parsed.operation == "rotscale", scaled = parsed.operation == "scale";
    const pixel_context context = random_context(random);
    const int src_left = random.below(4), src_top = random.below(3);
    const int left = random.below(20), top = random.below(3);
    int src_w = random.between(1, tile ? 40 : 150), src_h = random.between(1, 9);
    int h = random.between(1, 4);
    // A scaled span draws rows in any order, some alike, or without a table the row `src_y`.
    std::vector<int32_t> rows(scaled && random.one_in(2) ? size_t(random.between(1, 9)) : 1);
    if (draw) src_w = src_left + w + random.below(4), src_h = src_top + h + random.below(3);
    if (scaled || rotated) h = int(rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
      rows[i] = i > 0 && !random.one_in(3) ? rows[i - 1] : random.below(src_h);
    picture src(src_memory, src_w, src_h, rule.depth, random.one_in(2));
    picture dst(dst_memory, left + w + random.below(20), top + h + random.below(3), rule.depth,
                random.one_in(2));
    src.fill(random, 4);
    dst.fill(random, 4);
    set_state(rule, context, src, dst);

    const bool hmirror = random.one_in(2), vmirror = random.one_in(2);
    int x0 = 0, y0 = rows[0], step_x = 0, step_y = 0;
    blit.blt_w = blit.clipw = w;
    blit.blt_h = blit.cliph = h;
    blit.dst_x = blit.clipx0 = blit.tile_x = left;
    blit.dst_y = blit.clipy0 = blit.tile_y = top;
    blit.clipx1 = left + w - 1;
    blit.clipy1 = top + h - 1;
    if (draw) {
      blit.blt_flags = hmirror + 2 * vmirror;
      blit.dst_inc = int(dst.surface.width) - w;
      blit.src_x = hmirror ? src_left + w - 1 : src_left;
      blit.src_y = vmirror ? src_top + h - 1 : src_top;
      blit.src_inc =
          hmirror ? (vmirror ? w - src_w : src_w + w) : (vmirror ? -(src_w + w) : src_w - w);
      src.expose_only(src_left, src_top, w, h);
    } else if (tile) {
      blit.tile_phase_x = x0 = random.below(src_w);
      blit.tile_phase_y = y0 = random.below(src_h);
    } else {
      random_walk(random, src_w, w, &x0, &step_x);
      if (rotated) random_walk(random, src_h, w, &y0, &step_y);
      if (rows.size() > 1) blit.src_rows = rows.data(), blit.blt_rows = h;
      blit.src_x = x0;
      blit.src_y = y0;
      blit.x_inc = step_x;
      blit.y_inc = step_y;
    }
    const auto source = [&](int x, int y) {
      if (draw)
        return src.get(src_left + (hmirror ? w - 1 - x : x), src_top + (vmirror ? h - 1 - y : y));
      if (tile) return src.get((x0 + x) % src_w, (y0 + y) % src_h);
      return src.get((x0 + x * step_x) >> 16, rotated ? (y0 + x * step_y) >> 16 : rows[size_t(y)]);
    };

    const std::vector<uint8_t> before = dst.bytes();
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        dst.put(left + x, top + y,
                put_pixel(rule, context, source(x, y), dst.get(left + x, top + y)));
    const std::vector<uint8_t> wanted = dst.bytes();
    dst.set_bytes(before);
    routine();
    const bool moved_on =
        draw || tile || (blit.src_x == x0 + w * step_x && blit.src_y == y0 + w * step_y);
    const std::vector<uint8_t> found = dst.bytes();
    if (found == wanted) return moved_on ? "" : "src_x or src_y was not moved on";
    const size_t place =
        size_t(std::mismatch(wanted.begin(), wanted.end(), found.begin()).first - wanted.begin());
    const int y = int(place / dst.surface.pitch),
              x = int(place % dst.surface.pitch) / (rule.depth / 8);
    const auto pixel_of = [&](const std::vector<uint8_t> &bytes) {
      return read_pixel(&bytes[size_t(dst.at(x, y) - dst.at(0, 0))], rule.depth);
    };
    std::ostringstream out;
    out << "first bad pixel (" << x << ", " << y << ")" << std::hex << ": was 0x"
        << pixel_of(before) << ", wanted 0x" << pixel_of(wanted) << ", got 0x" << pixel_of(found);
    if (x >= left && x < left + w && y >= top && y < top + h)
      out << " from source 0x" << source(x - left, y - top);
    out << std::dec << "; alpha " << context.alpha << ", intensity " << context.intensity
        << ", colour 0x" << std::hex << context.fxcolor << ", destination alpha channel "
        << context.dst_alpha;
    return out.str();
  }

  void check_operation(std::string_view operation) {
    uint32_t number = 0;
    int routines = 0;
    for (const span_directory_entry &entry : span_directory()) {
      ++number;
      const parsed_name parsed = parse_routine(entry.name);
      if (parsed.operation != operation) continue;
      ++routines;
      for (const instruction_set isa : {instruction_set::sse2, instruction_set::avx2}) {
        if (!cpu_has(isa)) continue;
        span_routine *const routine = routine_of(entry, isa);
        ASSERT_NE(routine, nullptr) << entry.name;
        for (int w = 1; w <= widest; ++w) {
          // Both instruction sets get the same input.
          const uint32_t seed = (base_seed() * 2000 + number) * 100 + uint32_t(w);
          random_source random(seed);
          const std::string wrong = try_routine(routine, parsed, random, w);
          if (wrong.empty()) continue;
          ADD_FAILURE() << entry.name << ", " << (isa == instruction_set::sse2 ? "SSE2" : "AVX2")
                        << ", seed " << seed << ", width " << w << ": " << wrong;
          break;
        }
      }
    }
    EXPECT_GT(routines, 300);
  }
};

TEST_F(Checkspan, Draw) { check_operation("draw"); }
TEST_F(Checkspan, Scale) { check_operation("scale"); }
TEST_F(Checkspan, Rotscale) { check_operation("rotscale"); }
TEST_F(Checkspan, Tile) { check_operation("tile"); }

} // namespace
