#include "surface/screen.h"

orb_mode mode;
__ORBSurface2D__ *ground = nullptr, *screen = nullptr;
uint8_t ground_puting = 0;
uint8_t background_changed = 0;
uint32_t screen_color = 0;
