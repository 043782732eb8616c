/* A host in one file: registers the module, sets a mode, lets five balls bounce for sixty frames
 * and saves the last one as host.png. docs/guides/host_in_c.md explains it step by step. */
#define _POSIX_C_SOURCE 200809L
#include <orb/graphics2d.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void fail(const char *what, const char *name) {
  fprintf(stderr, "host: %s: %s\n", what, name);
  exit(1);
}

/* ---- Variables: what texts such as "int fps = 0;" declare, laid out in words ----------------- */

typedef struct {
  int32_t words[512];
  struct { char name[24]; int32_t offset; } named[64];
  int word_count, name_count;
} variables;

static variables globals, locals;

static void put(variables *v, int32_t value) {
  if (v->word_count == 512) fail("no room", "variables");
  v->words[v->word_count++] = value;
}

/* "int NAME = VALUE;" is one word; "struct NAME[N] FIELDS end" is N times its fields. */
static void declare(variables *v, const char *text) {
  char *copy = strdup(text), *rest = copy, *word;
  int fields = 0, times = 0; /* of the struct: where its fields begin, N */
  while ((word = strtok_r(rest, " *=;[]", &rest)) != NULL) {
    if (!strcmp(word, "end")) {
      int size = v->word_count - fields;
      for (int left = size * (times - 1); left > 0; --left)
        put(v, v->words[v->word_count - size]);
      times = 0;
      continue;
    }
    char *name = strtok_r(rest, " *=;[]", &rest);
    int value = atoi(strtok_r(rest, " *=;[]", &rest));
    if (times == 0) { /* not a field */
      if (v->name_count == 64) fail("no room", name);
      snprintf(v->named[v->name_count].name, sizeof v->named[0].name, "%s", name);
      v->named[v->name_count++].offset = 4 * v->word_count;
    }
    if (!strcmp(word, "struct")) times = value, fields = v->word_count;
    else put(v, value);
  }
  free(copy);
}

static int32_t rt_global_offset(int32_t zero, const char *name) {
  for (int i = zero; i < globals.name_count; ++i)
    if (!strcmp(globals.named[i].name, name)) return globals.named[i].offset;
  fail("not a global", name);
  return 0;
}

/* ---- Registration: the host copies what it is shown ------------------------------------------ */

static orb_constant constants[200];
static orb_function functions[400];
static orb_hook hooks[8];
static int constant_count, function_count, hook_count;

static void reg_constants(const orb_constant *table) {
  for (; table->name && constant_count < 200; ++table)
    constants[constant_count++] = (orb_constant){strdup(table->name), table->value};
}
static void reg_functions(const orb_function *table) {
  for (; table->signature && function_count < 400; ++table) {
    functions[function_count] = *table;
    functions[function_count++].signature = strdup(table->signature);
  }
}
static void reg_hooks(const orb_hook *table) {
  for (; table->kind && hook_count < 8; ++table)
    hooks[hook_count++] = *table;
}
static void reg_globals(const char *text) { declare(&globals, text); }
static void reg_locals(const char *text) { declare(&locals, text); }
static void reg_flags(int32_t flags) { (void)flags; }

static void run(int32_t kind) {
  for (int i = 0; i < hook_count; ++i)
    if (hooks[i].kind == kind) hooks[i].function();
}

/* ---- Calls: a stack of arguments, fetched from the last to the first ------------------------- */

static struct {
  int32_t words[20], result;
  char kinds[20]; /* I: an int, or the address of ints; S: a text */
  int count, left;
} frame;

