#include "engine/checkspan/requests.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/blit_state.h"
#include "simd/cpu.h"
#include "surface/ghost_table.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace checkspan {

namespace {

/// In the order of `operation`.
constexpr orb_blit_operation *operations[] = {
    ORBGI2D_Blit,       ORBGI2D_BlitBlock,    ORBGI2D_BlitScale,      ORBGI2D_BlitTile,
    ORBGI2D_BlitRotate, ORBGI2D_BlitRotScale, ORBGI2D_BlitScaleShear, ORBGI2D_BlitRotScaleShear};

/// The module's variables at the moment of a blit.
surroundings look_around(const trial &t) {
  surroundings around;
  around.screen_depth = t.screen_depth;
  around.ground = ground;
  for (int i = 0; i < max_region; ++i)
    around.regions.push_back({regions_def[i] != 0, regions[i]});
  around.ghost = t.ghost;
  return around;
}

} // namespace

trial::trial(guarded_memory &src_memory, guarded_memory &dst_memory, int src_width, int src_height,
             int dst_width, int dst_height, int depth, random_source &random)
    : src(src_memory, src_width, src_height, depth, random.one_in(2)),
      dst(dst_memory, dst_width, dst_height, depth, random.one_in(2)) {
  src.fill(random, 4);
  dst.fill(random, 4);
  src.surface.cpoints = centre_;
  request.src = &src.surface;
  request.dst = &dst.surface;
  request.size = request.size_x = request.size_y = 100;
  request.alpha = 255;
  request.region = -1;
}

void trial::set_centre(int x, int y) {
  centre_[0] = uint32_t(x);
  centre_[1] = uint32_t(y);
  centre_[2] = 1;
}
void trial::set_override(int x, int y) {
  src.surface.pivot_override = 1;
  src.surface.pivot_x = uint32_t(x);
  src.surface.pivot_y = uint32_t(y);
}

bool trial::shares_memory() const { return request.src == request.dst || window_; }

void trial::show_part_of_the_other(random_source &random) {
  picture *const pictures[] = {&src, &dst};
  const bool src_is_larger = src.surface.byte_size > dst.surface.byte_size;
  __ORBSurface2D__ &larger = pictures[!src_is_larger]->surface;
  __ORBSurface2D__ &smaller = pictures[src_is_larger]->surface;
  const uint32_t pixel_bytes = uint32_t(larger.depth) / 8;
  const uint32_t room = (larger.byte_size - smaller.byte_size) / pixel_bytes;
  smaller.pixels =
      static_cast<uint8_t *>(larger.pixels) + size_t(random.below(int(room) + 1)) * pixel_bytes;
  window_ = true;
}

