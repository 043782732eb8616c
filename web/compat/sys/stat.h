// Emscripten's library has no statx(). Its stat() has 64 bits for everything.
#pragma once

#include_next <sys/stat.h>

#define STATX_BASIC_STATS 0x7FFu

struct statx {
  unsigned stx_mode, stx_uid, stx_gid;
};

inline int statx(int folder, const char *path, int flags, unsigned, struct statx *to) {
  struct stat found;
  if (fstatat(folder, path, &found, flags) != 0) return -1;
  to->stx_mode = found.st_mode;
  to->stx_uid = found.st_uid;
  to->stx_gid = found.st_gid;
  return 0;
}
