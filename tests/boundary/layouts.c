/* The layouts as a C99 compiler sees them; boundary_test.cpp has those of C++. */
#include "orb/graphics2d.h"

#define SIZE(type, words) typedef char size_of_##type[sizeof(type) == 4 * (words) ? 1 : -1];
#define AT(type, member, word)                                                                     \
  typedef char type##_##member[offsetof(type, member) == 4 * (word) ? 1 : -1];
#include "boundary/layouts.inc"
