#include "host_fake_module.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace fake {
namespace {

State module_state;

orb_runtime &rt() {
  return *module_state.runtime;
}

std::int32_t *global(const char *name) {
  return reinterpret_cast<std::int32_t *>(rt().rt_globals + rt().rt_global_offset(0, name));
}

void called() {
  module_state.caller = rt().rt_processes->proc_current();
}

std::int32_t sum() { // fk_sum(I,I), fk_sum(I,I,I)
  called();
  std::uint32_t total = 0; // wraps
  for (std::int32_t n = rt().rt_param_count(); n > 0; --n)
    total = total * 10 + rt().rt_pop_uint();
  return rt().rt_return(static_cast<std::int32_t>(total));
}

std::int32_t load() { // fk_load(S): reports 144 for anything but "good"
  called();
  const char *name = rt().rt_pop_string();
  module_state.last_text = name ? name : "<null>";
  if (module_state.last_text != "good") {
    rt().rt_error(144, "FK_LOAD", ORB_VALUE_STRING, 1,
                  static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(name)));
    return rt().rt_return(INT32_MIN);
  }
  return rt().rt_return(1);
}

std::int32_t outer() { // fk_outer(S): calls load()
  const char *peeked = rt().rt_peek_string();
  const char *name = rt().rt_pop_string();
  rt().rt_unpop_params(1);
  load();
  const std::int32_t inner = rt().rt_take_return();
  return rt().rt_return(peeked == name ? inner + 100 : -1);
}

std::int32_t mixed() { // fk_mixed(I) and fk_mixed(S): the argument's kind decides
  return rt().rt_return(rt().rt_peek_string() ? 2 : 1);
}

std::int32_t split() { // fk_split(I,IP,IP): tens and ones
  std::int32_t *ones = rt().rt_pop_pointer();
  std::int32_t *tens = rt().rt_pop_pointer();
  const std::int32_t value = rt().rt_pop_int();
  if (tens) *tens += value / 10;
  if (ones) *ones += value % 10;
  return rt().rt_return((tens ? 1 : 0) + (ones ? 2 : 0));
}

std::int32_t fill() { // fk_fill(I,IP): doubles n ints in place
  std::int32_t *array = rt().rt_pop_pointer();
  const std::int32_t n = rt().rt_pop_int();
  for (std::int32_t i = 0; array && i < n; ++i)
    array[i] *= 2;
  return rt().rt_return(array != nullptr);
}

std::int32_t name() { // fk_name(I)
  char *text = rt().rt_new_return_string();
  rt().rt_commit_return_string();
  const std::int32_t n = rt().rt_pop_int();
  std::strcpy(text, n ? "named" : "(null)");
  return rt().rt_return(static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(text)));
}

std::int32_t size() { // fk_size(), "DW"
  return rt().rt_return(static_cast<std::int32_t>(0xFFFFFFF0u));
}

std::int32_t half() { // fk_half(I), "F"
  const float value = static_cast<float>(rt().rt_pop_int()) / 2;
  return rt().rt_return(std::bit_cast<std::int32_t>(value));
}

std::int32_t fail() {
  return rt().rt_return(INT32_MIN);
} // fk_fail()

std::int32_t palette() { // palette_load(I), which fetches a text
  const char *text = rt().rt_pop_string();
  module_state.last_text = text ? text : "<null>";
  return rt().rt_return(1);
}

// map_convert_palette(I,I,I), palette_set_colors(I,I,IP): read the array, and change it
std::int32_t take_array(std::int32_t *array, std::int32_t count) {
  module_state.last_array.assign(array, array + count);
  std::fill_n(array, count, -1);
  return rt().rt_return(1);
}
std::int32_t convert() {
  const auto address = static_cast<std::uintptr_t>(rt().rt_pop_uint());
  return take_array(reinterpret_cast<std::int32_t *>(address), 256);
}
std::int32_t colours() {
  std::int32_t *array = rt().rt_pop_pointer();
  return take_array(array, 3 * rt().rt_pop_int());
}

