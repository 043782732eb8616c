// X servers and the contents of their windows.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

/// A server with one virtual screen; it ends with this program.
class virtual_server {
public:
  /// `geometry` as "640x480x16".
  explicit virtual_server(const char *geometry) {
    int channel[2];
    if (pipe(channel) != 0) return;
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      const std::string fd = std::to_string(channel[1]);
      execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", geometry, "-nolisten", "tcp",
             "-noreset", nullptr);
      _exit(127);
    }
    close(channel[1]);
    std::string number;
    for (char c; read(channel[0], &c, 1) == 1 && c != '\n';)
      number += c;
    close(channel[0]);
    if (!number.empty()) name_ = ":" + number;
  }
  ~virtual_server() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  virtual_server(const virtual_server &) = delete;
  virtual_server &operator=(const virtual_server &) = delete;

  /// Empty when the server could not be started.
  const std::string &name() const { return name_; }

private:
  pid_t process_ = -1;
  std::string name_;
};

struct colour {
  int r, g, b;
};

/// The pixels of a window as the X server holds them.
class window_picture {
public:
  window_picture(Display *server, Window window) {
    XWindowAttributes attributes{};
    XGetWindowAttributes(server, window, &attributes);
    width = attributes.width;
    height = attributes.height;
    image_ = XGetImage(server, window, 0, 0, unsigned(width), unsigned(height), AllPlanes, ZPixmap);
    visual_ = attributes.visual;
    // SDL may pick a DirectColor visual and leaves its ramps linear, so its fields mean the same.
    if (visual_->c_class == PseudoColor) {
      colours_.resize(256);
      for (size_t i = 0; i < 256; ++i)
        colours_[i].pixel = i;
      XQueryColors(server, attributes.colormap, colours_.data(), 256);
    }
  }
  ~window_picture() {
    if (image_) XDestroyImage(image_);
  }
  window_picture(const window_picture &) = delete;
  window_picture &operator=(const window_picture &) = delete;

  bool good() const { return image_ != nullptr; }
  colour at(int x, int y) const {
    const unsigned long pixel = XGetPixel(image_, x, y);
    if (!colours_.empty()) {
      const XColor &c = colours_[pixel & 255];
      return {c.red >> 8, c.green >> 8, c.blue >> 8};
    }
    return {component(pixel, visual_->red_mask), component(pixel, visual_->green_mask),
            component(pixel, visual_->blue_mask)};
  }
  int width = 0, height = 0;

private:
  /// The top bits of a masked field as 0..255.
  static int component(unsigned long pixel, unsigned long mask) {
    return int(uint64_t(pixel & mask) * 255 / mask);
  }
  XImage *image_ = nullptr;
  Visual *visual_ = nullptr;
  std::vector<XColor> colours_;
};
