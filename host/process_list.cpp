#include "host/process_list.h"

#include <algorithm>

namespace orbhost {
namespace {

// Number of ended records kept before the oldest is reused, so that a script's stale id doesn't
// soon name another process.
constexpr std::size_t resting_records = 1024;

} // namespace

ProcessList::~ProcessList() {
  kill_all();
  for (Record *ended : dead_)
    delete ended;
}

orb_process *ProcessList::create(std::int32_t type) {
  Record *fresh = nullptr;
  if (dead_.size() > resting_records && dead_.front()->died + 1 < frame_) {
    fresh = dead_.front();
    dead_.pop_front();
  } else {
    fresh = new Record;
  }
  // At least the 23 words of orb_locals, whatever was declared.
  const std::size_t words = std::max<std::size_t>(locals_ ? locals_->words() : 0,
                                                  sizeof(orb_locals) / sizeof(std::int32_t));
  fresh->locals.assign(words, 0);
  if (locals_) locals_->initialise(fresh->locals);
  fresh->xgraph.clear();
  fresh->process = {};
  fresh->process.host0 = ++serial_;
  fresh->process.type = type;
  fresh->process.status = process_running;
  fresh->process.locals = reinterpret_cast<orb_locals *>(fresh->locals.data());
  fresh->node = {&fresh->process, nullptr};
  fresh->previous = last_;
  (last_ ? last_->next : first_) = &fresh->node;
  last_ = &fresh->node;
  live_.insert(id(&fresh->process));
  return &fresh->process;
}

void ProcessList::kill(orb_process *process) {
  if (!process || live_.erase(id(process)) == 0) return;
  Record *ended = record(process);
  orb_process_node *next = ended->node.next;
  (ended->previous ? ended->previous->next : first_) = next;
  if (next)
    record(next->process)->previous = ended->previous;
  else
    last_ = ended->previous;
  process->status = process_dead;
  if (current == process) current = nullptr;
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