std::int32_t exists() { // fk_exists(I)
  return rt().rt_return(rt().rt_processes->proc_exists(rt().rt_pop_int()));
}

std::int32_t greedy() { // fk_greedy(I): fetches one argument too many
  rt().rt_pop_int();
  return rt().rt_return(rt().rt_pop_int() + (rt().rt_pop_string() ? 1 : 0));
}

std::int32_t rate() { // fk_rate(I,I)
  const std::int32_t skip = rt().rt_pop_int();
  rt().rt_device_system->timing->set_fps(rt().rt_pop_int(), skip);
  return rt().rt_return(1);
}

std::int32_t init() {
  ++module_state.inits;
  return 0;
}

std::int32_t frame() {
  ++module_state.frames;
  module_state.drawn.clear();
  for (auto *node = rt().rt_processes->proc_first(0); node; node = node->next) {
    const std::int32_t status = node->process->status;
    if (status == 2 || status > 3) {
      module_state.drawn.push_back(
          static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(node->process)));
    }
  }
  *global("fps") = *rt().rt_device_system->frame_rate;
  return 0;
}

std::int32_t release() {
  ++module_state.releases;
  return 0;
}

constexpr const char *globals_text =
    "int dump_type              = 1;int fps                    = 0;int draw_z = -255;"
    "struct video_modes[4] int wide   = 0;int width  = 7;end struct video_bits[3] int bpp = 0;end ";
constexpr const char *locals_text =
    "int  file              = 0;int  graph             = 0;int *xgraph            = 0;"
    "int  x                 = 0;int  y                 = 0;int  z                 = 0;"
    "int  visible           = 1;int  region            = 0;int  resolution        = 0;"
    "int  destination_file  = 0;int  destination_graph = 0;int  tfmorder          = 0;"
    "int  angle             = 0;int  size              = 100;int  size_x            = 100;"
    "int  size_y            = 100;int  shear_x           = 0;int  shear_y           = 0;"
    "int  flags             = 0;int  alpha             = 255;int  fxmode            = 0;"
    "int  fxcolor           = 0;int  fxintensity       = 0;"
    "int  a_local_whose_name_is_too_long_for_lua_to_keep_it_once = 5;";

} // namespace

State &state() {
  return module_state;
}
void reset() {
  module_state = {};
}

std::int32_t entry(const orb_registration *registration) {
  const orb_constant constants[] = {{"fk_one", 1}, {"fk_all", -1}, {"and", 3}, {nullptr, 0}};
  const orb_function functions[] = {
      {"fk_sum(I,I)", "I", 0, sum},         {"fk_sum(I,I,I)", "I", 0, sum},
      {"fk_load(S)", "I", 1, load},         {"fk_outer(S)", "I", 1, outer},
      {"fk_mixed(I)", "I", 0, mixed},       {"fk_mixed(S)", "I", 0, mixed},
      {"fk_split(I,IP,IP)", "I", 0, split}, {"fk_fill(I,IP)", "I", 0, fill},
      {"fk_name(I)", "S", 0, name},         {"fk_size()", "DW", 0, size},
      {"fk_half(I)", "F", 0, half},         {"fk_fail()", "I", 0, fail},
      {"palette_load(I)", "I", 0, palette}, {"fk_exists(I)", "I", 0, exists},
      {"fk_greedy(I)", "I", 0, greedy},     {"fk_rate(I,I)", "I", 0, rate},
      {"map_convert_palette(I,I,I)", "I", 0, convert},
      {"palette_set_colors(I,I,IP)", "I", 0, colours},
      {nullptr, nullptr, 0, nullptr}};
  const orb_hook hooks[] = {
      {ORB_HOOK_INIT, init}, {ORB_HOOK_FRAME, frame}, {ORB_HOOK_RELEASE, release}, {0, nullptr}};
  registration->reg_constants(constants);
  registration->reg_globals(globals_text);
  registration->reg_locals(locals_text);
  registration->reg_functions(functions);
  registration->reg_hooks(hooks);
  registration->reg_flags(32768);
  module_state.runtime = registration->reg_runtime();
  return 1;
}

} // namespace fake
