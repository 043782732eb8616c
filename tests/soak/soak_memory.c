/* For the soak: memory() returns a table of this process's heap bytes in use, resident bytes and
   open file descriptors. */
#include <dirent.h>
#include <lauxlib.h>
#include <lua.h>
#include <malloc.h>
#include <stdio.h>
#include <unistd.h>

static lua_Integer resident_bytes(void) {
  long pages = 0;
  FILE *file = fopen("/proc/self/statm", "r");
  if (!file) return -1;
  if (fscanf(file, "%*s %ld", &pages) != 1) pages = 0;
  fclose(file);
  return (lua_Integer)pages * sysconf(_SC_PAGESIZE);
}

static lua_Integer descriptors(void) {
  lua_Integer count = -1; /* without the one of opendir() */
  DIR *folder = opendir("/proc/self/fd");
  if (!folder) return -1;
  for (const struct dirent *entry; (entry = readdir(folder));)
    count += entry->d_name[0] != '.';
  closedir(folder);
  return count;
}

static void set(lua_State *L, const char *name, lua_Integer value) {
  lua_pushinteger(L, value);
  lua_setfield(L, -2, name);
}

static int memory(lua_State *L) {
  const struct mallinfo2 info = mallinfo2();
  lua_newtable(L);
  set(L, "heap", (lua_Integer)(info.uordblks + info.hblkhd));
  malloc_trim(0); /* free pages don't count */
  set(L, "resident", resident_bytes());
  set(L, "descriptors", descriptors());
  return 1;
}

__attribute__((visibility("default"))) int luaopen_soak_memory(lua_State *L);
int luaopen_soak_memory(lua_State *L) {
  lua_pushcfunction(L, memory);
  return 1;
}
