// The arguments and the result of the script call that is being made.
#pragma once

#include "orb/graphics2d.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orbhost {

// One script argument. A text is copied; a null text and a null pointer are allowed.
class Argument {
public:
  enum class Kind { integer, text, pointer };

  Argument(std::int32_t value) : kind_(Kind::integer), value_(value) {}
  Argument(std::uint32_t value) : Argument(static_cast<std::int32_t>(value)) {}
  Argument(bool value) : Argument(static_cast<std::int32_t>(value)) {}
  Argument(const char *text) : kind_(Kind::text), null_(text == nullptr), text_(text ? text : "") {}
  Argument(std::string text) : kind_(Kind::text), text_(std::move(text)) {}
  Argument(std::int32_t *pointer) : kind_(Kind::pointer), pointer_(pointer) {}
  // A process stands for its id.
  Argument(const orb_process *process)
      : Argument(static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(process))) {}

  [[nodiscard]] Kind kind() const { return kind_; }
  [[nodiscard]] std::int32_t word() const;
  [[nodiscard]] const char *text() const {
    return kind_ == Kind::text && !null_ ? text_.c_str() : nullptr;
  }
  [[nodiscard]] std::int32_t *pointer() const {
    return kind_ == Kind::pointer ? pointer_ : nullptr;
  }

private:
  Kind kind_;
  bool null_ = false;
  std::int32_t value_ = 0;
  std::int32_t *pointer_ = nullptr;
  std::string text_;
};

// An argument as a handler fetches it: an int, or the address of a text or of ints.
struct ArgumentWord {
  Argument::Kind kind;
  std::int32_t word;

  [[nodiscard]] void *address() const {
    return reinterpret_cast<void *>(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(word)));
  }
};

// The argument stack: arguments are fetched from the last to the first. A fetch beyond the first
// yields 0 or null and is counted, so that a handler's mistake shows in a test and never reads
// wild memory; so does a fetch of the wrong kind (fetching a text from an int gives null).
class CallFrame {
public:
  // Starts a call. Results of the previous call, texts included, become invalid.
  void begin(std::vector<Argument> arguments);
  // The same with texts and ints that the caller keeps until the call is over.
  void begin(const ArgumentWord *words, std::size_t count);

  std::int32_t pop_int() {
    if (left_ == 0) {
      ++bad_fetches_;
      return 0;
    }
    const ArgumentWord &argument = words_[--left_];
    if (argument.kind != Argument::Kind::integer) ++bad_fetches_;
    return argument.word;
  }
  const char *pop_string() { return static_cast<const char *>(pop_address(Argument::Kind::text)); }
  std::int32_t *pop_pointer() {
    return static_cast<std::int32_t *>(pop_address(Argument::Kind::pointer));
  }
  // Null when the next argument isn't a text, or there is none.
  [[nodiscard]] const char *peek_string() const;
  // Puts the last `count` fetched arguments back; more than were fetched puts all back.
  void unpop(std::int32_t count);
  // Discards up to `count` arguments that haven't been fetched yet.
  void drop(std::int32_t count);
  // All arguments of the call, fetched or not.
  [[nodiscard]] std::span<const ArgumentWord> words() const { return {words_.data(), count_}; }
  [[nodiscard]] std::int32_t count() const { return static_cast<std::int32_t>(count_); }

  void set_result(std::int32_t value) { result_ = value; }
  [[nodiscard]] std::int32_t result() const { return result_; }
  // A zeroed text buffer of ORB_RETURN_STRING_SIZE bytes that lives until the next begin().
  char *new_return_string();

  [[nodiscard]] std::int32_t unfetched() const { return static_cast<std::int32_t>(left_); }
  // Fetches beyond the first argument, and fetches of the wrong kind, in this call.
  [[nodiscard]] std::int32_t bad_fetches() const { return bad_fetches_; }

private:
  void *pop_address(Argument::Kind kind);

  std::vector<ArgumentWord> words_; // of the longest call until now
  std::size_t count_ = 0;
  std::size_t left_ = 0;
  std::int32_t bad_fetches_ = 0;
  std::int32_t result_ = 0;
  std::vector<Argument> arguments_; // whose texts the words lead to
  std::vector<std::unique_ptr<char[]>> strings_;
};

} // namespace orbhost
