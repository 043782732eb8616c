// Tests that are read from files: each case becomes a test of its own.
#pragma once

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

class registered_test : public testing::Test {
public:
  explicit registered_test(std::function<void()> body) : body_(std::move(body)) {}
  void TestBody() override { body_(); }

private:
  std::function<void()> body_;
};

/// Registers a case, named after its title with `_` in place of all but letters and digits.
inline void register_case(const std::string &suite, std::string title,
                          const std::filesystem::path &file, int line,
                          const std::function<void()> &body) {
  std::replace_if(
      title.begin(), title.end(), [](unsigned char c) { return !isalnum(c); }, '_');
  testing::RegisterTest(suite.c_str(), title.c_str(), nullptr, nullptr, file.c_str(), line,
                        [body]() -> testing::Test * { return new registered_test(body); });
}
