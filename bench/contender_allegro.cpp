// Allegro 4 memory bitmaps, and its run-length encoded sprites.
//
// The library is opened by hand, apart from the program's own symbols: names such as `blit` and
// `screen` are in both.
#define ALLEGRO_NO_MAGIC_MAIN
#include <allegro.h>

#include <dlfcn.h>

#include <algorithm>
#include <bit>
#include <stdexcept>

#include "contender.h"
#include "orb_host.h"

namespace orbbench {

namespace {

// The functions that are no inline wrappers over a bitmap's table.
#define ORB_ALLEGRO_FUNCTIONS(name)                                                                \
  name(_install_allegro_version_check) name(create_bitmap_ex) name(destroy_bitmap)                 \
      name(get_rle_sprite) name(destroy_rle_sprite) name(blit) name(masked_blit)                   \
          name(stretch_blit) name(stretch_sprite) name(drawing_mode) name(solid_mode)              \
              name(set_trans_blender) name(set_alpha_blender) name(set_add_blender)                \
                  name(set_multiply_blender) name(set_screen_blender)

struct allegro_library {
#define ORB_MEMBER(function) decltype(&::function) function = nullptr;
  ORB_ALLEGRO_FUNCTIONS(ORB_MEMBER)
#undef ORB_MEMBER
  COLOR_MAP **color_map = nullptr;

