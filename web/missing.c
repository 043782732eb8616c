// What Emscripten's library declares and doesn't have.
#include <errno.h>
#include <sys/inotify.h>

int inotify_init1(int flags) {
  (void)flags;
  errno = ENOSYS;
  return -1;
}

int inotify_add_watch(int queue, const char *path, uint32_t events) {
  (void)queue, (void)path, (void)events;
  errno = ENOSYS;
  return -1;
}
