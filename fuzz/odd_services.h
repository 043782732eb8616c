// A host's services that sometimes reply oddly: missing texts, streams that lie, processes that are
// gone, pointers left out. Bytes choose when and what.
#pragma once

#include <string>
#include <vector>

#include "fuzz/values.h"
#include "host/host.h"

namespace fuzz {

struct player;

class odd_services {
public:
  odd_services(player &script, const std::vector<uint8_t> &replies)
      : replies(replies), script_(script) {}

  /// Replaces a host's services, and sets some or all of the pointers that may be null to null.
  void replace(orbhost::Host &host);
  /// Whether the next reply is odd.
  bool is_odd() { return lies && replies.byte() >= 180; }
  /// To be called before a script function.
  void begin_call(const std::string &function);

  bool lies = true;
  script_values replies;
  orb_process *last_dead = nullptr;

private:
  friend struct service;

  player &script_;
  std::vector<orb_process_node> nodes_;
  bool address_in_int_ = false; // a fetched int may be an address
  int empty_reads_ = 0;         // in this call
};

} // namespace fuzz
