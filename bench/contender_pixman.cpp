// pixman. It has no colour key: keyed pictures are a8r8g8b8 with alpha 0 and 255, composited with
// OVER, at 16 bits too, where the target alone is r5g6b5.
#include <pixman.h>

#include <cmath>
#include <new>
#include <numbers>

#include "contender.h"

namespace orbbench {

namespace {

struct image_deleter {
  void operator()(pixman_image_t *image) const { pixman_image_unref(image); }
};
using image_ptr = std::unique_ptr<pixman_image_t, image_deleter>;

image_ptr image_from(const picture &p, pixman_format_code_t format) {
  image_ptr image(pixman_image_create_bits(format, p.width, p.height, nullptr, 0));
  if (!image) throw std::bad_alloc();
  store(p, pixman_image_get_data(image.get()), size_t(pixman_image_get_stride(image.get())));
  return image;
}

image_ptr target_from(const picture &p) {
  return image_from(p, p.depth == 16 ? PIXMAN_r5g6b5 : PIXMAN_x8r8g8b8);
}

image_ptr sprite_image(const scenario &s) {
  if (!is_keyed(s)) return target_from(sprite_of(s));
  return image_from(premultiplied(sprite_of(s)), PIXMAN_a8r8g8b8);
}

pixman_op_t operator_of(const scenario &s) {
  switch (s.op) {
  case operation::ghost:
  case operation::alpha: return PIXMAN_OP_OVER;
  case operation::additive: return PIXMAN_OP_ADD;
  case operation::multiply: return PIXMAN_OP_MULTIPLY;
  case operation::screen: return PIXMAN_OP_SCREEN;
  default: return is_keyed(s) ? PIXMAN_OP_OVER : PIXMAN_OP_SRC;
  }
}

image_ptr solid_mask(int alpha) {
  const auto word = uint16_t(alpha * 257);
  const pixman_color_t colour = {word, word, word, word};
  return image_ptr(pixman_image_create_solid_fill(&colour));
}

/// From pixels of the drawn box to pixels of the sprite.
pixman_f_transform_t transform_of(const scenario &s) {
  const extent box = drawn_box(s);
  const double w = s.sprite.width, h = s.sprite.height;
  pixman_f_transform_t t;
  pixman_f_transform_init_identity(&t);
  switch (s.op) {
  case operation::mirrored:
    pixman_f_transform_init_scale(&t, -1, 1);
    pixman_f_transform_translate(&t, nullptr, w, 0);
    break;
  case operation::scale: pixman_f_transform_init_scale(&t, w / box.width, h / box.height); break;
  case operation::rotate: {
    constexpr double radians = rotate_degrees * std::numbers::pi / 180;
    pixman_f_transform_init_translate(&t, -box.width / 2, -box.height / 2);
    pixman_f_transform_rotate(&t, nullptr, std::cos(radians), std::sin(radians));
    pixman_f_transform_translate(&t, nullptr, w / 2, h / 2);
    break;
  }
  default: break;
  }
  return t;
}

bool is_transformed(operation op) {
  return op == operation::mirrored || op == operation::scale || op == operation::rotate;
}

class pixman_drawing : public drawing {
public:
  pixman_drawing(const scenario &s, pixman_image_t *target)
      : operator_(operator_of(s)), places_(positions(s)), box_(drawn_box(s)), target_(target),
        sprite_(sprite_image(s)) {
    if (s.op == operation::tile) pixman_image_set_repeat(sprite_.get(), PIXMAN_REPEAT_NORMAL);
    if (s.op == operation::alpha) mask_ = solid_mask(opacity);
    if (s.op == operation::ghost) mask_ = solid_mask(ghost_opacity);
    if (is_transformed(s.op)) {
      const pixman_f_transform_t wide = transform_of(s);
      pixman_transform_t fixed;
      pixman_transform_from_pixman_f_transform(&fixed, &wide);
      pixman_image_set_transform(sprite_.get(), &fixed);
      pixman_image_set_filter(sprite_.get(), PIXMAN_FILTER_NEAREST, nullptr, 0);
    }
  }

  void draw() override {
    for (const point &p : places_)
      pixman_image_composite32(operator_, sprite_.get(), mask_.get(), target_, 0, 0, 0, 0, p.x, p.y,
                               box_.width, box_.height);
  }

  pixel_view target() override {
    return {pixman_image_get_data(target_), size_t(pixman_image_get_stride(target_))};
  }

private:
  pixman_op_t operator_;
  std::vector<point> places_;
  extent box_;
  pixman_image_t *target_;
  image_ptr sprite_, mask_;
};

class pixman_contender : public contender {
public:
  std::string name() const override { return "pixman"; }
  bool can(const scenario &s) const override { return s.depth != 8; }
  bool has_simd(const scenario &) const override { return true; }
  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return target_from(background_of(t)); };
    return std::make_unique<pixman_drawing>(s, targets_.get(s, make).get());
  }

private:
  shared_targets<image_ptr> targets_;
};

} // namespace

void add_pixman(contender_list &to) {
  to.push_back(std::make_unique<pixman_contender>());
}

} // namespace orbbench
