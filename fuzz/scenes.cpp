// The lines of scenes.txt.
#include <algorithm>
#include <cstring>

#include "fuzz/display.h"
#include "fuzz/foreign_files.h"
#include "fuzz/player.h"
#include "module/module.h"
#include "surface/registry.h"

namespace fuzz {
namespace {

constexpr int most_repeats = 1500;
constexpr size_t most_processes = 3000;

using scene = std::vector<std::vector<std::string>>; // its lines

std::string joined(word_list words) {
  std::string text;
  for (const std::string &word : words)
    text += (text.empty() ? "" : " ") + word;
  return text;
}

/// All scenes by title, and each as often as its weight says.
struct scene_list {
  std::map<std::string, scene> named;
  std::vector<const scene *> honest, odd;

  scene_list() {
    scene *current = nullptr;
    for (auto &line : read_lines("scenes.txt")) {
      if (line[0] != "==") {
        current->push_back(std::move(line));
        continue;
      }
      const std::string title = joined(word_list(line).subspan(2));
      current = &named[title];
      odd.insert(odd.end(), std::stoul(line[1]), current);
      if (!title.starts_with("odd")) honest.insert(honest.end(), std::stoul(line[1]), current);
    }
  }
};

/// call NAME ARGUMENTS [-> $name]
void call(player &p, word_list words) {
  const std::string name = p.word(words[0]).text();
  const bool keeps = words.size() > 2 && words[words.size() - 2] == "->";
  std::vector<orbhost::Argument> arguments;
  for (const std::string &argument : words.subspan(1, words.size() - (keeps ? 3 : 1)))
    arguments.push_back(p.word(argument, arguments.empty() ? 0 : arguments.back().word()));
  const auto form = orbhost::best_form(p.host.registration(), name, arguments);
  if (!form) return p.broken(name, "has no such form");
  const int32_t result = p.call(p.host.registration().functions[*form], std::move(arguments));
  if (keeps) p.names.insert_or_assign(words.back(), result);
}

/// again TIMES: the last call.
void again(player &p, word_list words) {
  for (int32_t left = p.number(words[0]); left > 0 && p.repeats < most_repeats; left--, p.repeats++)
    p.call(*p.last_function, p.last_arguments);
}

/// spawn LOCAL=VALUE...: a process, which becomes the current one.
void spawn(player &p, word_list words) {
  const size_t place = p.next_process++ % p.processes.size();
  p.kill_at(place);
  orb_process *process = p.processes[place] = p.host.processes().current = p.host.spawn();
  p.values.processes[place] = orbhost::ProcessList::id(process);
  p.set(*process, words);
}

/// crowd COUNT LOCAL=VALUE...: processes that stay until they are dispersed.
void crowd(player &p, word_list words) {
  const int32_t count = p.number(words[0]);
  for (int32_t i = 0; i < count && p.crowd.size() < most_processes; i++) {
    p.iteration = i;
    p.set(*p.crowd.emplace_back(p.host.spawn()), words.subspan(1));
  }
}

/// disperse STEP: ends each STEP-th one.
void disperse(player &p, word_list words) {
  const auto step = size_t(p.number(words[0]));
  for (size_t i = 0; i < p.crowd.size(); i += step)
    p.host.kill(p.crowd[i]);
  if (step == 1) p.crowd.clear();
}

/// noise GRAPH SEED: pixels, three in four of them not 0, through the address that scripts get.
void noise(player &p, word_list words) {
  const int32_t graph = p.number(words[0]);
  auto random = uint32_t(p.number(words[1]));
  const orb_map_slot *slot = GetMAP(0, graph);
  if (!slot || !slot->surface) return; // an odd host may have made creating the graph fail
  auto *pixels = static_cast<uint8_t *>(slot->surface->pixels);
  const auto address = int32_t(reinterpret_cast<uintptr_t>(pixels));
  if (!p.odd && p.host.call("map_get_buffer", {0, graph}) != address)
    return p.broken("map_get_buffer", "returns another address");
  for (uint32_t i = 0; i < slot->surface->byte_size; i++)
    pixels[i] = (random = random * 1664525 + 1013904223) >> 30 ? uint8_t(random >> 16) : 0;
}

/// foreign KIND: the file "f" becomes one that the module didn't write, whole or damaged.
void foreign(player &p, word_list words) {
  std::string file = foreign_file(p.word(words[0]).text(), uint16_t(p.values.below(65536)));
  for (int changed = std::max(0, p.values.byte() % 8 - 3); changed > 0; changed--) {
    const size_t at = p.values.below(65536); // mostly in the header
    if (!file.empty()) file[(at & 0x8000 ? at : at % 64) % file.size()] = char(p.values.byte());
  }
  if (const uint8_t cut = p.values.byte(); cut % 8 == 0) file.resize(file.size() * cut / 256);
  if (claims_too_much(file)) file.clear();
  write_file(world_folder() / "f", {file.begin(), file.end()});
  p.has_written = true;
}

/// hooks HOW: a release perhaps, a frame perhaps, calls perhaps, and another init.
void hooks(player &p, word_list words) {
  const int32_t how = p.number(words[0]);
  p.delete_surfaces();
  p.recorded = 0;
  p.is_up = false;
  if (how & 1) ORB_mod_graphics2D_release();
  if (how & 2) ORB_mod_graphics2D_frame();
  for (int calls = how & 4 ? p.values.byte() % 16 : 0; calls > 0; calls--)
    p.call_any();
  ORB_mod_graphics2D_init();
  p.is_up = true;
}

const std::map<std::string, void (*)(player &p, word_list words)> verbs = {
    {"again", again},
    {"any", [](player &p, word_list) { p.call_any(); }},
    // another process becomes the current one
    {"as",
     [](player &p, word_list) {
       p.host.processes().current = p.processes[p.values.byte() % p.processes.size()];
     }},
    {"call", call},
    {"crowd", crowd},
    {"device", [](player &p, word_list) { p.call_device(); }},
    {"disperse", disperse},
    {"foreign", foreign},
    {"frame", [](player &p, word_list) { p.frame(); }},
    {"global",
     [](player &p, word_list words) {
       const std::string name = p.word(words[0]).text();
       const auto index = uint32_t(p.number(words[1]));
       p.host.global(name, index) = p.number(words[2]);
     }},
    {"hooks", hooks},
    {"kill", [](player &p, word_list) { p.kill_at(p.values.byte() % p.processes.size()); }},
    {"noise", noise},
    {"set",
     [](player &p, word_list words) {
       if (orb_process *process = p.host.processes().current) p.set(*process, words);
     }},
    {"spawn", spawn}};

/// host NAME VALUE: a number of the host's own, or of the display's.
int32_t *host_number(player &p, const std::string &name) {
  const std::map<std::string, int32_t *> numbers = {
      {"frame_rate", &p.host.frame_rate},
      {"renderer_busy", &p.host.renderer_busy},
      {"vsync", &p.host.vsync},
      {"desktop_width", &p.host.device_system.desktop_width},
      {"desktop_height", &p.host.device_system.desktop_height},
      {"calls_until_kill", &p.calls_until_kill}, // calls of services until that process ends
      {"victim", &p.victim},
      {"scroll_shown", &p.scroll_shown},
      {"scroll_x", &p.scroll_x},
      {"scroll_y", &p.scroll_y},
      {"pointer_x", &p.host.input().pointer.x},
      {"pointer_y", &p.host.input().pointer.y},
      {"display_depth", &display.depth},
      {"display_refusals", &display.refusals}};
  return numbers.at(name);
}

} // namespace

void player::play_scene(const std::string &title) {
  static const scene_list scenes;
  const auto &steps = odd ? scenes.odd : scenes.honest;
  const scene &chosen =
      title.empty() ? *values.one_of<const scene *>(steps) : scenes.named.at(title);
  for (const auto &line : chosen)
    play_line(line);
}

void player::play_line(word_list words) {
  if (words[0] == "maybe") {
    if (values.byte() % 2) play_line(words.subspan(1));
  } else if (words[0] == "repeat") {
    const int32_t times = number(words[1]);
    for (int32_t i = 0; i < times; i++) {
      iteration = i;
      play_line(words.subspan(2));
    }
  } else if (words[0] == "host") {
    int32_t *const set = host_number(*this, word(words[1]).text());
    *set = number(words[2]);
  } else {
    verbs.at(words[0])(*this, words.subspan(1));
  }
}

orbhost::Argument player::word(const std::string &text, int32_t before) {
  std::string chosen = text;
  if (const auto bars = std::ranges::count(text, '|')) {
    size_t from = 0;
    for (int skipped = values.byte() % (bars + 1); skipped > 0; skipped--)
      from = text.find('|', from) + 1;
    chosen = text.substr(from, text.find('|', from) - from);
  }
  if (chosen == "null") return static_cast<const char *>(nullptr);
  if (chosen == "\"\"") return "";
  if (chosen == "&") return values.memory.data();
  if (chosen[0] == '$') return names.at(chosen);
  if (chosen[0] == '?') return values.value(chosen[1], before);
  char *end = nullptr;
  const int32_t first = int32_t(strtol(chosen.c_str(), &end, 10));
  if (*end == '#') return first + iteration % std::stoi(end + 1);
  if (*end == '~') return first + values.byte() % (std::stoi(end + 1) - first + 1);
  return *end ? orbhost::Argument(chosen) : orbhost::Argument(first);
}

/// LOCAL=VALUE or FIELD=VALUE; `?=` is any local, and `=?` a value of its kind.
void player::set(orb_process &process, word_list words) {
  static constexpr char kinds[] = "fgGxxxurufgoazzzhhnlecl"; // in the order of orb_locals
  static_assert(sizeof kinds - 1 == sizeof(orb_locals) / 4);
  for (const std::string &assignment : words) {
    const size_t sign = assignment.find('=');
    const std::string which = assignment.substr(0, sign);
    const std::string name = which == "?" ? "" : word(which).text();
    const orbhost::Declaration *declared = host.locals().find(name);
    const size_t local = declared ? declared->word : values.byte() % (sizeof kinds - 1);
    const std::string text = assignment.substr(sign + 1);
    const int32_t to = text == "?" ? values.value(kinds[local]) : number(text);
    if (name == "type" || name == "status" || name == "coordinates") {
      (name[0] == 't' ? process.type : name[0] == 's' ? process.status : process.coordinates) = to;
    } else if (kinds[local] == 'G') { // a count, plausible or not, and graphs
      directions.assign(258, 1000);
      directions[0] = to;
      for (int32_t i = 1; i < 6; i++)
        directions[size_t(i)] = values.byte() % 8 ? 999 + i : values.value('g');
      process.locals->xgraph = to % 4 ? directions.data() : nullptr;
    } else {
      reinterpret_cast<int32_t *>(process.locals)[local] = to;
    }
  }
}

} // namespace fuzz
