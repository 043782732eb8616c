// Sequences that single random steps seldom produce. They also take their values from the script.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "boundary/errors.h"
#include "fuzz/foreign_files.h"
#include "fuzz/script_arguments.h"
#include "fuzz/script_display.h"
#include "fuzz/script_playing.h"
#include "fuzz/world.h"
#include "surface/registry.h"

namespace fuzz {
namespace {

constexpr int most_crowds = 3, most_repeated_frames = 6;

constexpr struct {
  const char *function, *kinds;
} primitives[] = {{"map_put_rect", "fgxxxxcu"},    {"map_put_srect", "fgxxsscu"},
                  {"map_put_csrect", "fgxxsscu"},  {"map_put_circle", "fgxxxcu"},
                  {"map_put_ellipse", "fgxxxxcu"}, {"map_put_csellipse", "fgxxxxcu"},
                  {"map_put_line", "fgxxxxc"},     {"map_put_pixel", "fgxxcl"}};

/// A height that keeps a screen of this width small enough.
int32_t fitting_height(int32_t width, int32_t height) {
  return int32_t(
      std::clamp<int64_t>(height, 1, std::max<int64_t>(most_pixels / std::max(width, 1), 1)));
}

} // namespace

void player::scene() {
  static constexpr void (player::*scenes[])() = {&player::library_and_modes,
                                                 &player::virtual_resolution,
                                                 &player::filters,
                                                 &player::crowd,
                                                 &player::drawing_on_graph,
                                                 &player::collisions,
                                                 &player::own_pixels,
                                                 &player::fade,
                                                 &player::palette_change,
                                                 &player::blends,
                                                 &player::foreign_file,
                                                 &player::foreign_file,
                                                 &player::display_change,
                                                 &player::blends,
                                                 &player::saving,
                                                 &player::many_draws};
  (this->*script_.one_of(scenes))();
}

/// Spawns a process with that graph, and makes it the current one.
orb_process *player::show(int32_t file, int32_t graph) {
  orb_process *process = spawn(script_.byte() % 3);
  process->locals->file = file;
  process->locals->graph = graph;
  process->locals->x = script_.byte() % 64;
  process->locals->y = script_.byte() % 48;
  return process;
}

/// Loads and shows a library, changes the depth, and unloads the library while it is shown.
void player::library_and_modes() {
  static constexpr const char *names[] = {"8.fpg", "16.fpg", "32.fpg", "c.fpg"};
  const int32_t library = call("fpg_load", {script_.one_of(names)});
  const uint8_t order = script_.byte();
  for (int32_t graph = 1; graph <= 3; graph++)
    show(library, graph)->locals->flags = value('n');
  if (order & 1) frame();
  call("mode_set", {64, 48, script_.one_of(depths)});
  if (order & 2) frame();
  if (order & 4) {
    call("fpg_unload_map", {library, 2});
    frame();
  }
  call("fpg_unload", {library});
  if (order & 8) frame();
  if (order & 16) call("mode_set", {64, 48, script_.one_of(depths)});
  if (order & 32) call("fpg_load", {script_.one_of(names)});
  frame();
}

void player::virtual_resolution() {
  const int32_t width = value('w'), height = fitting_height(width, value('w'));
  call("virtualresolution_set", {width, height, script_.byte() % 2, script_.byte() % 4 != 0});
  frame();
  const uint8_t next = script_.byte();
  if (next & 1) call("mode_set_filter", {value('q'), value('j')});
  if (next & 2) call("mode_set", {100, 75, script_.one_of(depths)});
  frame();
  if (next & 4) call("mode_change", {value('k')});
  if (next & 8) call("virtualresolution_set", {0, 0, 0, 1});
  frame();
}

/// Scales and scan lines at a size and a depth, with partial and with complete frames.
void player::filters() {
  const int32_t width = value('w'), height = fitting_height(width, value('w'));
  call("mode_set", {width, height, script_.one_of(depths), value('k'), value('q'), value('j')});
  host_.global("dump_type") = value('u');
  host_.global("restore_type") = value('u');
  show(0, 1000 + script_.byte() % 4);
  frame();
  if (orb_process *process = host_.processes().current) process->locals->x += 7;
  frame();
  if (script_.byte() & 1) {
    call("mode_set_filter", {value('q'), value('j')});
    frame();
  }
}

/// More processes than the initial capacity of the request list; they end after two frames.
void player::crowd() {
  if (crowds_++ >= most_crowds) return;
  static constexpr size_t counts[] = {50, 200, 700, 1100, 1400};
  const size_t count = script_.one_of(counts);
  const int32_t graph = value('g'), z_step = int8_t(script_.byte());
  const size_t local = script_.below(sizeof(orb_locals) / 4);
  // Single pixels on a grid leave more boxes than a frame has zones.
  const uint8_t manner = script_.byte();
  const int32_t common = manner % 2 ? 1003 : 1000, columns = manner & 2 ? 21 : 64;
  if (manner & 4) host_.global("dump_type") = host_.global("restore_type") = 0;
  std::vector<orb_process *> crowd;
  for (size_t i = 0; i < count; i++) {
    orb_process *process = crowd.emplace_back(host_.spawn(int32_t(i % 4)));
    process->locals->graph = i % 5 ? common : graph;
    process->locals->x = int32_t(i) % columns * (64 / columns);
    process->locals->y = int32_t(i) / columns * (64 / columns) % 48;
    process->locals->z = int32_t(i) * z_step;
  }
  if (local != 2) set_local(*crowd[count / 2], local);
  frame();
  for (size_t i = 0; i < count; i += 1 + script_.byte() % 64)
    host_.kill(crowd[i]);
  frame();
  for (orb_process *process : crowd)
    host_.kill(process);
}

/// Draw objects and processes on a graph, which is unloaded while they refer to it.
void player::drawing_on_graph() {
  const int32_t graph = call("map_new", {value('s') % 256, 40, value('c')});
  host_.global("draw_destination_file") = 0;
  host_.global("draw_destination_graph") = graph;
  host_.global("draw_visible") = 1;
  for (int i = script_.byte() % 4; i >= 0; i--)
    call("draw_new", {value('y'), value('c'), value('l'), value('r'), value('x'), value('x'),
                      value('x'), value('x')});
  orb_process *process = show(0, 1000);
  process->locals->destination_graph = graph;
  frame();
  const uint8_t next = script_.byte();
  if (next & 1) {
    call("map_unload", {graph});
    frame();
  }
  if (next & 2) {
    call("mode_set", {64, 48, script_.one_of(depths)});
    frame();
  }
  if (next & 4) call("draw_delete", {next & 8 ? -1 : value('d')});
  host_.global("draw_destination_graph") = 0;
  if (next & 16) call("map_unload", {-1});
  frame();
}

/// Overlapping processes, and the mouse; one process may end in the middle of a walk.
void player::collisions() {
  for (int i = script_.byte() % 3; i >= 0; i--) {
    orb_process *process = show(0, 1000 + script_.byte() % 4);
    process->locals->x = process->locals->y = 20 + script_.byte() % 8;
    for (int changed = script_.byte() % 3; changed > 0; changed--)
      set_local(*process, 11 + script_.below(8)); // from tfmorder to flags
    process->coordinates = script_.byte() % 4 == 0;
  }
  if (const orb_map_slot *slot = GetMAP(0, 1000);
      slot && slot->surface && script_.byte() % 4 == 0) {
    slot->surface->pivot_override = 1;
    slot->surface->pivot_x = slot->surface->pivot_y = script_.byte();
  }
  host_.global("mouse", 0) = 0;
  host_.global("mouse", 1) = 1000 + script_.byte() % 5;
  host_.global("mouse", 4) = value('a');
  host_.global("mouse", 5) = value('z');
  host_.input().pointer.x = script_.byte() % 64;
  host_.input().pointer.y = script_.byte() % 48;
  frame();
  victim_ = script_.below(processes_.size());
  interrupts_until_kill_ = script_.byte() % 32;
  for (int i = script_.byte() % 8; i >= 0; i--) {
    const uint8_t form = script_.byte();
    const char *const name = form % 2 ? "collision" : "overlap";
    const int32_t target = value('t');
    switch (form / 2 % 4) {
    case 0: call(name, {value('x'), value('x'), target}); break;
    case 1: call(name, {value('p'), target}); break;
    default: // one hit a call, then none
      for (int again = form / 8 % 8; again >= 0; again--)
        call(name, {target});
    }
  }
  interrupts_until_kill_ = 0;
}

/// Writes pixels through the address that a script can get, and uses them.
void player::own_pixels() {
  const int32_t width = value('s') % 256, height = value('s') % 256;
  const int32_t graph = call("map_new", {width, height, 0, script_.byte() % 2});
  const int32_t address = call("map_get_buffer", {0, graph});
  const orb_map_slot *const slot = GetMAP(0, graph);
  if (address == script_failure || !slot || !slot->surface) return;
  auto *const pixels = reinterpret_cast<uint8_t *>(uintptr_t(uint32_t(address)));
  const uint8_t first = script_.byte(), step = script_.byte();
  for (uint32_t i = 0; i < slot->surface->byte_size; i++)
    pixels[i] = uint8_t(first + i * step + i / 256 * 11);
  orb_process *process = show(0, graph);
  for (int changed = script_.byte() % 4; changed > 0; changed--)
    set_local(*process, 11 + script_.below(12)); // from tfmorder on
  frame();
  for (int i = script_.byte() % 4; i > 0; i--) {
    const auto &primitive = script_.one_of(primitives);
    std::vector<orbhost::Argument> arguments;
    for (const char *kind = primitive.kinds; *kind; kind++)
      arguments.push_back(value(*kind));
    arguments[1] = graph;
    arguments[0] = 0;
    call(primitive.function, arguments);
  }
  if (const uint8_t copied = script_.byte(); copied % 2)
    call(copied & 2 ? "screen_copy" : "ground_copy",
         {copied / 4 % 2, 0, graph, value('x'), value('x'), value('s'), value('s')});
  frame();
}

void player::fade() {
  call("screen_fade", {value('v'), value('v'), value('v'), script_.byte() % 80});
  for (int i = script_.byte() % most_repeated_frames; i >= 0; i--)
    frame();
  const uint8_t next = script_.byte();
  if (next & 1) call("mode_set", {64, 48, script_.one_of(depths)});
  if (next & 2) call(next & 4 ? "screen_fade_out" : "screen_fade_in", {});
  frame();
}

/// Changes colours under ghosts, drawings and a filled screen.
void player::palette_change() {
  static constexpr const char *names[] = {"8.pal", "8.png", "8.pcx", "8.bmp", "8.fpg", "8.map"};
  show(0, 1000 + script_.byte() % 4)->locals->flags = 4 | value('n');
  call("draw_new", {3, value('c'), value('l'), 0, 2, 2, 60, 40});
  for (int i = script_.byte() % 4; i >= 0; i--) {
    switch (script_.byte() % 6) {
    case 0: call("palette_load", {script_.one_of(names)}); break;
    case 1: call("palette_force", {script_.one_of(names)}); break;
    case 2: call("palette_roll", {value('x'), value('x'), value('x')}); break;
    case 3: call("palette_set_color", {value('c'), value('v'), value('v'), value('v')}); break;
    case 4: call("palette_set_colors", {value('x'), value('x'), memory_.data()}); break;
    default: call("screen_set_color", {value('v'), value('v'), value('v')}); break;
    }
    frame();
  }
}

/// A process with many properties set, and the same drawn on a graph.
void player::blends() {
  orb_process *process = show(0, 1000 + script_.byte() % 4);
  for (int changed = script_.byte() % 8; changed > 0; changed--)
    set_local(*process, 7 + script_.below(16)); // from region on
  frame();
  const orb_locals &l = *process->locals;
  switch (script_.byte() % 5) {
  case 0:
    call("map_apply_fx",
         {0, 1000 + script_.byte() % 4, l.fxmode, l.alpha, int32_t(l.fxcolor), l.fxintensity});
    break;
  case 1:
    call("map_xxput", {0, 1002, 1000 + script_.byte() % 4, value('x'), value('x'), l.tfmorder,
                       l.angle, l.size_x, l.size_y, l.shear_x, l.shear_y, l.flags, l.alpha,
                       l.fxmode, int32_t(l.fxcolor), l.fxintensity});
    break;
  case 2:
    call("map_put_tile", {0, 1002, 1000 + script_.byte() % 4, value('x'), value('x'), l.flags,
                          l.alpha, l.fxmode, int32_t(l.fxcolor), l.fxintensity});
    break;
  case 3:
    call("ground_put_tile", {0, 1000 + script_.byte() % 4, value('x'), value('x'), l.flags, 0,
                             l.alpha, l.fxmode, int32_t(l.fxcolor), l.fxintensity});
    break;
  default:
    call("map_block_copy",
         {0, 1002, value('x'), value('x'), 1000 + script_.byte() % 4, value('x'), value('x'),
          value('s'), value('s'), l.flags, l.alpha, l.fxmode, int32_t(l.fxcolor), l.fxintensity});
    break;
  }
  frame();
}

/// A foreign file, whole or damaged, and the functions that read such files.
void player::foreign_file() {
  static constexpr struct {
    const char *function;
    foreign_kind suits;
  } readers[] = {{"image_load", foreign_kind::any},   {"image_load", foreign_kind::any},
                 {"map_load", foreign_kind::map},     {"fpg_load", foreign_kind::fpg},
                 {"load_pcx", foreign_kind::any},     {"screen_load", foreign_kind::any},
                 {"palette_load", foreign_kind::any}, {"fpg_load_map", foreign_kind::fpg}};
  const auto &reader = script_.one_of(readers);
  const bool suiting = script_.byte() % 8;
  std::string file = fuzz::foreign_file(suiting ? reader.suits : foreign_kind::any, script_.word());
  for (int changed = std::max(0, script_.byte() % 8 - 3); changed > 0; changed--) {
    const size_t at = script_.word(); // mostly in the header
    if (!file.empty()) file[(at & 0x8000 ? at : at % 64) % file.size()] = char(script_.byte());
  }
  if (const uint8_t cut = script_.byte(); cut % 8 == 0) file.resize(file.size() * cut / 256);
  if (claims_too_much(file)) return;
  std::ofstream(host_.files().path("f", true), std::ios::binary) << file;
  has_written_ = true;
  const std::string function = reader.function;
  const int32_t loaded = function == "fpg_load_map" ? call("fpg_load_map", {"f", 1, value('g')})
                                                    : call(function.c_str(), {"f"});
  show(function == "fpg_load" ? loaded : 0, function == "fpg_load" ? 1 : loaded);
  frame();
}

/// Saves a graph in each kind of file and loads it, at another depth or the same.
void player::saving() {
  const int32_t width = value('s'), height = fitting_height(width, value('s'));
  const int32_t graph = call("map_new", {width, height, value('c')});
  call("map_xput", {0, graph, 1000 + script_.byte() % 4, 20, 20, value('a'), 300, 0});
  const int32_t format = value('i'), parameter = value('u');
  call("image_save", {0, graph, "s", format, parameter});
  call("map_save", {0, graph, "out.map", parameter, script_.byte() % 2 ? "key" : ""});
  call("fpg_save", {script_.byte() % 2, "out.fpg", parameter, script_.byte() % 2 ? "key" : ""});
  if (script_.byte() % 4 == 0) call("mode_set", {64, 48, script_.one_of(depths)});
  show(0, call("image_load", {"s", script_.byte() % 2 ? "key" : ""}));
  call("map_load", {"out.map", script_.byte() % 2 ? "key" : ""});
  call("fpg_load", {"out.fpg", script_.byte() % 2 ? "key" : ""});
  frame();
}

/// More draw objects than the initial capacity of their list.
void player::many_draws() {
  if (crowds_++ >= most_crowds) return;
  const int32_t type = value('y'), alpha = value('l'), region = value('r');
  const int32_t count = 8 * script_.byte();
  for (int32_t i = 0; i < count; i++)
    call("draw_new", {type, i % 64, alpha, region, i % 64, i % 48, (i + 9) % 64, (i + 5) % 48});
  frame();
  if (script_.byte() % 2) call("draw_delete", {-1});
}

/// Changes the display from the next mode on.
void player::display_change() {
  display.depth = script_.one_of({8, 16, 32, 16, 32, 24});
  display.refusals = std::max(0, script_.byte() % 16 - 8);
  const int32_t width = value('w'), height = fitting_height(width, value('w'));
  call("mode_set", {width, height, script_.one_of(depths), value('k')});
  frame();
}

} // namespace fuzz
