/* A host's first steps against the installed header and library: links to the one exported symbol
 * and registers with a table whose functions only count. */
#include <orb/graphics2d.h>
#include <stdio.h>

int32_t ORB_mod_graphics2D_MainLibraryExports(const orb_registration *registration);

static int constants, functions;

static void reg_constants(const orb_constant *table) {
  while (table[constants].name) constants++;
}
static void reg_text(const char *declarations) { (void)declarations; }
static void reg_functions(const orb_function *table) {
  while (table[functions].signature) functions++;
}
static void reg_hooks(const orb_hook *table) { (void)table; }
static void reg_flags(int32_t flags) { (void)flags; }
static struct orb_runtime *reg_runtime(void) {
  static void *words[128];
  return (struct orb_runtime *)words;
}

int main(void) {
  orb_registration registration = {0};
  registration.reg_constants = reg_constants;
  registration.reg_globals = reg_text;
  registration.reg_locals = reg_text;
  registration.reg_functions = reg_functions;
  registration.reg_hooks = reg_hooks;
  registration.reg_flags = reg_flags;
  registration.reg_runtime = reg_runtime;
  if (ORB_mod_graphics2D_MainLibraryExports(&registration) != 1) return 1;
  printf("%d constants, %d functions\n", constants, functions);
  return constants == 152 && functions == 310 ? 0 : 1;
}
