// The host's processes: records with stable addresses, in creation order.
#pragma once

#include "host/declarations.h"
#include "orb/graphics2d.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <unordered_set>
#include <vector>

namespace orbhost {

// The status word of a record. The module draws 2 and everything above 3.
enum ProcessStatus : std::int32_t {
  process_dead = 0,
  process_running = 2,
  process_asleep = 3, // neither drawn nor run
  process_frozen = 4, // drawn, not run
};

class ProcessList {
public:
  ProcessList() = default;
  ProcessList(const ProcessList &) = delete;
  ProcessList &operator=(const ProcessList &) = delete;
  ~ProcessList();

  // The layout of the locals block; set before the first create().
  void set_locals(const Layout *layout) { locals_ = layout; }

  // Appends a new running process, with the declared values in its locals.
  orb_process *create(std::int32_t type);
  // Ends a process: removes it from the list and sets status 0. Its record stays readable, and its
  // id isn't reused, until the frame and the next 1024 deaths are over. Ending a dead process does
  // nothing.
  void kill(orb_process *process);
  void kill_all();

  // Exact: false for the id of an ended process, or any other number.
  [[nodiscard]] bool exists(std::int32_t id) const { return live_.contains(id); }
  [[nodiscard]] std::size_t size() const { return live_.size(); }
  [[nodiscard]] orb_process_node *first() const { return first_; }

  // Sets the process's `xgraph` to an array of its own (the count, then the codes); an empty list
  // clears it. This can't make a negative count.
  void set_xgraph(orb_process *process, std::span<const std::int32_t> codes);

  // The process on whose behalf script calls are made; may be null.
  orb_process *current = nullptr;

  // Call after each frame: the module no longer refers to processes that died before it.
  void frame_ended() { ++frame_; }

  static std::int32_t id(const orb_process *process) {
    return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(process));
  }

private:
  struct Record {
    orb_process process; // first: a process's address is its record's
    orb_process_node node;
    orb_process_node *previous;
    std::vector<std::int32_t> locals;
    std::vector<std::int32_t> xgraph;
    std::uint64_t died = 0;
  };
  static Record *record(orb_process *process) { return reinterpret_cast<Record *>(process); }

  const Layout *locals_ = nullptr;
  orb_process_node *first_ = nullptr;
  orb_process_node *last_ = nullptr;
  std::unordered_set<std::int32_t> live_;
  std::deque<Record *> dead_; // in order of death; the oldest is reused first
  std::uint32_t serial_ = 0;
  std::uint64_t frame_ = 0;
};

} // namespace orbhost
