// One random script, from init to release: its calls, and what is checked after them.
#include "fuzz/player.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <SDL.h>
#include <zlib.h>

#include "blit/blit_list.h"
#include "frame/draw_objects.h"
#include "fuzz/display.h"
#include "module/module.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"

bool fuzz::trace_steps;

namespace fuzz {
namespace {

/// The script that is being played, since a host's services carry no context.
player *playing;

/// The files of the world folder.
std::map<std::filesystem::path, file_bytes> kept_files;

played play(std::span<const uint8_t> script, const std::vector<uint8_t> *replies) {
  const std::filesystem::path &folder = world_folder();
  return script.size() < 2 ? played{} : player(script, replies, folder).play();
}

} // namespace

played play_script(std::span<const uint8_t> script) {
  return play(script, nullptr);
}

played play_odd_host(std::span<const uint8_t> input) {
  const size_t half = (input.size() + 1) / 2;
  const std::vector<uint8_t> replies(input.rbegin(), input.rend() - ptrdiff_t(half));
  return play(input.first(half), &replies);
}

const std::filesystem::path &world_folder() {
  static const scratch_folder folder;
  if (kept_files.empty()) {
    for (uint8_t depth = 0; depth < 3; depth++) {
      player filling({&depth, 1}, nullptr, folder.path);
      filling.play_scene("the world");
      filling.play_scene("its files at depth " + std::to_string(8 << depth));
    }
    for (const auto &entry : std::filesystem::directory_iterator(folder.path))
      kept_files[entry.path()] = read_file(entry.path());
  }
  return folder.path;
}

void restore_world_folder() {
  // None is removed while they are listed: some file systems then leave entries out.
  std::vector<std::filesystem::path> there;
  for (const auto &entry : std::filesystem::directory_iterator(world_folder()))
    there.push_back(entry.path());
  for (const auto &path : there)
    std::filesystem::remove_all(path);
  for (const auto &[path, bytes] : kept_files)
    write_file(path, bytes);
}

player::player(std::span<const uint8_t> script, const std::vector<uint8_t> *replies,
               const std::filesystem::path &folder)
    : values(script), lent(64 * (64 * 4 + 64)),
      odd(replies ? std::make_unique<odd_services>(*this, *replies) : nullptr),
      own_world({[&](orbhost::Host &prepared) { prepare(prepared, folder); }}) {
  is_up = true;
}

void player::prepare(orbhost::Host &prepared, const std::filesystem::path &folder) {
  playing = this;
  const int32_t depth = 8 << values.byte() % 3;
  names = {{"$depth", depth}, {"$alpha", depth == 32}};
  const uint8_t manner = values.byte();
  display = {};
  if (manner % 4 == 1) display.listed = listed_modes::few;
  if (manner % 16 == 2) display.listed = listed_modes::none;
  display.depth = 8 << (manner / 4 % 8 < 5 ? manner / 4 % 3 : 0);
  prepared.full_screen = manner >= 192;
  prepared.device_system.desktop_width = 640;
  prepared.device_system.desktop_height = 480;
  prepared.on_error = [this](const orbhost::ErrorReport &) { interrupt(); };
  // A display that SDL won't open is fatal, but if the host continues, so does the module.
  prepared.on_fatal = [this](int32_t, const std::string &message) {
    if (!message.starts_with("SetVideoMode") && !message.starts_with("Unsupported Video Buffer") &&
        (is_up || message != "Error to Create Buffer 2D Surface"))
      broken("fatal", message);
  };
  prepared.on_exit = [](int32_t) {};
  prepared.on_message = [](const std::string &, const std::string &) { playing->interrupt(); };
  prepared.files().set_folder(folder);
  prepared.scroll_services.offset = [](int32_t, int32_t, int32_t *x, int32_t *y) {
    playing->interrupt();
    *x = playing->scroll_x;
    *y = playing->scroll_y;
    return playing->scroll_shown;
  };
  prepared.device_system.scroll = &prepared.scroll_services;
  if (odd) odd->replace(prepared);
}

played player::play() {
  if (odd) odd->lies = false;
  play_scene("the world");
  if (odd) odd->lies = true;
  while (!values.at_end() && mistake.empty() && ++repeats < 1000)
    play_scene("");
  frame();
  if (odd) odd->lies = false;
  check_counts();
  sum_up(values.memory.data(), values.memory.size() * sizeof(int32_t));
  sum_up(lent.data(), lent.size());
  sum_up_surfaces();
  delete_surfaces();
  host.release();
  if (gfxsurfaces || pBlitLists2D || fpg || image_loaded || regions || draws || screen || ground)
    broken("release", "kept something");
  if (has_written) restore_world_folder();
  display = {};
  return {mistake, checksum};
}

void player::broken(const std::string &function, const std::string &what) {
  if (mistake.empty()) mistake = function + ": " + what;
}

// ---- Checksums ----------------------------------------------------------------------------------

void player::sum_up(const void *bytes, size_t size) {
  checksum = uint32_t(crc32(checksum, static_cast<const uint8_t *>(bytes), uInt(size)));
}

/// All surfaces. A graph's control points are as many as it counts.
void player::sum_up_surfaces() {
  if (!gfxsurfaces) return;
  for (const __ORBSurface2D__ *surface = gfxsurfaces->head; surface; surface = surface->next) {
    uint32_t defined = 0;
    for (uint32_t i = 0; surface->cpoints && i <= surface->cpoint_last; i++)
      defined += surface->cpoints[3 * i + 2];
    if (defined != surface->has_cpoints) broken("a surface", "miscounts its control points");
    const uint32_t shape[] = {surface->width, surface->height, uint32_t(surface->depth),
                              surface->alpha_channel, defined};
    sum_up(shape, sizeof shape);
    if (surface->pixels && !surface->is_wrapper) sum_up(surface->pixels, surface->byte_size);
  }
}

/// The visible picture: rows of the display without their padding.
void player::sum_up_display() {
  const SDL_Surface *shown = SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetVideoSurface() : nullptr;
  if (!shown || !shown->pixels) return;
  const auto *row = static_cast<const uint8_t *>(shown->pixels);
  for (int y = 0; y < shown->h; y++, row += shown->pitch)
    sum_up(row, size_t(shown->w) * shown->format->BytesPerPixel);
}

// ---- Frames, processes, calls -------------------------------------------------------------------

void player::frame() {
  host.frame();
  if (const __ORBSurface2D__ *shown = host.screen()) sum_up(shown->pixels, shown->byte_size);
  sum_up_display();
  if (trace_steps) std::fprintf(stderr, "%08x frame\n", checksum);
}

/// The id stays among the values, and the record readable.
void player::kill_at(size_t place) {
  orb_process *process = std::exchange(processes[place], nullptr);
  if (!process) return;
  if (host.processes().current == process) host.processes().current = nullptr;
  if (odd) odd->last_dead = process;
  host.kill(process);
}

bool player::is_process(int32_t id) const {
  return id != 0 && std::ranges::find(values.processes, id) != values.processes.end();
}

void player::interrupt() {
  if (calls_until_kill > 0 && --calls_until_kill == 0) kill_at(size_t(victim));
}

void player::call_back() {
  if (is_inside || !odd || !is_up || !odd->is_odd()) return;
  is_inside = true;
  switch (odd->replies.byte() % 3) {
  case 0: ORB_mod_graphics2D_frame(); break;
  case 1: host.device()->VID_GFXPaint(); break;
  default:
    if (!mode.changing) call_any();
  }
  is_inside = false;
}

void player::call_any() {
  const auto &functions = host.registration().functions;
  const orbhost::Function &function = functions[values.below(functions.size())];
  call(function, values.arguments(function));
}

int32_t player::call(const orbhost::Function &function, std::vector<orbhost::Argument> arguments) {
  has_written |= function.name.find("save") != std::string::npos;
  if (odd && !is_inside) odd->begin_call(function.name);
  const int32_t result = host.call_form(function, arguments);
  if (function.result == orbhost::ResultType::string) {
    const char *answer = reinterpret_cast<const char *>(result);
    const size_t length = answer ? strnlen(answer, ORB_RETURN_STRING_SIZE) : 0;
    if (length == ORB_RETURN_STRING_SIZE) broken(function.signature, "returned an endless text");
    sum_up(answer, length);
  } else if (function.name != "map_get_buffer" && !is_process(result)) {
    // Addresses differ from run to run.
    if (result != orbhost::failure_value) values.add_result(result);
    sum_up(&result, sizeof result);
  }
  if (trace_steps) {
    std::fprintf(stderr, "%08x %s", checksum, function.signature.c_str());
    for (const orbhost::Argument &argument : arguments)
      argument.text() ? std::fprintf(stderr, " \"%s\"", argument.text())
                      : std::fprintf(stderr, " %d", argument.word());
    std::fprintf(stderr, " -> %d\n", result);
  }
  if (is_inside) return result;
  last_function = &function;
  last_arguments = std::move(arguments);
  if (!odd && (host.call_frame().unfetched() || host.call_frame().bad_fetches()))
    broken(function.signature, "didn't fetch its arguments");
  if (host.files().open_count() && (!odd || host.file_services.close))
    broken(function.signature, "left a stream open");
  return result;
}

/// Compares the module's counts with what it holds. Its counts of fixed and locked draw objects
/// differ intentionally. It doesn't count a graph that the host has recorded, but does count its
/// deletion.
void player::check_counts() {
  const auto expect = [this](const char *counter, int32_t held) {
    const int32_t counted = host.call(counter);
    if (counted != held)
      broken(counter, "counts " + std::to_string(counted) + " of " + std::to_string(held));
  };
  int32_t drawn = 0, used = 0, loose = 0;
  for (int32_t i = 0; i < max_draw; i++)
    drawn += draws[i].in_use;
  for (int32_t i = 0; i < max_fpg; i++) {
    const orb_map_slot *slots = fpg[i].slots;
    used += fpg[i].in_use != 0;
    if (i == 0 || !fpg[i].in_use) continue;
    const auto graphs = std::count_if(slots, slots + graphs_per_library,
                                      [](const orb_map_slot &slot) { return slot.surface; });
    if (graphs != fpg[i].map_count) broken("a library", "miscounts its graphs");
  }
  for (int32_t i = first_runtime_code; i < max_map; i++)
    loose += image_loaded[i - first_runtime_code] != 0;
  expect("graphiclib_get_drawspainted", drawn);
  expect("graphiclib_get_fpgsloaded", used);
  expect("graphiclib_get_mapsloaded", loose - recorded);
}

} // namespace fuzz