std::string trial::run(operation op, trial_counts &counts) {
  // Sets the module's variables as a frame would.
  const int32_t former_depth = mode.bpp;
  __ORBSurface2D__ *const former_ground = ground;
  uint8_t *const former_ghost = table_ghost8;
  const uint8_t former_fake = fake_ghost_table;
  mode.bpp = screen_depth;
  if (onto_ground) ground = request.dst;
  table_ghost8 = const_cast<uint8_t *>(ghost);
  fake_ghost_table = 0;
  ground_puting = 0;

  request.owner = &owner;
  owner.box_x0 = owner.box_y0 = owner.box_x1 = owner.box_y1 = -77;
  request.drawn = 55;
  request.drawn_x0 = request.drawn_y0 = request.drawn_x1 = request.drawn_y1 = -99;
  const __ORBBlit2D__ before = request;
  const __ORBSurface2D__ src_before = src.surface;
  const bool onto_itself = shares_memory();
  const std::vector<uint8_t> src_bytes = src.bytes();
  // A tile with an alpha channel reaches the tint routine through another effect and uses the last
  // tint set. Make that the request's own.
  const uint32_t colour = request.fxcolor;
  blit.tintR = int32_t(colour >> 16 & 255);
  blit.tintG = int32_t(colour >> 8 & 255);
  blit.tintB = int32_t(colour & 255);
  blit.blt_intensity = std::clamp(request.fxintensity, 0, 255);
  const expectation wanted = expect_blit(op, request, look_around(*this));
  const int32_t result = operations[int(op)](&request);

  mode.bpp = former_depth;
  ground = former_ground;
  table_ghost8 = former_ghost;
  fake_ghost_table = former_fake;

  std::ostringstream wrong;
  using words = std::vector<int>;
  const auto expect = [&](const char *what, const words &found, const words &right) {
    if (found == right) return;
    wrong << what;
    for (size_t i = 0; i < right.size(); ++i)
      wrong << (i ? ", " : " ") << found[i] << " for " << right[i];
    wrong << "; ";
  };
  const bool drawn = wanted.drawn;
  const words box = {wanted.x0, wanted.y0, wanted.x1, wanted.y1};
  expect("result and drawn", {result, request.drawn}, {drawn, drawn});
  expect("the drawn box", {request.drawn_x0, request.drawn_y0, request.drawn_x1, request.drawn_y1},
         drawn ? box : words(4, -99));
  expect("the owner's box", {owner.box_x0, owner.box_y0, owner.box_x1, owner.box_y1},
         drawn ? box : words(4, -77));
  expect("ground_puting", {ground_puting}, {drawn && onto_ground});
  expect("pivot_override", {src.surface.pivot_override},
         {wanted.pivot_taken ? 0 : src_before.pivot_override});
  // Nothing else in the request or in the records may change.
  __ORBBlit2D__ rest = request;
  rest.drawn = before.drawn;
  rest.drawn_x0 = before.drawn_x0;
  rest.drawn_x1 = before.drawn_x1;
  rest.drawn_y0 = before.drawn_y0;
  rest.drawn_y1 = before.drawn_y1;
  if (std::memcmp(&rest, &before, sizeof rest) != 0) wrong << "the request was changed; ";
  __ORBSurface2D__ rest_of_src = src.surface;
  rest_of_src.pivot_override = src_before.pivot_override;
  if (std::memcmp(&rest_of_src, &src_before, sizeof rest_of_src) != 0)
    wrong << "the source's record was changed; ";
  if (!onto_itself && src.bytes() != src_bytes) wrong << "the source was drawn on; ";

  ++(wanted.drawn ? counts.drawn : counts.refused);
  if (wanted.drawn) counts.rows += wanted.y1 - wanted.y0 + 1;
  if (!request.dst) return wrong.str();

  // Check rows with several outcomes first; the rest must be equal to the byte.
  const __ORBSurface2D__ &onto = *request.dst;
  const auto *const first = static_cast<const uint8_t *>(onto.pixels);
  std::vector<uint8_t> found(first, first + onto.byte_size);
  const size_t pixel_bytes = size_t(onto.depth) / 8;
  for (const open_row &row : wanted.open_rows) {
    ++counts.rows_open;
    const size_t n = row.outcomes.front().size();
    uint8_t *at = &found[size_t(row.y) * onto.pitch + size_t(row.x) * pixel_bytes];
    std::vector<uint32_t> pixels(n);
    for (size_t i = 0; i < n; ++i)
      pixels[i] = read_pixel(at + i * pixel_bytes, onto.depth);
    const auto outcome = std::find(row.outcomes.begin(), row.outcomes.end(), pixels);
    if (outcome == row.outcomes.end() && !row.unpredictable) continue; // reported below
    if (outcome != row.outcomes.begin() || row.unpredictable) ++counts.rows_other;
    // When a surface is drawn onto itself, a row with another correct outcome changes all later
    // rows.
    if (onto_itself && outcome != row.outcomes.begin()) return wrong.str();
    for (size_t i = 0; i < n; ++i)
      write_pixel(at + i * pixel_bytes, onto.depth, row.outcomes.front()[i]);
  }
  if (found != wanted.pixels) {
    const size_t place = size_t(
        std::mismatch(found.begin(), found.end(), wanted.pixels.begin()).first - found.begin());
    const size_t y = place / onto.pitch, x = place % onto.pitch / pixel_bytes;
    const size_t at = y * onto.pitch + x * pixel_bytes;
    wrong << "pixel (" << x << ", " << y << ") is 0x" << std::hex
          << read_pixel(&found[at], onto.depth) << ", not 0x"
          << read_pixel(&wanted.pixels[at], onto.depth);
  }
  return wrong.str();
}

