// libyuv: copies, nearest-neighbour scaling, and blends of two 32-bit pictures into one. It has no
// colour key and no constant opacity: both are put into the picture's alpha beforehand.
#include <libyuv.h>

#include <new>

#include "contender.h"

namespace orbbench {

namespace {

struct pixels {
  std::vector<uint8_t> bytes;
  int pitch;

  explicit pixels(const picture &p)
      : bytes(size_t(p.width * p.height * p.depth / 8)), pitch(p.width * p.depth / 8) {
    store(p, bytes.data(), size_t(pitch));
  }
};

void fade(picture &p, int alpha) {
  for (uint32_t &pixel : p.pixels)
    if (pixel) pixel = (pixel & 0xFFFFFF) | uint32_t(alpha) << 24;
}

picture prepared(const scenario &s) {
  picture p = sprite_of(s);
  switch (s.op) {
  case operation::copy:
    if (!is_keyed(s)) return p;
    break;
  case operation::scale:
  case operation::multiply: return p;
  case operation::ghost: fade(p, ghost_opacity); break;
  case operation::alpha: fade(p, opacity); break;
  default: break;
  }
  return premultiplied(p);
}

class libyuv_drawing : public drawing {
public:
  libyuv_drawing(const scenario &s, pixels &target)
      : scenario_(s), box_(drawn_box(s)), places_(positions(s)), target_(target),
        sprite_(prepared(s)) {}

  void draw() override {
    switch (scenario_.op) {
    case operation::copy:
      if (is_keyed(scenario_))
        blend(libyuv::ARGBBlend);
      else
        copy();
      break;
    case operation::scale: scale(); break;
    case operation::additive: blend(libyuv::ARGBAdd); break;
    case operation::multiply: blend(libyuv::ARGBMultiply); break;
    default: blend(libyuv::ARGBBlend);
    }
  }

  pixel_view target() override { return {target_.bytes.data(), size_t(target_.pitch)}; }

private:
  uint8_t *at(const point &p) {
    return &target_.bytes[size_t(p.y * target_.pitch + p.x * scenario_.depth / 8)];
  }

  void copy() {
    for (const point &p : places_)
      libyuv::CopyPlane(sprite_.bytes.data(), sprite_.pitch, at(p), target_.pitch, sprite_.pitch,
                        box_.height);
  }

  void blend(decltype(libyuv::ARGBBlend) *function) {
    for (const point &p : places_)
      function(sprite_.bytes.data(), sprite_.pitch, at(p), target_.pitch, at(p), target_.pitch,
               box_.width, box_.height);
  }

  void scale() {
    const auto [w, h] = scenario_.sprite;
    const uint8_t *from = sprite_.bytes.data();
    for (const point &p : places_) {
      if (scenario_.depth == 8)
        libyuv::ScalePlane(from, sprite_.pitch, w, h, at(p), target_.pitch, box_.width, box_.height,
                           libyuv::kFilterNone);
      else if (scenario_.depth == 16) // pitches in pixels
        libyuv::ScalePlane_16(reinterpret_cast<const uint16_t *>(from), w, w, h,
                              reinterpret_cast<uint16_t *>(at(p)), target_.pitch / 2, box_.width,
                              box_.height, libyuv::kFilterNone);
      else
        libyuv::ARGBScale(from, sprite_.pitch, w, h, at(p), target_.pitch, box_.width, box_.height,
                          libyuv::kFilterNone);
    }
  }

  scenario scenario_;
  extent box_;
  std::vector<point> places_;
  pixels &target_;
  pixels sprite_;
};

class libyuv_contender : public contender {
public:
  std::string name() const override { return "libyuv"; }
  bool can(const scenario &s) const override {
    switch (s.op) {
    case operation::copy: return !is_keyed(s) || s.depth == 32;
    case operation::scale: return !is_keyed(s);
    case operation::ghost:
    case operation::alpha:
    case operation::over:
    case operation::additive: return s.depth == 32;
    case operation::multiply: return s.depth == 32 && !is_keyed(s);
    default: return false;
    }
  }
  bool has_simd(const scenario &s) const override {
    return s.op != operation::scale || s.depth == 32;
  }
  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return pixels(background_of(t)); };
    return std::make_unique<libyuv_drawing>(s, targets_.get(s, make));
  }

private:
  shared_targets<pixels> targets_;
};

} // namespace

void add_libyuv(contender_list &to) {
  to.push_back(std::make_unique<libyuv_contender>());
}

} // namespace orbbench
