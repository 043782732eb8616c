// What module and host agree on: the layout of records, and what the module registers, against
// literal lists.
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "boundary/records.h"
#include "module/module.h"
#include "support/world.h"

#define SIZE(type, words)      static_assert(sizeof(type) == 4 * (words));
#define AT(type, member, word) static_assert(offsetof(type, member) == 4 * (word));
#include "boundary/layouts.inc"
#undef SIZE
#undef AT

namespace {

std::string data_file(const std::string &name) {
  const file_bytes bytes = read_file(tests_folder("data") / name);
  return {bytes.begin(), bytes.end()};
}

/// Rows of words, with tabs between.
std::vector<std::vector<std::string>> table_file(const std::string &name) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(data_file(name));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    rows.emplace_back();
    for (std::string field; std::getline(fields, field, '\t');)
      rows.back().push_back(field);
  }
  return rows;
}

std::string name_of(const std::string &signature) { return signature.substr(0, signature.find('(')); }

struct Registered : testing::Test {
  orb_runtime *const former = orbre;
  orbhost::Host host;
  const orbhost::Registration &seen = host.registration();

  Registered() { host.attach(ORB_mod_graphics2D_MainLibraryExports); }
  ~Registered() override { orbre = former; }
};

} // namespace

TEST_F(Registered, InOrder) {
  EXPECT_EQ(seen.calls, (std::vector<int>{0, 4, 5, 6, 7, 8, 9}));
  EXPECT_TRUE(seen.mistakes.empty());
  EXPECT_EQ(seen.flags, 32768);
  EXPECT_EQ(orbre, &host.runtime);
  EXPECT_EQ(seen.globals, data_file("registered_globals.txt"));
  EXPECT_EQ(seen.locals, data_file("registered_locals.txt"));
  const std::vector<std::pair<int32_t, int32_t (*)()>> expected{
      {1, ORB_mod_graphics2D_init}, {2, ORB_mod_graphics2D_frame}, {4, ORB_mod_graphics2D_release}};
  std::vector<std::pair<int32_t, int32_t (*)()>> hooks;
  for (const orbhost::Hook &hook : seen.hooks)
    hooks.emplace_back(hook.kind, hook.function);
  EXPECT_EQ(hooks, expected);
}

/// The host may write into what it is handed.
TEST(Registering, HandsOverCopiesThatEndInZeros) {
  static bool good;
  good = true;
  orb_runtime *const former = orbre;
  orb_registration table{};
  static orb_runtime runtime;
  table.reg_constants = [](const orb_constant *row) {
    good &= row != constants_table;
    while (row->name)
      ++row;
    good &= row->value == 0;
  };
  table.reg_functions = [](const orb_function *row) {
    good &= row != functions_table;
    while (row->signature)
      ++row;
    good &= !row->result && !row->flag && !row->handler;
  };
  table.reg_globals = table.reg_locals = [](const char *) {};
  table.reg_hooks = [](const orb_hook *) {};
  table.reg_flags = [](int32_t) {};
  table.reg_runtime = [] { return &runtime; };
  EXPECT_EQ(ORB_mod_graphics2D_MainLibraryExports(&table), 1);
  EXPECT_TRUE(good);
  orbre = former;
}

TEST_F(Registered, Constants) {
  std::vector<std::vector<std::string>> rows;
  for (const orbhost::Constant &constant : seen.constants)
    rows.push_back({constant.name, std::to_string(constant.value)});
  EXPECT_EQ(rows, table_file("registered_constants.txt"));
  EXPECT_EQ(rows.size(), 152u);
}

TEST_F(Registered, Functions) {
  std::vector<std::vector<std::string>> rows;
  for (const orbhost::Function &function : seen.functions)
    rows.push_back({function.signature, function.result_text, std::to_string(function.flag)});
  EXPECT_EQ(rows, table_file("registered_functions.txt"));
  EXPECT_EQ(rows.size(), 310u);
}

/// Every function runs the handler of its own name, an alias that of its long name; so only
/// overloads and alias pairs share a handler.
TEST_F(Registered, HandlersByName) {
  std::map<std::string, std::string> long_names;
  for (const auto &row : table_file("registered_aliases.txt"))
    long_names[name_of(row[0])] = name_of(row[1]);
  const std::vector<std::string> handlers{
#define ORB_FUNCTION(signature, result, flag, handler) #handler,
#include "script/functions.inc"
#undef ORB_FUNCTION
  };
  ASSERT_EQ(handlers.size(), seen.functions.size());
  std::map<std::string, int32_t (*)()> of_name;
  std::map<int32_t (*)(), std::string> name_for;
  for (size_t i = 0; i < handlers.size(); ++i) {
    const orbhost::Function &function = seen.functions[i];
    const auto alias = long_names.find(function.name);
    const std::string name = alias == long_names.end() ? function.name : alias->second;
    EXPECT_EQ(handlers[i], "ORB_" + name) << function.signature;
    EXPECT_TRUE(function.handler);
    EXPECT_EQ(of_name.try_emplace(name, function.handler).first->second, function.handler);
    EXPECT_EQ(name_for.try_emplace(function.handler, name).first->second, name);
  }
  EXPECT_EQ(of_name.at("screen_clear"), of_name.at(long_names.at("clear_screen")));
}
