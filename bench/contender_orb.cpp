// Our own operations, called through the published device record with requests like a frame's.
#include "blit/effects.h"
#include "contender.h"
#include "orb_host.h"

namespace orbbench {

namespace {

enum : int32_t { flag_hmirror = 1, flag_ghost = 4, flag_nokey = 8 };

struct surface_deleter {
  void operator()(__ORBSurface2D__ *surface) const {
    host_at_depth(surface->depth).device()->ORBGI2D_DeleteGFXSurface(surface);
  }
};
using surface_ptr = std::unique_ptr<__ORBSurface2D__, surface_deleter>;

surface_ptr surface_from(const picture &p) {
  surface_ptr surface(
      host_at_depth(p.depth).device()->ORBGI2D_CreateGFXSurface(p.width, p.height, p.depth, 0));
  if (!surface) throw std::bad_alloc();
  store(p, surface->pixels, surface->pitch);
  return surface;
}

orb_blit_operation *operation_of(const orb_device2d &device, operation op) {
  switch (op) {
  case operation::scale: return device.ORBGI2D_BlitScale;
  case operation::rotate: return device.ORBGI2D_BlitRotate;
  case operation::tile: return device.ORBGI2D_BlitTile;
  default: return device.ORBGI2D_Blit;
  }
}

/// A request as a process makes it that changes nothing but what the scenario says.
__ORBBlit2D__ request_for(const scenario &s) {
  __ORBBlit2D__ request{};
  request.region = -1;
  request.size = request.size_x = request.size_y = 100;
  request.alpha = 255;
  request.fxintensity = 255;
  if (!is_keyed(s)) request.flags = flag_nokey;
  switch (s.op) {
  case operation::mirrored: request.flags |= flag_hmirror; break;
  case operation::ghost: request.flags |= flag_ghost; break;
  case operation::alpha: request.alpha = opacity; break;
  case operation::additive: request.fxmode = fx_additiveblend; break;
  case operation::multiply: request.fxmode = fx_multiplyblend; break;
  case operation::screen: request.fxmode = fx_screenblend; break;
  case operation::scale: request.size = request.size_x = request.size_y = s.percent; break;
  case operation::rotate: request.angle = rotate_degrees * 1000; break;
  case operation::copy:
  case operation::over:
  case operation::tile: break;
  }
  return request;
}

class orb_drawing : public drawing {
public:
  orb_drawing(const scenario &s, __ORBSurface2D__ *target)
      : depth_(s.depth), target_(target), sprite_(surface_from(sprite_of(s))) {
    sprite_->alpha_channel = s.op == operation::over;
    __ORBBlit2D__ request = request_for(s);
    request.src = sprite_.get();
    request.dst = target_;
    request.blit_op = operation_of(*host_at_depth(depth_).device(), s.op);
    // Placed by its middle, where the pivot is.
    const extent box = s.op == operation::tile ? s.sprite : drawn_box(s);
    for (const point &p : positions(s)) {
      request.x = p.x + box.width / 2;
      request.y = p.y + box.height / 2;
      requests_.push_back(request);
    }
  }

  void begin() override { host_at_depth(depth_); }

  void draw() override {
    for (__ORBBlit2D__ &request : requests_)
      request.blit_op(&request);
  }

  pixel_view target() override { return {target_->pixels, target_->pitch}; }

private:
  int depth_;
  __ORBSurface2D__ *target_;
  surface_ptr sprite_;
  std::vector<__ORBBlit2D__> requests_;
};

class orb_contender : public contender {
public:
  // The host must outlive the surfaces.
  orb_contender() { host_at_depth(8); }

  std::string name() const override { return our_name; }
  bool can(const scenario &s) const override {
    if (s.depth == 8) return s.op <= operation::ghost || s.op >= operation::scale;
    return s.op != operation::over || s.depth == 32;
  }
  bool has_simd(const scenario &) const override { return true; }
  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return surface_from(background_of(t)); };
    return std::make_unique<orb_drawing>(s, targets_.get(s, make).get());
  }

private:
  shared_targets<surface_ptr> targets_;
};

} // namespace

void add_orb(contender_list &to) {
  to.push_back(std::make_unique<orb_contender>());
}

} // namespace orbbench