  /// False when it isn't installed.
  bool open() {
    void *const handle = dlopen("liballeg.so.4.4", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (!handle) return false;
#define ORB_LOOK_UP(function)                                                                      \
  function = reinterpret_cast<decltype(function)>(dlsym(handle, #function));                       \
  if (!function) return false;
    ORB_ALLEGRO_FUNCTIONS(ORB_LOOK_UP)
#undef ORB_LOOK_UP
    color_map = static_cast<COLOR_MAP **>(dlsym(handle, "color_map"));
    static int error;
    const int version = MAKE_VERSION(ALLEGRO_VERSION, ALLEGRO_SUB_VERSION, ALLEGRO_WIP_VERSION);
    return color_map && _install_allegro_version_check(SYSTEM_NONE, &error, nullptr, version) == 0;
  }
} allegro;

struct bitmap_deleter {
  void operator()(BITMAP *bitmap) const { allegro.destroy_bitmap(bitmap); }
  void operator()(RLE_SPRITE *sprite) const { allegro.destroy_rle_sprite(sprite); }
};
using bitmap_ptr = std::unique_ptr<BITMAP, bitmap_deleter>;
using rle_sprite_ptr = std::unique_ptr<RLE_SPRITE, bitmap_deleter>;

size_t pitch_of(const BITMAP *bitmap) {
  return size_t(bitmap->line[1] - bitmap->line[0]);
}

/// What is transparent is 0 at 8 bits, magenta above.
bitmap_ptr bitmap_from(const picture &p) {
  bitmap_ptr bitmap(allegro.create_bitmap_ex(p.depth, p.width, p.height));
  if (!bitmap) throw std::bad_alloc();
  const uint32_t mask = p.depth == 8 ? MASK_COLOR_8 : p.depth == 16 ? MASK_COLOR_16 : MASK_COLOR_32;
  store_keyed(p, mask, bitmap->line[0], pitch_of(bitmap.get()));
  return bitmap;
}

/// Mixes indices as our own table does. Where a sprite is transparent the mix is the background.
COLOR_MAP *ghost_map() {
  static COLOR_MAP map;
  for (int s = 0; s < PAL_SIZE; ++s)
    for (int d = 0; d < PAL_SIZE; ++d)
      map.data[s][d] = s == 0 ? uint8_t(d) : ghost_mix(uint8_t(s), uint8_t(d));
  return &map;
}

/// Draws a sprite into a box of the target.
using sprite_function = void(BITMAP *target, BITMAP *sprite, point at, extent box);

void plain(BITMAP *target, BITMAP *sprite, point at, extent box) {
  allegro.blit(sprite, target, 0, 0, at.x, at.y, box.width, box.height);
}
void keyed(BITMAP *target, BITMAP *sprite, point at, extent) {
  draw_sprite(target, sprite, at.x, at.y);
}
void mirrored(BITMAP *target, BITMAP *sprite, point at, extent) {
  draw_sprite_h_flip(target, sprite, at.x, at.y);
}
void blended(BITMAP *target, BITMAP *sprite, point at, extent) {
  draw_trans_sprite(target, sprite, at.x, at.y);
}
void plain_scaled(BITMAP *target, BITMAP *sprite, point at, extent box) {
  allegro.stretch_blit(sprite, target, 0, 0, sprite->w, sprite->h, at.x, at.y, box.width,
                       box.height);
}
void keyed_scaled(BITMAP *target, BITMAP *sprite, point at, extent box) {
  allegro.stretch_sprite(target, sprite, at.x, at.y, box.width, box.height);
}
void rotated(BITMAP *target, BITMAP *sprite, point at, extent) {
  constexpr fixed angle = -rotate_degrees * (256 << 16) / 360; // clockwise, 256 a turn
  rotate_sprite(target, sprite, at.x, at.y, angle);
}
void tiled(BITMAP *target, BITMAP *sprite, point, extent box) {
  allegro.drawing_mode(DRAW_MODE_COPY_PATTERN, sprite, 0, 0);
  rectfill(target, 0, 0, box.width - 1, box.height - 1, 0);
  allegro.solid_mode(); // figures are drawn by the same mode
}

sprite_function *function_of(const scenario &s) {
  switch (s.op) {
  case operation::copy: return is_keyed(s) ? keyed : plain;
  case operation::mirrored: return mirrored;
  case operation::scale: return is_keyed(s) ? keyed_scaled : plain_scaled;
  case operation::rotate: return rotated;
  case operation::tile: return is_keyed(s) ? keyed : tiled;
  default: return blended;
  }
}

void set_blender(operation op) {
  switch (op) {
  case operation::ghost: return allegro.set_trans_blender(0, 0, 0, ghost_opacity);
  case operation::alpha: return allegro.set_trans_blender(0, 0, 0, opacity);
  case operation::over: return allegro.set_alpha_blender();
  case operation::additive: return allegro.set_add_blender(0, 0, 0, 255);
  case operation::multiply: return allegro.set_multiply_blender(0, 0, 0, 255);
  case operation::screen: return allegro.set_screen_blender(0, 0, 0, 255);
  default: return;
  }
}

/// Top left corners of the sprite as it was before it is turned about its middle.
std::vector<point> corners(const scenario &s) {
  if (s.op == operation::tile && is_keyed(s)) return tile_positions(s);
  std::vector<point> result = positions(s);
  if (s.op != operation::rotate) return result;
  const extent box = drawn_box(s);
  for (point &p : result)
    p = {p.x + box.width / 2 - s.sprite.width / 2, p.y + box.height / 2 - s.sprite.height / 2};
  return result;
}

class bitmap_drawing : public drawing {
public:
  bitmap_drawing(const scenario &s, BITMAP *target)
      : op_(s.op), box_(drawn_box(s)), places_(corners(s)), target_(target),
        sprite_(bitmap_from(sprite_of(s))), function_(function_of(s)) {}

  void begin() override { set_blender(op_); }

  void draw() override {
    for (const point &p : places_)
      function_(target_, sprite_.get(), p, box_);
  }

  pixel_view target() override { return {target_->line[0], pitch_of(target_)}; }

private:
  operation op_;
  extent box_;
  std::vector<point> places_;
  BITMAP *target_;
  bitmap_ptr sprite_;
  sprite_function *function_;
};

class rle_drawing : public drawing {
public:
  rle_drawing(const scenario &s, BITMAP *target)
      : op_(s.op), places_(tile_positions(s)), target_(target),
        sprite_(allegro.get_rle_sprite(bitmap_from(sprite_of(s)).get())) {}

  void begin() override { set_blender(op_); }

  void draw() override {
    if (op_ == operation::copy || op_ == operation::tile) {
      for (const point &p : places_)
        draw_rle_sprite(target_, sprite_.get(), p.x, p.y);
    } else {
      for (const point &p : places_)
        draw_trans_rle_sprite(target_, sprite_.get(), p.x, p.y);
    }
  }

  pixel_view target() override { return {target_->line[0], pitch_of(target_)}; }

private:
  operation op_;
  std::vector<point> places_;
  BITMAP *target_;
  rle_sprite_ptr sprite_;
};

class allegro_contender : public contender {
public:
  explicit allegro_contender(bool rle) : rle_(rle) {}

  std::string name() const override { return rle_ ? "allegro rle" : "allegro"; }

  bool can(const scenario &s) const override {
    if (rle_ && !is_keyed(s)) return false;
    switch (s.op) {
    case operation::copy: return true;
    case operation::mirrored:
    case operation::scale:
    case operation::rotate: return !rle_;
    case operation::tile:
      return is_keyed(s) || (std::has_single_bit(unsigned(s.sprite.width)) &&
                             std::has_single_bit(unsigned(s.sprite.height)));
    case operation::ghost: return true;
    case operation::over: return s.depth == 32;
    default: return s.depth != 8;
    }
  }

  /// Only where it copies memory.
  bool has_simd(const scenario &s) const override {
    if (s.op != operation::copy && s.op != operation::tile) return false;
    return rle_ || !is_keyed(s);
  }

  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return bitmap_from(background_of(t)); };
    BITMAP *const target = targets_.get(s, make).get();
    if (rle_ && is_keyed(s)) return std::make_unique<rle_drawing>(s, target);
    return std::make_unique<bitmap_drawing>(s, target);
  }

private:
  bool rle_;
  shared_targets<bitmap_ptr> targets_;
};

} // namespace

void add_allegro(contender_list &to) {
  if (!allegro.open()) return;
  *allegro.color_map = ghost_map();
  to.push_back(std::make_unique<allegro_contender>(false));
  to.push_back(std::make_unique<allegro_contender>(true));
}

} // namespace orbbench
