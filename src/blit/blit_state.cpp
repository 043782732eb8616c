#include "blit/blit_state.h"

blit_state blit;
