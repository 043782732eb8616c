/* os.tmpname() for Lua in WebAssembly. */
extern int orb_tmpname(char *name);
#define LUA_TMPNAMBUFSIZE 32
#define lua_tmpnam(name, failed) ((failed) = orb_tmpname(name))
