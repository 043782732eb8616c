// memcpy of the bytes that a scenario draws, row by row: the bound that memory sets.
#include <cstring>

#include "contender.h"

namespace orbbench {

namespace {

std::vector<uint8_t> packed(const picture &p) {
  const size_t pitch = size_t(p.width) * size_t(p.depth) / 8;
  std::vector<uint8_t> bytes(pitch * size_t(p.height));
  store(p, bytes.data(), pitch);
  return bytes;
}

class memcpy_drawing : public drawing {
public:
  /// What is transformed is taken as a copy of a picture of the result's size.
  memcpy_drawing(const scenario &s, std::vector<uint8_t> &target)
      : places_(positions(s)), target_(target) {
    scenario source = s;
    source.op = operation::copy;
    source.source = look::opaque;
    if (s.op != operation::rotate) source.sprite = drawn_box(s);
    if (s.op == operation::rotate) {
      for (point &p : places_) {
        p.x += (drawn_box(s).width - s.sprite.width) / 2;
        p.y += (drawn_box(s).height - s.sprite.height) / 2;
      }
    }
    source_ = packed(sprite_of(source));
    bytes_ = size_t(s.depth) / 8;
    pitch_ = size_t(s.target.width) * bytes_;
    row_ = size_t(source.sprite.width) * bytes_;
    height_ = source.sprite.height;
  }

  void draw() override {
    for (const point &p : places_) {
      const uint8_t *from = source_.data();
      uint8_t *to = target_.data() + size_t(p.y) * pitch_ + size_t(p.x) * bytes_;
      for (int y = 0; y < height_; ++y, from += row_, to += pitch_)
        std::memcpy(to, from, row_);
    }
  }

  pixel_view target() override { return {target_.data(), pitch_}; }

private:
  std::vector<point> places_;
  std::vector<uint8_t> &target_;
  std::vector<uint8_t> source_;
  size_t bytes_, pitch_, row_;
  int height_;
};

class memcpy_contender : public contender {
public:
  std::string name() const override { return memcpy_name; }
  bool can(const scenario &) const override { return true; }
  bool has_simd(const scenario &) const override { return true; }
  std::unique_ptr<drawing> prepare(const scenario &s) override {
    return std::make_unique<memcpy_drawing>(
        s, targets_.get(s, [](const scenario &t) { return packed(background_of(t)); }));
  }

private:
  shared_targets<std::vector<uint8_t>> targets_;
};

} // namespace

void add_memcpy(contender_list &to) {
  to.push_back(std::make_unique<memcpy_contender>());
}

} // namespace orbbench
