// One program, tour.calls, in hosts of any kind; and calls of every function.
#pragma once

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "fuzz/script_arguments.h"
#include "fuzz/world.h"
#include "support/transcript.h"

using traces = std::map<std::string, std::vector<std::string>>; ///< by part and depth

/// What the tour shows in hosts that have been changed; their files are those of the fuzz targets.
inline traces tour_of(const host_change &change = {}) {
  traces seen;
  fuzz::world_folder(); // made by hosts of its own
  for (const int32_t depth : {8, 32})
    for (const char *part : {"the rest", "processes", "files"}) {
      const auto prepare = [&](orbhost::Host &host) {
        host.files().set_folder(fuzz::world_folder().path());
        host.device_system.scroll = &host.scroll_services;
        host.scroll_services.offset = [](int32_t, int32_t number, int32_t *x,
                                         int32_t *y) -> int32_t {
          *x = *y = number;
          return number == 3;
        };
        if (change.prepare) change.prepare(host);
      };
      seen[part + std::string(" at ") + std::to_string(depth)] =
          trace_of(tests_folder("hostile") / "tour.calls", part, depth, {prepare, change.entry});
      fuzz::world_folder().restore();
    }
  return seen;
}

/// Calls every function again and again, with arguments that often mean something.
inline void call_everything(orbhost::Host &host, std::mt19937 &random, int rounds) {
  std::vector<int32_t> memory(fuzz::script_memory_words);
  fuzz::script_handles handles;
  std::vector<uint8_t> bytes(200);
  for (int round = 0; round < rounds; ++round)
    for (const orbhost::Function &function : host.registration().functions) {
      std::generate(bytes.begin(), bytes.end(), [&] { return uint8_t(random()); });
      fuzz::script_reader script(bytes);
      handles.add_result(
          host.call_form(function, fuzz::read_arguments(script, handles, function, memory)));
    }
}
