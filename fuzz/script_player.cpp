// One random script, from init to release: its steps, and what is checked after them.
#include "fuzz/script_player.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include <SDL.h>
#include <zlib.h>

#include "boundary/errors.h"
#include "frame/draw_objects.h"
#include "fuzz/script_arguments.h"
#include "fuzz/script_display.h"
#include "fuzz/script_playing.h"
#include "fuzz/world.h"
#include "module/module.h"
#include "surface/registry.h"
#include "surface/surface.h"

bool fuzz::trace_steps;

namespace fuzz {
namespace {

/// Limits for one script, since it must end.
constexpr int most_steps = 300, most_repeats = 600;

/// The script that is being played, since a host's services carry no context.
player *playing;

} // namespace

player::player(std::span<const uint8_t> script, const std::filesystem::path &folder,
               bool full_screen)
    : script_(script), memory_(script_memory_words),
      host_({.full_screen = full_screen, .desktop_width = 640, .desktop_height = 480}) {
  for (size_t i = 0; i < memory_.size(); i++)
    memory_[i] = int32_t(i * 37 % 256);
  playing = this;
  lent_.resize(lent_bytes);
  host_.on_error = [this](const orbhost::ErrorReport &) { interrupt(); };
  // A display that SDL won't open is fatal, but if the host continues, so does the module.
  host_.on_fatal = [this](int32_t, const std::string &message) {
    if (!message.starts_with("SetVideoMode") && !message.starts_with("Unsupported Video Buffer"))
      broken("fatal", message);
  };
  host_.on_exit = [](int32_t) {};
  host_.on_message = [](const std::string &, const std::string &) {};
  host_.files().on_loss = [](const std::string &, const std::string &) {};
  host_.files().set_folder(folder);
  host_.scroll_services.offset = [](int32_t, int32_t, int32_t *x, int32_t *y) {
    playing->interrupt();
    *x = playing->scroll_.x;
    *y = playing->scroll_.y;
    return playing->scroll_.shown;
  };
  host_.device_system.scroll = &host_.scroll_services;
  host_.attach(ORB_mod_graphics2D_MainLibraryExports);
  host_.init();
}

void player::play(int32_t depth) {
  make_world(host_, depth, [this](int32_t type) { return spawn(type); });
  for (int done = 0; done < most_steps && !script_.at_end() && mistake_.empty(); done++)
    step();
  frame();
  check_counts();
  sum_up(memory_.data(), memory_.size() * sizeof memory_[0]);
  sum_up(lent_.data(), lent_.size());
  if (gfxsurfaces)
    for (const __ORBSurface2D__ *surface = gfxsurfaces->head; surface; surface = surface->next)
      if (!surface->is_wrapper) sum_up(*surface);
  delete_surfaces();
}

void player::step() {
  switch (const uint8_t kind = script_.byte(); kind % 24) {
  case 0:
  case 1: frame(); break;
  case 2: spawn(kind / 24 % 3); break;
  case 3: kill_at(script_.below(processes_.size())); break;
  case 4:
  case 5:
  case 6: set_local(); break;
  case 7: set_global(); break;
  case 8: set_process(); break;
  case 9: call(script_.byte()); break;
  case 10:
  case 11:
  case 12: scene(); break;
  case 13: device_call(); break;
  default: call(0); break;
  }
}

// ---- Checksums ----------------------------------------------------------------------------------

void player::sum_up(const void *bytes, size_t size) {
  checksum_ = uint32_t(crc32(checksum_, static_cast<const uint8_t *>(bytes), uInt(size)));
}

void player::sum_up(const __ORBSurface2D__ &surface) {
  const uint32_t shape[] = {surface.width, surface.height, uint32_t(surface.depth),
                            surface.alpha_channel, surface.has_cpoints};
  sum_up(shape, sizeof shape);
  if (surface.pixels) sum_up(surface.pixels, surface.byte_size);
}

/// The visible picture: rows of the display without their padding.
void player::sum_up_display() {
  const SDL_Surface *shown = SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetVideoSurface() : nullptr;
  if (!shown || !shown->pixels) return;
  const auto *row = static_cast<const uint8_t *>(shown->pixels);
  for (int y = 0; y < shown->h; y++, row += shown->pitch)
    sum_up(row, size_t(shown->w) * shown->format->BytesPerPixel);
}

void player::frame() {
  host_.frame();
  if (const __ORBSurface2D__ *screen = host_.screen()) sum_up(screen->pixels, screen->byte_size);
  sum_up_display();
  if (trace_steps) std::fprintf(stderr, "%08x frame\n", checksum_);
}

// ---- Processes ----------------------------------------------------------------------------------

orb_process *player::spawn(int32_t type) {
  const size_t place = next_process_++ % processes_.size();
  if (processes_[place]) host_.kill(processes_[place]);
  processes_[place] = host_.spawn(type);
  handles_.processes[place] = orbhost::ProcessList::id(processes_[place]);
  host_.processes().current = processes_[place];
  return processes_[place];
}

/// The id stays among the handles.
void player::kill_at(size_t place) {
  orb_process *&process = processes_[place];
  if (process) host_.kill(process);
  process = nullptr;
}

void player::interrupt() {
  if (interrupts_until_kill_ > 0 && --interrupts_until_kill_ == 0) kill_at(victim_);
}

void player::set_local() {
  orb_process *process = chosen_process();
  const size_t local = script_.below(sizeof(orb_locals) / 4);
  if (process) set_local(*process, local);
}

void player::set_local(orb_process &process, size_t local) {
  // In the order of orb_locals; the third is xgraph.
  static constexpr char kinds[] = "fg xxxurufgoazzzhhnlecl";
  static_assert(sizeof kinds - 1 == sizeof(orb_locals) / 4);
  if (local == 2) return directions(process);
  const int32_t set_to = value(kinds[local]);
  memcpy(reinterpret_cast<int32_t *>(process.locals) + local, &set_to, 4);
}

/// xgraph: a count, plausible or not, and graphs, the first ones mirrored or not.
void player::directions(orb_process &process) {
  const bool none = script_.byte() % 4 == 0;
  directions_.assign(258, 1000);
  directions_[0] = value('x');
  for (size_t i = 1; i < 6; i++)
    directions_[i] = script_.byte() % 8 ? 999 + int32_t(i) : value('g');
  process.locals->xgraph = none ? nullptr : directions_.data();
}

void player::set_process() {
  static constexpr int32_t states[] = {2, 2, 3, 4, 0, 1, 5, -1};
  orb_process *process = chosen_process();
  const uint8_t what = script_.byte();
  if (what % 4 == 0) scroll_ = {what / 4 % 2, value('x'), value('x')};
  if (!process) return;
  if (what % 4 == 1) process->coordinates = what / 4 % 4;
  if (what % 4 == 2) process->status = states[what / 4 % 8];
  if (what % 4 == 3) host_.processes().current = process;
}

void player::set_global() {
  static constexpr struct {
    const char *name;
    uint32_t index;
    char kind;
  } globals[] = {{"dump_type", 0, 'u'},    {"restore_type", 0, 'u'},
                 {"fading", 0, 'u'},       {"vsync", 0, 'u'},
                 {"draw_z", 0, 'x'},       {"draw_destination_file", 0, 'f'},
                 {"draw_visible", 0, 'u'}, {"draw_destination_graph", 0, 'g'},
                 {"mouse", 0, 'f'},        {"mouse", 1, 'g'},
                 {"mouse", 2, 'x'},        {"mouse", 3, 'x'},
                 {"mouse", 4, 'a'},        {"mouse", 5, 'z'},
                 {"mouse", 6, 'n'}};
  const auto &global = globals[script_.below(std::size(globals))];
  host_.global(global.name, global.index) = value(global.kind);
}

// ---- Calls --------------------------------------------------------------------------------------

/// Makes one call, repeated `again` times so that lists grow.
void player::call(int again) {
  const auto &functions = host_.registration().functions;
  const orbhost::Function &function = functions[script_.word() % functions.size()];
  const std::vector<orbhost::Argument> arguments =
      read_arguments(script_, handles_, function, memory_);
  make_call(function, arguments);
  for (; again > 0 && repeats_ < most_repeats; again--, repeats_++)
    make_call(function, arguments);
}

int32_t player::call(const char *name, const std::vector<orbhost::Argument> &arguments) {
  const auto form = orbhost::best_form(host_.registration(), name, arguments);
  if (!form) {
    broken(name, "has no such form");
    return script_failure;
  }
  return make_call(host_.registration().functions[*form], arguments);
}

int32_t player::make_call(const orbhost::Function &function,
                          const std::vector<orbhost::Argument> &arguments) {
  has_written_ |= function.name.find("save") != std::string::npos;

  const int32_t result = host_.call_form(function, arguments);
  if (function.result == orbhost::ResultType::string) {
    const char *answer = reinterpret_cast<const char *>(result);
    const size_t length = strnlen(answer, ORB_RETURN_STRING_SIZE);
    if (length == ORB_RETURN_STRING_SIZE) broken(function.signature, "returned an endless text");
    sum_up(answer, length);
  } else if (function.name != "map_get_buffer" && !is_process(result)) {
    // Addresses differ from run to run.
    if (result != script_failure) handles_.add_result(result);
    sum_up(&result, sizeof result);
  }
  if (trace_steps) {
    std::fprintf(stderr, "%08x %s", checksum_, function.signature.c_str());
    for (const orbhost::Argument &argument : arguments)
      argument.text() ? std::fprintf(stderr, " \"%s\"", argument.text())
                      : std::fprintf(stderr, " %d", argument.word());
    std::fprintf(stderr, " -> %d\n", result);
  }
  if (host_.call_frame().unfetched() || host_.call_frame().bad_fetches())
    broken(function.signature, "didn't fetch its arguments");
  if (host_.files().open_count()) broken(function.signature, "left a stream open");
  return result;
}

bool player::is_process(int32_t id) const {
  return std::ranges::find(handles_.processes, id) != handles_.processes.end() && id != 0;
}

/// Compares the module's counts with what it holds. Its counts of fixed and locked draw objects
/// differ intentionally. It doesn't count a graph that the host has recorded, but does count its
/// deletion.
void player::check_counts() {
  const auto expect = [this](const char *counter, int32_t held) {
    const int32_t counted = host_.call(counter);
    if (counted != held)
      broken(counter, "counts " + std::to_string(counted) + " of " + std::to_string(held));
  };
  int32_t drawn = 0, used = 0, loose = 0;
  for (int32_t i = 0; i < max_draw; i++)
    drawn += draws[i].in_use;
  for (int32_t i = 0; i < max_fpg; i++)
    used += fpg[i].in_use != 0;
  for (int32_t i = first_runtime_code; i < max_map; i++)
    loose += image_loaded[i - first_runtime_code] != 0;
  expect("graphiclib_get_drawspainted", drawn);
  expect("graphiclib_get_fpgsloaded", used);
  expect("graphiclib_get_mapsloaded", loose - recorded_);
}

played play_script(std::span<const uint8_t> script) {
  if (script.size() < 2) return {};
  const uint8_t first = script[0], second = script[1];
  scratch_folder &files = world_folder();
  display = {};
  if (second % 4 == 1) display.listed = listed_modes::few;
  if (second % 16 == 2) display.listed = listed_modes::none;
  display.depth = depths[first / 3 % 8 % 3];
  if (first / 3 % 8 > 4) display.depth = 8;
  played outcome;
  {
    player plays(script.subspan(2), files.path(), second / 4 % 4 == 1);
    plays.play(depths[first % 3]);
    if (plays.has_written()) files.restore();
    outcome = plays.outcome();
  }
  display = {};
  return outcome;
}

} // namespace fuzz
