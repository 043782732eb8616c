#include <stdio.h>

/* Makes an empty file of a new name; not 0 if that fails. */
int orb_tmpname(char *name) {
  static unsigned serial;
  snprintf(name, 32, "/tmp/lua_%06u", ++serial);
  FILE *file = fopen(name, "wb");
  return !file || fclose(file) != 0;
}
