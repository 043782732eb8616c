// The host's processes: records with stable addresses, in creation order.
#pragma once

#include "host/declarations.h"
#include "host/fixed_memory.h"
#include "orb/graphics2d.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <memory_resource>
#include <span>
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
  ProcessList();
  ProcessList(const ProcessList &) = delete;
  ProcessList &operator=(const ProcessList &) = delete;
  ~ProcessList();

  // The layout of the locals block, complete before the first create().
  void set_locals(const Layout *layout) { locals_ = layout; }

  // Appends a new running process, with the declared values in its locals.
  orb_process *create(std::int32_t type);
  // Ends a process: removes it from the list and sets status 0. Its record stays readable, and its
  // id isn't reused, until the frame and the next 1024 deaths are over. Ending a dead process does
  // nothing.
  void kill(orb_process *process);
  void kill_all();

  // Exact: an id of an ended process, or any other number, is false.
  [[nodiscard]] bool exists(std::int32_t id) const {
    const auto address = static_cast<std::uint32_t>(id) - offset_in_record;
    return address % line == 0 && (live_[address / line / 32] >> (address / line % 32) & 1) != 0;
  }
  // The live process of that id, or null.
  [[nodiscard]] orb_process *find(std::int32_t id) const {
    return exists(id) ? process(id) : nullptr;
  }
  [[nodiscard]] std::size_t size() const { return size_; }
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
  // The process of an id that is known to be one.
  static orb_process *process(std::int32_t id) {
    return reinterpret_cast<orb_process *>(
        static_cast<std::uintptr_t>(static_cast<std::uint32_t>(id)));
  }

private:
  // A process in one piece of memory that begins with a cache line. What walks over the list read
  // comes in one run: the node, the process right behind it, and its locals, which follow the
  // record.
  struct Record {
    Record *previous;
    std::uint32_t died; // in which frame
    std::vector<std::int32_t> xgraph;
    orb_process_node node;
    orb_process process;
  };
  static constexpr std::uint32_t line = 64;
  static constexpr std::uint32_t offset_in_record = offsetof(Record, process);
  static Record *record(orb_process *process) {
    return reinterpret_cast<Record *>(reinterpret_cast<std::byte *>(process) - offset_in_record);
  }

  Record *new_record();
  void mark(const orb_process *process, bool live);

  struct Free {
    void operator()(void *memory) const { std::free(memory); }
  };

  const Layout *locals_ = nullptr;
  std::size_t words_ = 0; // of a locals block; 0 until the first create()
  orb_process_node *first_ = nullptr;
  orb_process_node *last_ = nullptr;
  std::size_t size_ = 0;
  // The records', for as long as the list lives. Ids are addresses, and the same in every run.
  FixedMemory fixed_{0x40000000, 0x08000000};
  std::pmr::monotonic_buffer_resource memory_{&fixed_};
  // One bit for each line of the address space, set where the record of a live process begins. Of
  // these 8 MB only the pages that were ever written take memory.
  std::unique_ptr<std::uint32_t[], Free> live_;
  std::deque<Record *> dead_; // in order of death; the oldest is reused first
  std::uint32_t serial_ = 0;
  std::uint32_t frame_ = 0;
};

} // namespace orbhost
