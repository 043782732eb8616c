// One program, tour.calls, in hosts of any kind; and calls of every function.
#pragma once

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "fuzz/player.h"
#include "support/transcript.h"

using traces = std::map<std::string, std::vector<std::string>>; ///< by part and depth

/// What the tour shows in hosts that have been changed; their files are those of the fuzz targets.
inline traces tour_of(const host_change &change = {}) {
  traces seen;
  fuzz::world_folder(); // made by hosts of its own
  for (const int32_t depth : {8, 32})
    for (const char *part : {"the rest", "processes", "files"}) {
      const auto prepare = [&](orbhost::Host &host) {
        host.files().set_folder(fuzz::world_folder());
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
      fuzz::restore_world_folder();
    }
  return seen;
}

/// Calls every function again and again, with arguments that often mean something.
inline void call_everything(orbhost::Host &host, std::mt19937 &random, int rounds) {
  std::vector<uint8_t> bytes(100000);
  std::ranges::generate(bytes, [&] { return uint8_t(random()); });
  fuzz::script_values values(bytes);
  for (int round = 0; round < rounds; ++round)
    for (const orbhost::Function &function : host.registration().functions)
      values.add_result(host.call_form(function, values.arguments(function)));
}
