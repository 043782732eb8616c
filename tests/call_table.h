// Tables of script calls as text, for testing the argument checks of handlers.
//
//   ground_put -1 1 0 0 -> 109 GROUND_PUT 1 -1     an error: code, name, position, value
//   ground_put 0 1000 900 0 -> 0                   a result without an error
//   draw_fix 1 2 -> silent                         the failure value without an error
//
// Calls are looked up by name and argument count among the registered functions.
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "module/module.h"

/// The handler registered under a name with this argument count.
inline int32_t (*find_handler(const std::string &name, size_t arguments))() {
  for (const orb_function *row = functions_table; row->signature; ++row) {
    const std::string signature = row->signature;
    const size_t open = signature.find('(');
    if (signature.substr(0, open) != name) continue;
    size_t count = signature[open + 1] == ')' ? 0 : 1;
    for (const char c : signature)
      count += c == ',';
    if (count == arguments) return row->handler;
  }
  throw std::invalid_argument("no " + name + " with " + std::to_string(arguments) + " arguments");
}

/// A parsed call. Its handler is looked up when it runs.
struct script_line {
  std::string name;
  std::vector<int32_t> arguments;

  explicit script_line(const std::string &text) {
    std::istringstream words(text);
    words >> name;
    for (std::string word; words >> word;)
      arguments.push_back(int32_t(std::stoll(word)));
  }
  int32_t run(fake_runtime &host) const {
    host.errors.clear();
    const int32_t result = host.call(find_handler(name, arguments.size()), arguments);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
    return result;
  }
};

/// Makes a call that must fail with this report.
inline void expect_error(fake_runtime &host, const script_line &line, int32_t code,
                         const std::string &function, int32_t position, int32_t value) {
  EXPECT_EQ(line.run(host), INT32_MIN);
  const std::vector<fake_error> expected = {{code, function, ORB_VALUE_INT, position, value, ""}};
  EXPECT_EQ(host.errors, expected);
}

/// Runs the calls of a table in order, one per line, and compares each outcome.
inline void expect_calls(fake_runtime &host, const char *table) {
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    SCOPED_TRACE(line);
    const size_t arrow = line.find(" -> ");
    if (arrow == std::string::npos) throw std::invalid_argument(line);
    const script_line call(line.substr(0, arrow));
    std::istringstream outcome(line.substr(arrow + 4));
    std::string first, function;
    outcome >> first;
    if (int64_t position, value; outcome >> function >> position >> value) {
      expect_error(host, call, std::stoi(first), function, int32_t(position), int32_t(value));
    } else {
      EXPECT_EQ(call.run(host), first == "silent" ? INT32_MIN : int32_t(std::stoll(first)));
      EXPECT_TRUE(host.errors.empty());
    }
  }
}
