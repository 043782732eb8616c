#include "host/player/overlay.h"

#include "host/player/canvas.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace orbplay {
namespace {

constexpr Colour panel = 0x101418, ink = 0xE8E8E8, faint = 0x8090A0;
constexpr Colour work_ink = 0x70C0FF, wait_ink = 0x305070, box_ink = 0x60FF90, object_ink = 0xFFD060,
                 change_ink = 0xFF4060, pointed_ink = 0xFFFFFF;
constexpr int margin = 4, tile = 16;

Overlay *active = nullptr;

template <typename... Values> std::string format(const char *pattern, Values... values) {
  char text[128];
  std::snprintf(text, sizeof text, pattern, values...);
  return text;
}

// A rectangle of the script's screen in the picture: its first pixel, and the one after its last.
struct Placed {
  Point first, end;
};

// A row of a panel: a name and a value below one another.
struct Row {
  std::string name, value;
  Colour colour = ink;
};

int names_width(const std::vector<Row> &rows) {
  int width = 0;
  for (const Row &row : rows)
    width = std::max(width, Canvas::text_width(row.name));
  return width + 2 * margin;
}

int rows_width(const std::vector<Row> &rows) {
  int width = 0;
  for (const Row &row : rows)
    width = std::max(width, Canvas::text_width(row.value));
  return width + names_width(rows);
}

// Draws rows from (x, y) on; the y below them.
int paint_rows(Canvas &canvas, int x, int y, const std::vector<Row> &rows) {
  const int values = x + names_width(rows);
  for (const Row &row : rows) {
    canvas.text(x, y, row.name, row.colour);
    canvas.text(values, y, row.value, row.colour);
    y += Canvas::line_height();
  }
  return y;
}

Placed place(const orbhost::Host &host, const View &view, int x0, int y0, int x1, int y1) {
  const orbhost::Host::Place at = host.picture_place();
  const __ORBSurface2D__ *const screen = host.screen();
  const int width = static_cast<int>(screen->width), height = static_cast<int>(screen->height);
  const auto to_picture = [&](int x, int y) {
    return view.from_display({at.left + x * at.width / width, at.top + y * at.height / height});
  };
  return {to_picture(x0, y0), to_picture(x1 + 1, y1 + 1)};
}

} // namespace

void Overlay::attach(orbhost::Host &host) {
  host_ = &host;
  active = this;
  drawn_.clear();
  previous_.clear();
  shown_at_ = Clock::now();
  orb_device2d *const device = host.device();
  if (!device || !device->ResetBlitList) return;
  reset_list_ = device->ResetBlitList;
  device->ResetBlitList = note_requests;
}

void Overlay::detach() {
  host_ = nullptr;
  active = nullptr;
}

// In place of the module's ResetBlitList: the last time that a frame's requests are all there.
void Overlay::note_requests() {
  Overlay &self = *active;
  if (self.shown_) {
    self.drawn_.clear();
    self.requests_ = 0;
    self.shown_ = false;
  }
  const orb_device2d &device = *self.host_->device();
  if (self.figures || self.boxes) {
    const orb_blit_list *const list = device.GetPtrBlitList();
    for (std::uint32_t i = 0; list && i < list->used; ++i) {
      const __ORBBlit2D__ &request = list->requests[i];
      ++self.requests_;
      if (request.drawn)
        self.drawn_.push_back({request.owner, request.drawn_x0, request.drawn_y0, request.drawn_x1,
                               request.drawn_y1});
    }
  }
  self.reset_list_();
}

void Overlay::paint(const View &view, SDL_Surface &surface) {
  const bool fresh = measuring_; // not the same frame once more
  if (fresh) {
    const auto now = Clock::now();
    const auto ms = [](Clock::duration time) {
      return std::chrono::duration<float, std::milli>(time).count();
    };
    newest_ = (newest_ + 1) % kept_times;
    work_[newest_] = ms(now - begun_);
    frame_[newest_] = ms(now - shown_at_);
    shown_at_ = now;
    measuring_ = false;
  }
  shown_ = true;
  if (!host_ || !host_->screen() || (!figures && !boxes)) return;
  Canvas canvas(surface);
  if (boxes) {
    if (fresh) find_changes();
    paint_changes(view, canvas);
    paint_boxes(view, canvas);
  }
  if (figures) paint_figures(canvas);
}

