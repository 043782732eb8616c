#include "host/process_list.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace orbhost {
namespace {

// Number of ended records kept before the oldest is reused, so that a script's stale id doesn't
// soon name another process.
constexpr std::size_t resting_records = 1024;

} // namespace

ProcessList::ProcessList() {
  static_assert(sizeof(void *) == 4 &&
                offsetof(Record, node) + sizeof(orb_process_node) == offsetof(Record, process));
  constexpr auto lines = static_cast<std::size_t>((std::uint64_t{1} << 32) / line);
  live_.reset(static_cast<std::uint32_t *>(std::calloc(lines / 32, sizeof(std::uint32_t))));
  if (!live_) throw std::bad_alloc();
}

ProcessList::~ProcessList() {
  kill_all();
  for (Record *ended : dead_)
    ended->~Record();
}

ProcessList::Record *ProcessList::new_record() {
  return new (memory_.allocate(sizeof(Record) + words_ * sizeof(std::int32_t), line)) Record;
}

void ProcessList::mark(const orb_process *process, bool live) {
  const auto address = static_cast<std::uint32_t>(id(process)) - offset_in_record;
  const std::uint32_t bit = 1u << address / line % 32;
  std::uint32_t &word = live_[address / line / 32];
  word = live ? word | bit : word & ~bit;
}

orb_process *ProcessList::create(std::int32_t type) {
  // At least the 23 words of orb_locals, whatever was declared.
  const std::size_t words = std::max<std::size_t>(locals_ ? locals_->words() : 0,
                                                  sizeof(orb_locals) / sizeof(std::int32_t));
  if (words_ == 0) words_ = words;
  if (words_ != words) throw std::logic_error("locals declared after the first process");
  Record *fresh = nullptr;
  if (dead_.size() > resting_records && frame_ - dead_.front()->died > 1) {
    fresh = dead_.front();
    dead_.pop_front();
  } else {
    fresh = new_record();
  }
  const std::span locals(reinterpret_cast<std::int32_t *>(fresh + 1), words_);
  std::ranges::fill(locals, 0);
  if (locals_) locals_->initialise(locals);
  fresh->xgraph.clear();
  fresh->process = {};
  fresh->process.host0 = ++serial_;
  fresh->process.type = type;
  fresh->process.status = process_running;
  fresh->process.locals = reinterpret_cast<orb_locals *>(locals.data());
  fresh->node = {&fresh->process, nullptr};
  fresh->previous = last_ ? record(last_->process) : nullptr;
  (last_ ? last_->next : first_) = &fresh->node;
  last_ = &fresh->node;
  mark(&fresh->process, true);
  ++size_;
  return &fresh->process;
}

void ProcessList::kill(orb_process *process) {
  if (!process || !exists(id(process))) return;
  Record *ended = record(process);
  orb_process_node *next = ended->node.next;
  (ended->previous ? ended->previous->node.next : first_) = next;
  if (next)
    record(next->process)->previous = ended->previous;
  else
    last_ = ended->previous ? &ended->previous->node : nullptr;
  process->status = process_dead;
  if (current == process) current = nullptr;
  mark(process, false);
  --size_;
  ended->died = frame_;
  dead_.push_back(ended);
}

void ProcessList::kill_all() {
  while (first_)
    kill(first_->process);
}

void ProcessList::set_xgraph(orb_process *process, std::span<const std::int32_t> codes) {
  std::vector<std::int32_t> &array = record(process)->xgraph;
  array.clear();
  if (!codes.empty()) {
    array.push_back(static_cast<std::int32_t>(codes.size()));
    array.insert(array.end(), codes.begin(), codes.end());
  }
  process->locals->xgraph = codes.empty() ? nullptr : array.data();
}

} // namespace orbhost
