#include "host/arguments.h"

#include <algorithm>

namespace orbhost {

std::int32_t Argument::word() const {
  if (kind_ == Kind::integer) return value_;
  const void *address = kind_ == Kind::text ? static_cast<const void *>(text()) : pointer_;
  return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(address));
}

void CallFrame::begin(std::vector<Argument> arguments) {
  arguments_ = std::move(arguments);
  left_ = arguments_.size();
  bad_fetches_ = 0;
  result_ = 0;
  strings_.clear();
}

const Argument *CallFrame::next() {
  if (left_ == 0) {
    ++bad_fetches_;
    return nullptr;
  }
  return &arguments_[--left_];
}

std::int32_t CallFrame::pop_int() {
  const Argument *argument = next();
  if (!argument) return 0;
  if (argument->kind() != Argument::Kind::integer) ++bad_fetches_;
  return argument->word();
}

const char *CallFrame::pop_string() {
  const Argument *argument = next();
  if (!argument) return nullptr;
  if (argument->kind() != Argument::Kind::text) ++bad_fetches_;
  return argument->text();
}

std::int32_t *CallFrame::pop_pointer() {
  const Argument *argument = next();
  if (!argument) return nullptr;
  if (argument->kind() != Argument::Kind::pointer) ++bad_fetches_;
  return argument->pointer();
}

const char *CallFrame::peek_string() const {
  return left_ ? arguments_[left_ - 1].text() : nullptr;
}

void CallFrame::unpop(std::int32_t count) {
  const std::size_t fetched = arguments_.size() - left_;
  left_ += std::min<std::size_t>(fetched, static_cast<std::size_t>(std::max(count, 0)));
}

void CallFrame::drop(std::int32_t count) {
  left_ -= std::min<std::size_t>(left_, static_cast<std::size_t>(std::max(count, 0)));
}

char *CallFrame::new_return_string() {
  strings_.push_back(std::make_unique<char[]>(ORB_RETURN_STRING_SIZE));
  return strings_.back().get();
}

} // namespace orbhost
