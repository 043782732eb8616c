#include "host/arguments.h"

#include <algorithm>

namespace orbhost {

std::int32_t Argument::word() const {
  if (kind_ == Kind::integer) return value_;
  const void *address = kind_ == Kind::text ? static_cast<const void *>(text()) : pointer_;
  return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(address));
}

void CallFrame::begin(std::vector<Argument> arguments) {
  std::vector<ArgumentWord> words;
  words.reserve(arguments.size());
  for (const Argument &argument : arguments)
    words.push_back({argument.kind(), argument.word()});
  begin(words.data(), words.size());
  arguments_ = std::move(arguments); // the texts stay where they are
}

void CallFrame::begin(const ArgumentWord *words, std::size_t count) {
  if (words_.size() < count) words_.resize(count);
  std::copy_n(words, count, words_.begin());
  count_ = left_ = count;
  bad_fetches_ = 0;
  result_ = 0;
  arguments_.clear();
  strings_.clear();
}

void *CallFrame::pop_address(Argument::Kind kind) {
  if (left_ == 0 || words_[--left_].kind != kind) {
    ++bad_fetches_;
    return nullptr;
  }
  return words_[left_].address();
}

const char *CallFrame::peek_string() const {
  const bool text = left_ != 0 && words_[left_ - 1].kind == Argument::Kind::text;
  return text ? static_cast<const char *>(words_[left_ - 1].address()) : nullptr;
}

void CallFrame::unpop(std::int32_t count) {
  const std::size_t fetched = count_ - left_;
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
