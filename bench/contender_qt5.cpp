// Qt 5's raster engine: QPainter on QImages, without an application or a display. It has no colour
// key: keyed pictures are ARGB32_Premultiplied with alpha 0 and 255, at 16 bits too.
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include "contender.h"

namespace orbbench {

namespace {

QImage image_from(const picture &p, QImage::Format format) {
  QImage image(p.width, p.height, format);
  if (image.isNull()) throw std::bad_alloc();
  store(p, image.bits(), size_t(image.bytesPerLine()));
  return image;
}

QImage target_from(const picture &p) {
  return image_from(p, p.depth == 16 ? QImage::Format_RGB16 : QImage::Format_RGB32);
}

QImage sprite_image(const scenario &s) {
  if (!is_keyed(s)) return target_from(sprite_of(s));
  return image_from(premultiplied(sprite_of(s)), QImage::Format_ARGB32_Premultiplied);
}

QPainter::CompositionMode mode_of(const scenario &s) {
  switch (s.op) {
  case operation::ghost:
  case operation::alpha: return QPainter::CompositionMode_SourceOver;
  case operation::additive: return QPainter::CompositionMode_Plus;
  case operation::multiply: return QPainter::CompositionMode_Multiply;
  case operation::screen: return QPainter::CompositionMode_Screen;
  default:
    return is_keyed(s) ? QPainter::CompositionMode_SourceOver : QPainter::CompositionMode_Source;
  }
}

double opacity_of(operation op) {
  if (op == operation::ghost) return ghost_opacity / 255.0;
  return op == operation::alpha ? opacity / 255.0 : 1;
}

class qt5_drawing : public drawing {
public:
  qt5_drawing(const scenario &s, QImage &target)
      : scenario_(s), box_(drawn_box(s)), places_(positions(s)), target_(target),
        sprite_(sprite_image(s)) {
    brush_.setTextureImage(sprite_);
  }

  void draw() override {
    QPainter painter(&target_);
    painter.setCompositionMode(mode_of(scenario_));
    painter.setOpacity(opacity_of(scenario_.op));
    const double w = sprite_.width(), h = sprite_.height();
    switch (scenario_.op) {
    case operation::scale:
      for (const point &p : places_)
        painter.drawImage(QRectF(p.x, p.y, box_.width, box_.height), sprite_);
      break;
    case operation::mirrored:
      for (const point &p : places_) {
        painter.setTransform(QTransform(-1, 0, 0, 1, p.x + w, p.y));
        painter.drawImage(0, 0, sprite_);
      }
      break;
    case operation::rotate:
      for (const point &p : places_) {
        const QTransform middle =
            QTransform::fromTranslate(p.x + box_.width / 2, p.y + box_.height / 2);
        painter.setTransform(QTransform(middle).rotate(-rotate_degrees));
        painter.drawImage(QPointF(-w / 2, -h / 2), sprite_);
      }
      break;
    case operation::tile: painter.fillRect(0, 0, box_.width, box_.height, brush_); break;
    default:
      for (const point &p : places_)
        painter.drawImage(p.x, p.y, sprite_);
    }
  }

  pixel_view target() override { return {target_.bits(), size_t(target_.bytesPerLine())}; }

private:
  scenario scenario_;
  extent box_;
  std::vector<point> places_;
  QImage &target_;
  QImage sprite_;
  QBrush brush_;
};

class qt5_contender : public contender {
public:
  std::string name() const override { return "qt5"; }
  bool can(const scenario &s) const override { return s.depth != 8; }
  bool has_simd(const scenario &) const override { return true; }
  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return target_from(background_of(t)); };
    return std::make_unique<qt5_drawing>(s, targets_.get(s, make));
  }

private:
  shared_targets<QImage> targets_;
};

} // namespace

void add_qt5(contender_list &to) {
  to.push_back(std::make_unique<qt5_contender>());
}

} // namespace orbbench
