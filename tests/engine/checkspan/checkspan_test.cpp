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

/// One call of a routine and its expected effect, computed before the call: the destination pixels
/// it reaches, in order, and the source pixel for each.
struct expected_pixel {
  int x, y;
  uint32_t s;
};

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
    if (rule.depth == 16) {
      blit.tintR = int32_t(context.fxcolor >> 11 & 31);
      blit.tintG = int32_t(context.fxcolor >> 5 & 63);
      blit.tintB = int32_t(context.fxcolor & 31);
    } else {
      blit.tintR = int32_t(context.fxcolor >> 16 & 255);
      blit.tintG = int32_t(context.fxcolor >> 8 & 255);
      blit.tintB = int32_t(context.fxcolor & 255);
    }
  }

  /// Runs the routine and compares every byte of the destination. Returns an empty string, or the
  /// difference.
  static std::string run(span_routine *routine, const pixel_rule &rule,
                         const pixel_context &context, picture &dst,
                         const std::vector<expected_pixel> &expected) {
    const auto *bytes = static_cast<const uint8_t *>(dst.surface.pixels);
    const std::vector<uint8_t> before(bytes, bytes + dst.surface.byte_size);
    std::vector<uint8_t> wanted = before;
    const int pixel_bytes = rule.depth / 8;
    for (const expected_pixel &pixel : expected) {
      uint8_t *at = wanted.data() + pixel.y * int(dst.surface.pitch) + pixel.x * pixel_bytes;
      write_pixel(at, rule.depth, put_pixel(rule, context, pixel.s, read_pixel(at, rule.depth)));
    }
    routine();
    if (std::equal(wanted.begin(), wanted.end(), bytes)) return "";

    const size_t place =
        size_t(std::mismatch(wanted.begin(), wanted.end(), bytes).first - wanted.begin());
    const int y = int(place / dst.surface.pitch), x = int(place % dst.surface.pitch) / pixel_bytes;
    const size_t at = size_t(y) * dst.surface.pitch + size_t(x * pixel_bytes);
    std::ostringstream out;
    out << "first bad pixel (" << x << ", " << y << ")" << std::hex << ": was 0x"
        << read_pixel(&before[at], rule.depth) << ", wanted 0x"
        << read_pixel(&wanted[at], rule.depth) << ", got 0x" << dst.get(x, y);
    const auto found = std::find_if(expected.begin(), expected.end(), [&](const auto &pixel) {
      return pixel.x == x && pixel.y == y;
    });
    if (found == expected.end())
      out << ", which lies outside what was to be drawn";
    else
      out << " from source 0x" << found->s;
    out << std::dec << "; alpha " << context.alpha << ", intensity " << context.intensity
        << ", colour 0x" << std::hex << context.fxcolor << ", destination alpha channel "
        << context.dst_alpha;
    return out.str();
  }

  std::string try_draw(span_routine *routine, const pixel_rule &rule, random_source &random,
                       int w) {
    const pixel_context context = random_context(random);
    const int h = random.between(1, 3);
    const int src_left = random.below(4), src_top = random.below(3);
    const int dst_left = random.below(20), dst_top = random.below(3);
    picture src(src_memory, src_left + w + random.below(4), src_top + h + random.below(3),
                rule.depth, random.one_in(2));
    picture dst(dst_memory, dst_left + w + random.below(20), dst_top + h + random.below(3),
                rule.depth, random.one_in(2));
    src.fill(random, 4);
    dst.fill(random, 4);
    set_state(rule, context, src, dst);

    const bool hmirror = random.one_in(2), vmirror = random.one_in(2);
    const int src_width = int(src.surface.width);
    blit.blt_flags = hmirror + 2 * vmirror;
    blit.blt_w = w;
    blit.blt_h = h;
    blit.dst_x = dst_left;
    blit.dst_y = dst_top;
    blit.dst_inc = int(dst.surface.width) - w;
    blit.src_x = hmirror ? src_left + w - 1 : src_left;
    blit.src_y = vmirror ? src_top + h - 1 : src_top;
    blit.src_inc = hmirror ? (vmirror ? w - src_width : src_width + w)
                           : (vmirror ? -(src_width + w) : src_width - w);

    std::vector<expected_pixel> expected;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        expected.push_back(
            {dst_left + x, dst_top + y,
             src.get(src_left + (hmirror ? w - 1 - x : x), src_top + (vmirror ? h - 1 - y : y))});
    src.expose_only(src_left, src_top, w, h);
    return run(routine, rule, context, dst, expected);
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

  std::string try_row(span_routine *routine, const pixel_rule &rule, random_source &random, int w,
                      bool rotated) {
    const pixel_context context = random_context(random);
    const int src_w = random.between(1, 150), src_h = random.between(1, 9);
    const int dst_left = random.below(20), dst_top = random.below(3);
    // A scaled span draws rows in any order, some alike, or without a table the row `src_y`.
    const bool many = !rotated && random.one_in(2);
    std::vector<int32_t> rows(many ? size_t(random.between(1, 9)) : 1);
    for (size_t i = 0; i < rows.size(); ++i)
      rows[i] = i > 0 && !random.one_in(3) ? rows[i - 1] : random.below(src_h);
    const int h = int(rows.size());
    picture src(src_memory, src_w, src_h, rule.depth, random.one_in(2));
    picture dst(dst_memory, dst_left + w + random.below(20), dst_top + h + random.below(2),
                rule.depth, random.one_in(2));
    src.fill(random, 4);
    dst.fill(random, 4);
    set_state(rule, context, src, dst);

    int x = 0, y = 0, step_x = 0, step_y = 0;
    random_walk(random, src_w, w, &x, &step_x);
    if (rotated)
      random_walk(random, src_h, w, &y, &step_y);
    else
      y = rows[0];
    if (many) {
      blit.src_rows = rows.data();
      blit.blt_rows = h;
    }
    blit.blt_w = w;
    blit.dst_x = dst_left;
    blit.dst_y = dst_top;
    blit.src_x = x;
    blit.src_y = y;
    blit.x_inc = step_x;
    blit.y_inc = step_y;

    std::vector<expected_pixel> expected;
    for (int i = 0; i < w; ++i, x += step_x, y += step_y)
      for (int row = 0; row < h; ++row)
        expected.push_back(
            {dst_left + i, dst_top + row, src.get(x >> 16, rotated ? y >> 16 : rows[size_t(row)])});
    std::string wrong = run(routine, rule, context, dst, expected);
    if (wrong.empty() && blit.src_x != x) wrong = "src_x was not moved on";
    if (wrong.empty() && blit.src_y != y) wrong = "src_y was not moved on";
    return wrong;
  }

  std::string try_tile(span_routine *routine, const pixel_rule &rule, random_source &random,
                       int w) {
    const pixel_context context = random_context(random);
    const int h = random.between(1, 4);
    const int src_w = random.between(1, 40), src_h = random.between(1, 4);
    const int dst_left = random.below(20), dst_top = random.below(3);
    picture src(src_memory, src_w, src_h, rule.depth, random.one_in(2));
    picture dst(dst_memory, dst_left + w + random.below(20), dst_top + h + random.below(3),
                rule.depth, random.one_in(2));
    src.fill(random, 4);
    dst.fill(random, 4);
    set_state(rule, context, src, dst);

    blit.clipx0 = blit.tile_x = dst_left;
    blit.clipy0 = blit.tile_y = dst_top;
    blit.clipx1 = dst_left + w - 1;
    blit.clipy1 = dst_top + h - 1;
    blit.clipw = w;
    blit.cliph = h;
    blit.tile_phase_x = random.below(src_w);
    blit.tile_phase_y = random.below(src_h);

    std::vector<expected_pixel> expected;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        expected.push_back(
            {dst_left + x, dst_top + y,
             src.get((blit.tile_phase_x + x) % src_w, (blit.tile_phase_y + y) % src_h)});
    return run(routine, rule, context, dst, expected);
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
          const std::string wrong =
              operation == "draw" ? try_draw(routine, parsed.rule, random, w)
              : operation == "tile"
                  ? try_tile(routine, parsed.rule, random, w)
                  : try_row(routine, parsed.rule, random, w, operation == "rotscale");
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

TEST_F(Checkspan, Draw) {
  check_operation("draw");
}
TEST_F(Checkspan, Scale) {
  check_operation("scale");
}
TEST_F(Checkspan, Rotscale) {
  check_operation("rotscale");
}
TEST_F(Checkspan, Tile) {
  check_operation("tile");
}

} // namespace
