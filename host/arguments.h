// The arguments and the result of the script call that is being made.
#pragma once

#include "orb/graphics2d.h"

#include <cstdint>
#include <memory>
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

// The argument stack: arguments are fetched from the last to the first. A fetch beyond the first
// yields 0 or null and is counted, so that a handler's mistake shows in a test and never reads
// wild memory; so does a fetch of the wrong kind (fetching a text from an int gives null).
class CallFrame {
public:
  // Starts a call. Results of the previous call, texts included, become invalid.
  void begin(std::vector<Argument> arguments);

  std::int32_t pop_int();
  const char *pop_string();
  std::int32_t *pop_pointer();
  // Null when the next argument isn't a text, or there is none.
  [[nodiscard]] const char *peek_string() const;
  // Puts the last `count` fetched arguments back; more than were fetched puts all back.
  void unpop(std::int32_t count);
  // Discards up to `count` arguments that haven't been fetched yet.
  void drop(std::int32_t count);
  // All arguments of the call, fetched or not.
  [[nodiscard]] const std::vector<Argument> &arguments() const { return arguments_; }
  [[nodiscard]] std::int32_t count() const { return static_cast<std::int32_t>(arguments_.size()); }

  void set_result(std::int32_t value) { result_ = value; }
  [[nodiscard]] std::int32_t result() const { return result_; }
  // A zeroed text buffer of ORB_RETURN_STRING_SIZE bytes that lives until the next begin().
  char *new_return_string();

  [[nodiscard]] std::int32_t unfetched() const { return static_cast<std::int32_t>(left_); }
  // Fetches beyond the first argument, and fetches of the wrong kind, in this call.
  [[nodiscard]] std::int32_t bad_fetches() const { return bad_fetches_; }

private:
  const Argument *next();

  std::vector<Argument> arguments_;
  std::size_t left_ = 0;
  std::int32_t bad_fetches_ = 0;
  std::int32_t result_ = 0;
  std::vector<std::unique_ptr<char[]>> strings_;
};

} // namespace orbhost