static int32_t rt_pop_int(void) { return frame.left > 0 ? frame.words[--frame.left] : 0; }
static uint32_t rt_pop_uint(void) { return (uint32_t)rt_pop_int(); }
static const char *rt_pop_string(void) { return (const char *)rt_pop_int(); }
static int32_t *rt_pop_pointer(void) { return (int32_t *)rt_pop_int(); }
static const char *rt_peek_string(void) {
  int last = frame.left - 1;
  return last >= 0 && frame.kinds[last] == 'S' ? (const char *)frame.words[last] : NULL;
}
static void rt_unpop_params(int32_t count) { frame.left += count; }
static void rt_drop_params(int32_t count) { frame.left -= count; }
static int32_t rt_param_count(void) { return frame.count; }
static int32_t rt_return(int32_t value) { return frame.result = value; }
static int32_t rt_take_return(void) { return frame.result; }
static char *rt_new_return_string(void) {
  static char text[ORB_RETURN_STRING_SIZE];
  return text;
}
static void rt_commit_return_string(void) {}

/* Calls the form with that signature, such as "map_new(I,I)". Addresses are words, too. */
static int32_t call(const char *signature, ...) {
  int i = 0;
  while (i < function_count && strcmp(functions[i].signature, signature) != 0) ++i;
  if (i == function_count) fail("no such function", signature);
  frame.count = 0;
  va_list arguments;
  va_start(arguments, signature);
  for (const char *at = strchr(signature, '('); *++at && *at != ')' && frame.count < 20;) {
    if (*at != 'I' && *at != 'S') continue;
    frame.kinds[frame.count] = *at;
    frame.words[frame.count++] = va_arg(arguments, int32_t);
  }
  va_end(arguments);
  frame.left = frame.count;
  return functions[i].handler();
}

static int32_t constant(const char *name) {
  for (int i = 0; i < constant_count; ++i)
    if (!strcmp(constants[i].name, name)) return constants[i].value;
  fail("no such constant", name);
  return 0;
}

/* ---- Processes ------------------------------------------------------------------------------- */

enum { BALLS = 5, RUNNING = 2 };
static orb_process processes[BALLS];
static orb_process_node nodes[BALLS];
static orb_locals blocks[BALLS];
static int process_count;

static void spawn(int32_t graph, int32_t x, int32_t y, int32_t size) {
  int i = process_count++;
  memcpy(&blocks[i], locals.words, sizeof blocks[i]); /* as declared: size 100, alpha 255 ... */
  blocks[i].graph = graph, blocks[i].x = x, blocks[i].y = y, blocks[i].size = size;
  processes[i] = (orb_process){.status = RUNNING, .locals = &blocks[i]};
  nodes[i].process = &processes[i];
  if (i > 0) nodes[i - 1].next = &nodes[i];
}
static orb_process_node *proc_first(int32_t zero) { return process_count > zero ? nodes : NULL; }
static orb_process *proc_current(void) { return NULL; } /* all calls here are main's */
static int32_t proc_exists(int32_t id) {
  for (int i = 0; i < process_count; ++i)
    if (id == (int32_t)&processes[i]) return 1;
  return 0;
}

/* ---- Reports and files ----------------------------------------------------------------------- */

static void rt_error(int32_t code, const char *function, int32_t kind, int32_t position,
                     int32_t value) {
  fprintf(stderr, "host: %s: error %d, argument %d: ", function, code, position);
  if (kind == ORB_VALUE_STRING) fprintf(stderr, "%s\n", (const char *)value);
  else fprintf(stderr, "%d\n", value);
}
static void rt_fatal(int32_t level, const char *message) {
  (void)level;
  fail("fatal error", message);
}
static void rt_exit(int32_t code) { exit(code); }
static void rt_signal(int32_t code) { (void)code; }
static const char *rt_program_name(void) { return "A host in C"; }
static const char *path(const char *name, int32_t purpose) { return purpose > 0 ? name : NULL; }

/* ---- The tables ------------------------------------------------------------------------------ */