void Overlay::paint_figures(Canvas &canvas) const {
  std::int64_t pixels = 0;
  for (const Drawn &box : drawn_)
    pixels += std::int64_t{box.x1 - box.x0 + 1} * (box.y1 - box.y0 + 1);
  float frame = 0, work = 0;
  for (std::size_t i = 0; i < kept_times; ++i)
    frame += frame_[i] / kept_times, work += work_[i] / kept_times;
  const std::vector<Row> rows = {
      {"frame", format("%.1f ms, %.0f a second", frame, frame > 0 ? 1000 / frame : 0)},
      {"of it work", format("%.1f ms", work)},
      {"processes", format("%zu", host_->processes().size())},
      {"requests", format("%zu, %zu of them drawn", requests_, drawn_.size())},
      {"pixels", format("%.0f thousand", static_cast<double>(pixels) / 1000)},
  };
  constexpr int curve_height = 40, ms_height = 2; // pixels; pixels a millisecond
  const int height = Canvas::line_height() * static_cast<int>(rows.size()) + margin + curve_height;
  const int width = std::max(static_cast<int>(kept_times), rows_width(rows));
  canvas.fill(0, 0, width + 2 * margin, height + 2 * margin, panel, 200);
  const int y = paint_rows(canvas, margin, margin, rows) + margin + curve_height;
  for (std::size_t i = 0; i < kept_times; ++i) {
    const std::size_t at = (newest_ + 1 + i) % kept_times;
    const auto bar = [&](float time, Colour colour) {
      const int high = std::min(static_cast<int>(time * ms_height), curve_height);
      canvas.fill(margin + static_cast<int>(i), y - high, 1, high, colour);
    };
    bar(frame_[at], wait_ink);
    bar(work_[at], work_ink);
  }
}

void Overlay::find_changes() {
  const SDL_Surface &display = *SDL_GetVideoSurface();
  const std::size_t pitch = display.pitch, size = pitch * static_cast<unsigned>(display.h);
  const std::size_t pixel = display.format->BytesPerPixel;
  const auto *const pixels = static_cast<const std::uint8_t *>(display.pixels);
  changes_.clear();
  for (int y = 0; previous_.size() == size && y < display.h; y += tile) {
    for (int x = 0; x < display.w; x += tile) {
      const int width = std::min(tile, display.w - x), height = std::min(tile, display.h - y);
      const auto same = [&](int row) {
        const std::size_t at = static_cast<unsigned>(row) * pitch + static_cast<unsigned>(x) * pixel;
        const std::size_t bytes = static_cast<unsigned>(width) * pixel;
        return std::memcmp(&pixels[at], &previous_[at], bytes) == 0;
      };
      int row = y;
      while (row < y + height && same(row))
        ++row;
      if (row == y + height) continue;
      changes_.push_back({static_cast<Sint16>(x), static_cast<Sint16>(y),
                          static_cast<Uint16>(width), static_cast<Uint16>(height)});
    }
  }
  previous_.assign(pixels, pixels + size);
}

void Overlay::paint_changes(const View &view, Canvas &canvas) const {
  for (const SDL_Rect &part : changes_) {
    const Point first = view.from_display({part.x, part.y});
    canvas.fill(first.x, first.y, part.w * view.scale, part.h * view.scale, change_ink, 48);
  }
}

void Overlay::paint_boxes(const View &view, Canvas &canvas) const {
  const Point pointer = view.from_display(pointer_);
  const orb_process *pointed = nullptr;
  for (const Drawn &box : drawn_) {
    const Placed at = place(*host_, view, box.x0, box.y0, box.x1, box.y1);
    // A process may have ended since.
    const bool alive = box.owner && host_->processes().exists(orbhost::ProcessList::id(box.owner));
    canvas.outline(at.first.x, at.first.y, at.end.x - at.first.x, at.end.y - at.first.y,
                   alive ? box_ink : object_ink);
    if (!alive) continue;
    canvas.text(at.first.x + 2, at.first.y + 1, format("%u", box.owner->host0), box_ink);
    if (pointer.x >= at.first.x && pointer.x < at.end.x && pointer.y >= at.first.y &&
        pointer.y < at.end.y)
      pointed = box.owner; // the last is on top
  }
  canvas.fill(pointer.x - 4, pointer.y, 9, 1, pointed_ink);
  canvas.fill(pointer.x, pointer.y - 4, 1, 9, pointed_ink);
  if (pointed) paint_locals(canvas, *pointed, pointer);
}

// Beside the pointer; locals that aren't as declared stand out.
void Overlay::paint_locals(Canvas &canvas, const orb_process &process, Point at) const {
  std::vector<Row> rows = {{"process", format("%u", process.host0)}};
  const auto *const words = reinterpret_cast<const std::int32_t *>(process.locals);
  for (const orbhost::Declaration &local : host_->locals().declarations()) {
    if (local.kind != orbhost::Declaration::Kind::variable || local.fields[0].pointer) continue;
    const std::int32_t value = words[local.word];
    rows.push_back(
        {local.name, format("%d", value), value == local.fields[0].initial ? faint : ink});
  }
  const int width = rows_width(rows) + 2 * margin;
  const int height = Canvas::line_height() * static_cast<int>(rows.size()) + 2 * margin;
  const int x = std::clamp(at.x + 3 * margin, 0, std::max(canvas.width() - width, 0));
  const int y = std::clamp(at.y + 3 * margin, 0, std::max(canvas.height() - height, 0));
  canvas.fill(x, y, width, height, panel, 220);
  paint_rows(canvas, x + margin, y + margin, rows);
}

} // namespace orbplay
