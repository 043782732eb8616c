/* For the soak: memory() returns this process's heap bytes in use, once free pages are given back,
   and its open descriptors. */
#include <fcntl.h>
#include <lauxlib.h>
#include <lua.h>
#include <malloc.h>

static int memory(lua_State *L) {
  malloc_trim(0);
  const struct mallinfo2 info = mallinfo2();
  lua_pushinteger(L, (lua_Integer)(info.uordblks + info.hblkhd));
  int descriptors = 0;
  for (int each = 0; each < 1024; each++)
    descriptors += fcntl(each, F_GETFD) != -1;
  lua_pushinteger(L, descriptors);
  return 2;
}

__attribute__((visibility("default"))) int luaopen_soak_memory(lua_State *L);
int luaopen_soak_memory(lua_State *L) {
  lua_pushcfunction(L, memory);
  return 1;
}