static uint8_t full_screen;
static int32_t frame_rate = 60, renderer_busy, vsync;
static const orb_process_services process_services = {
  .proc_first = proc_first, .proc_current = proc_current, .proc_exists = proc_exists
};
static const orb_file_services file_services = {.path = path};
static orb_device_system device_system = {
  .full_screen = &full_screen, .frame_rate = &frame_rate, .renderer_busy = &renderer_busy,
  .file = &file_services, .desktop_width = 1024, .desktop_height = 768, .vsync = &vsync
};
static orb_runtime runtime = {
  .rt_globals = (uint8_t *)globals.words, .rt_processes = &process_services,
  .rt_program_name = rt_program_name,
  .rt_unpop_params = rt_unpop_params, .rt_drop_params = rt_drop_params,
  .rt_param_count = rt_param_count, .rt_pop_int = rt_pop_int, .rt_pop_uint = rt_pop_uint,
  .rt_pop_string = rt_pop_string, .rt_pop_pointer = rt_pop_pointer,
  .rt_peek_string = rt_peek_string, .rt_return = rt_return, .rt_take_return = rt_take_return,
  .rt_new_return_string = rt_new_return_string,
  .rt_commit_return_string = rt_commit_return_string, .rt_signal = rt_signal,
  .rt_error = rt_error, .rt_fatal = rt_fatal, .rt_global_offset = rt_global_offset,
  .rt_exit = rt_exit, .rt_device_system = &device_system
};
static struct orb_runtime *reg_runtime(void) { return &runtime; }

/* ---- The program ----------------------------------------------------------------------------- */

orb_main_library_exports ORB_mod_graphics2D_MainLibraryExports;

int main(void) {
  const orb_registration registration = {
    .reg_constants = reg_constants, .reg_globals = reg_globals, .reg_locals = reg_locals,
    .reg_functions = reg_functions, .reg_hooks = reg_hooks, .reg_flags = reg_flags,
    .reg_runtime = reg_runtime
  };
  setenv("SDL_VIDEODRIVER", "dummy", 0); /* unless told otherwise: no window */
  declare(&globals, "struct mouse[1] int file = 0; int graph = 0; int x = 0; int y = 0; "
                    "int angle = 0; int size = 100; int flags = 0; end ");
  if (ORB_mod_graphics2D_MainLibraryExports(&registration) != 1) fail("not registered", "module");
  printf("%d constants, %d functions\n", constant_count, function_count);
  run(ORB_HOOK_INIT);

  call("mode_set(I,I,I,I)", 320, 200, 32, constant("mode_window"));
  for (int i = 0; i < 10; ++i) /* a dusk */
    call("ground_put_rect(I,I,I,I,I,I)", 0, 20 * i, 319, 20 * i + 19,
         call("rgb(I,I,I)", 30 + 20 * i, 30 + 8 * i, 90), 1);
  int32_t ball = call("map_new(I,I)", 40, 40);
  call("map_put_circle(I,I,I,I,I,I,I)", 0, ball, 20, 20, 19, call("rgb(I,I,I)", 240, 120, 60), 1);
  call("map_put_circle(I,I,I,I,I,I,I)", 0, ball, 14, 13, 5, call("rgb(I,I,I)", 255, 230, 180), 1);
  for (int i = 0; i < BALLS; ++i) spawn(ball, 60 * i + 40, 30 + 12 * i, 60 + 20 * i);

  int32_t speeds[BALLS] = {0};
  for (int shown = 0; shown < 60; ++shown) {
    for (int i = 0; i < BALLS; ++i) { /* each process's turn */
      speeds[i] = blocks[i].y >= 170 && speeds[i] > 0 ? -speeds[i] : speeds[i] + 1;
      blocks[i].y += speeds[i];
      blocks[i].angle -= 4000;
    }
    run(ORB_HOOK_FRAME);
  }

  int32_t picture = call("map_new(I,I)", 320, 200);
  call("screen_get(I,I)", 0, picture);
  int32_t saved = call("image_save(I,I,S,I)", 0, picture, "host.png", constant("img_format_png"));
  printf("ball 1 covers %d,%d to %d,%d\n", processes[0].box_x0, processes[0].box_y0,
         processes[0].box_x1, processes[0].box_y1);
  run(ORB_HOOK_RELEASE);
  return saved == 1 ? 0 : 1;
}
