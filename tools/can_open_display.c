/* Exit status 0 if the X display that DISPLAY names can be opened, else 1. */
#include <X11/Xlib.h>

int main(void) {
  Display *display = XOpenDisplay(0);
  if (!display) return 1;
  XCloseDisplay(display);
  return 0;
}