namespace {

/// Fills in a whole request with values of all kinds; `op` draws most of them.
void randomize(trial &t, operation op, random_source &random) {
  __ORBBlit2D__ &r = t.request;
  static constexpr int extremes[] = {INT_MIN, INT_MIN + 1, -1000000000, -70000,      -1,
                                     0,       70000,       1000000000,  INT_MAX - 1, INT_MAX};
  // Occasionally a value that no sensible program passes.
  const auto mostly = [&](int value) {
    return random.one_in(60) ? random.any_of(extremes) : value;
  };
  const int dw = int(t.dst.surface.width), dh = int(t.dst.surface.height);
  const int sw = int(t.src.surface.width), sh = int(t.src.surface.height);

  t.src.surface.alpha_channel = random.one_in(2);
  t.dst.surface.alpha_channel = random.one_in(2);
  if (random.one_in(3))
    t.set_centre(mostly(random.between(-10, sw + 10)), mostly(random.between(-10, sh + 10)));
  if (random.one_in(3))
    t.set_override(mostly(random.between(-10, sw + 10)), mostly(random.between(-10, sh + 10)));

  r.x = mostly(random.between(-8, dw + 8));
  r.y = mostly(random.between(-8, dh + 8));
  static constexpr int region_numbers[] = {0, 0, 1, 1, 1, 2, 2, 3, 4, 31, 32, 1000};
  r.region = random.one_in(2) ? mostly(-1) : random.any_of(region_numbers);
  t.onto_ground = random.one_in(r.region < 0 ? 20 : 4);
  r.own_region = random.one_in(3);
  r.own_region_x0 = mostly(random.between(-9, dw / 2));
  r.own_region_x1 = mostly(random.between(dw / 4, dw + 9));
  r.own_region_y0 = mostly(random.between(-9, dh / 2));
  r.own_region_y1 = mostly(random.between(dh / 4, dh + 9));

  const int effect = random.below(42);
  static constexpr int bad_effects[] = {2, -1, 27, 1000, 1016, INT_MIN, INT_MAX};
  r.fxmode = random.one_in(3) ? 0 : effect <= 26 ? effect : effect + 974;
  if (t.dst.surface.depth == 8 && random.below(4) != 0) r.fxmode = random.below(13);
  if (random.one_in(25)) r.fxmode = random.any_of(bad_effects);
  r.fxcolor = random.word();
  r.fxintensity = random.between(-20, 275);
  static constexpr int alphas[] = {255, 255, 255, 0, 1, 127, 128, 254, 300, -5};
  r.alpha = random.one_in(3) ? random.below(256) : mostly(random.any_of(alphas));
  r.flags = random.one_in(10) ? random.between(-40, 40) : random.below(12);
  if (op == operation::tile && !random.one_in(8)) r.flags &= ~7;
  if (random.one_in(4)) { // as plain as most requests of a game
    r.fxmode = r.own_region = 0;
    r.alpha = random.any_of({254, 255, 255, 256});
    r.flags = random.any_of({0, 8});
  }

  r.block_x = mostly(random.between(-6, sw / 2));
  r.block_y = mostly(random.between(-6, sh / 2));
  r.block_w = mostly(random.between(random.one_in(8) ? -1 : 5, sw + 8));
  r.block_h = mostly(random.between(random.one_in(8) ? -1 : 5, sh + 8));

  static constexpr int sizes[] = {100, 100, 100, 200, 300, 50, 33, 171, 10, 400, -100, -150};
  const auto size = [&] {
    return random.one_in(2) ? random.any_of(sizes) : mostly(random.between(20, 400));
  };
  r.size = random.one_in(3) ? size() : 100;
  r.size_x = size();
  r.size_y = size();
  static constexpr int angles[] = {0, 90000, 180000, 270000, -90000, 45000, 360000, 1, 359999};
  r.angle = random.one_in(3) ? random.any_of(angles) : mostly(random.between(-720000, 720000));
  static constexpr int shears[] = {0, 0, 100, -100, 1, 50};
  r.shear_x = random.one_in(2) ? random.any_of(shears) : mostly(random.between(-200, 200));
  r.shear_y = random.one_in(2) ? random.any_of(shears) : mostly(random.between(-200, 200));
  r.tfmorder = random.below(6);

  static constexpr int depths[] = {8, 16, 32};
  t.screen_depth = random.one_in(6) ? random.any_of(depths) : t.dst.surface.depth;
  if (random.one_in(100))
    (random.one_in(2) ? r.src : r.dst) = nullptr;
  else if (random.one_in(100))
    t.src.surface.depth = t.src.surface.depth == 8 ? 16 : 8;
  else if (random.one_in(12))
    r.src = r.dst;
  else if (random.one_in(6))
    t.show_part_of_the_other(random);
}

/// A plain region, one that reaches beyond every picture, one inside out, and one undefined.
void define_regions() {
  regions[1] = {3, 20, 2, 15};
  regions[2] = {-10, 500, -10, 500};
  regions[3] = {12, 4, 9, 3};
  regions_def[1] = regions_def[2] = regions_def[3] = 1;
  regions_def[4] = 0;
  regions[max_region - 1] = {5, 9, 0, 40};
  regions_def[max_region - 1] = 1;
}

} // namespace

trial_counts run_trials(operation op, int count) {
  trial_counts counts;
  define_regions();
  guarded_memory src_memory(64 * 1024), dst_memory(64 * 1024);
  std::vector<uint8_t> ghost(256 * 256);
  random_source ghost_pixels(base_seed());
  for (uint8_t &entry : ghost)
    entry = uint8_t(ghost_pixels.word());

  int failures = 0;
  for (int i = 0; i < count && failures < 5; ++i) {
    const uint32_t trial_seed = (base_seed() * 16 + uint32_t(op)) * 1000003 + uint32_t(i);
    random_source random(trial_seed);
    mask_instruction_sets(i % 2 ? instruction_set::sse2 : instruction_set::avx2);
    set_blitter_routines();
    static constexpr int depths[] = {8, 16, 32, 32};
    const auto length = [&](int most) { return random.between(1, random.one_in(4) ? 5 : most); };
    trial t(src_memory, dst_memory, length(40), length(30), length(70), length(50),
            random.any_of(depths), random);
    t.ghost = random.one_in(10) ? nullptr : ghost.data();
    randomize(t, op, random);
    const std::string wrong = t.run(op, counts);
    if (wrong.empty()) continue;
    ++failures;
    ADD_FAILURE() << "seed " << trial_seed << (i % 2 ? ", SSE2" : ", AVX2") << ": " << wrong;
  }
  mask_instruction_sets(instruction_set::avx2);
  set_blitter_routines();
  return counts;
}

} // namespace checkspan
