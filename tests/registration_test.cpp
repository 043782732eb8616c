// The registration the module passes to its host, against literal lists.
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "boundary/records.h"
#include "module/module.h"

namespace {

std::string data_file(const std::string &name) {
  std::ifstream in(ORB_TEST_SOURCE_DIR "/data/" + name, std::ios::binary);
  EXPECT_TRUE(in) << name;
  return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::vector<std::string>> table_file(const std::string &name) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(data_file(name));
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> row;
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, '\t');)
      row.push_back(field);
    rows.push_back(row);
  }
  return rows;
}

/// A host that copies the tables it gets and then overwrites them, as their owner may.
struct recorder {
  std::vector<int> calls;
  std::vector<std::pair<std::string, int32_t>> constants;
  std::vector<std::tuple<std::string, std::string, int32_t, int32_t (*)()>> functions;
  std::vector<std::pair<int32_t, int32_t (*)()>> hooks;
  std::string globals, locals;
  int32_t flags = 0;
  bool copies = true;
  orb_runtime runtime{};
};
recorder *host;

orb_registration recording_interface() {
  orb_registration table{};
  table.reg_constants = [](const orb_constant *row) {
    host->calls.push_back(0);
    host->copies &= row != constants_table;
    for (; row->name; ++row)
      host->constants.emplace_back(row->name, row->value);
    host->copies &= row->value == 0;
  };
  table.reg_globals = [](const char *text) { host->calls.push_back(4), host->globals = text; };
  table.reg_locals = [](const char *text) { host->calls.push_back(5), host->locals = text; };
  table.reg_functions = [](const orb_function *row) {
    host->calls.push_back(6);
    host->copies &= row != functions_table;
    for (; row->signature; ++row)
      host->functions.emplace_back(row->signature, row->result, row->flag, row->handler);
    host->copies &= !row->result && !row->flag && !row->handler;
  };
  table.reg_hooks = [](const orb_hook *row) {
    host->calls.push_back(7);
    for (; row->kind || row->function; ++row)
      host->hooks.emplace_back(row->kind, row->function);
  };
  table.reg_flags = [](int32_t flags) { host->calls.push_back(8), host->flags = flags; };
  table.reg_runtime = [] {
    host->calls.push_back(9);
    return &host->runtime;
  };
  return table;
}

struct Registration : testing::Test {
  recorder recorded;
  orb_runtime *const former = orbre;

  Registration() {
    host = &recorded;
    const orb_registration table = recording_interface();
    EXPECT_EQ(ORB_mod_graphics2D_MainLibraryExports(&table), 1);
  }
  ~Registration() override {
    orbre = former;
    host = nullptr;
  }
};

std::string name_of(const std::string &signature) {
  return signature.substr(0, signature.find('('));
}

TEST_F(Registration, CallsInOrder) {
  EXPECT_EQ(recorded.calls, (std::vector<int>{0, 4, 5, 6, 7, 8, 9}));
  EXPECT_TRUE(recorded.copies) << "tables must be copies, and end as stated";
  EXPECT_EQ(recorded.flags, 32768);
  EXPECT_EQ(orbre, &recorded.runtime);
  const std::vector<std::pair<int32_t, int32_t (*)()>> hooks{
      {1, ORB_mod_graphics2D_init}, {2, ORB_mod_graphics2D_frame}, {4, ORB_mod_graphics2D_release}};
  EXPECT_EQ(recorded.hooks, hooks);
}

TEST_F(Registration, Constants) {
  const auto expected = table_file("registered_constants.txt");
  ASSERT_EQ(expected.size(), 152u);
  ASSERT_EQ(recorded.constants.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(recorded.constants[i].first, expected[i][0]);
    EXPECT_EQ(std::to_string(recorded.constants[i].second), expected[i][1]) << expected[i][0];
  }
}

TEST_F(Registration, Declarations) {
  EXPECT_EQ(recorded.globals, data_file("registered_globals.txt"));
  EXPECT_EQ(recorded.locals, data_file("registered_locals.txt"));
}

TEST_F(Registration, Functions) {
  const auto expected = table_file("registered_functions.txt");
  ASSERT_EQ(expected.size(), 310u);
  ASSERT_EQ(recorded.functions.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    const auto &[signature, result, flag, handler] = recorded.functions[i];
    EXPECT_EQ((std::vector<std::string>{signature, result, std::to_string(flag)}), expected[i]);
    EXPECT_TRUE(handler) << signature;
  }
}

/// Every function runs the handler of its own name, an alias that of its long name; so only
/// overloads and alias pairs share a handler.
TEST_F(Registration, HandlersByName) {
  std::map<std::string, std::string> long_names;
  for (const auto &row : table_file("registered_aliases.txt"))
    long_names[name_of(row[0])] = name_of(row[1]);
  const std::vector<std::pair<std::string, std::string>> rows{
#define ORB_FUNCTION(signature, result, flag, handler) {signature, #handler},
#include "script/functions.inc"
#undef ORB_FUNCTION
  };
  std::map<std::string, int32_t (*)()> of_name;
  std::map<int32_t (*)(), std::string> name_for;
  for (size_t i = 0; i < rows.size(); ++i) {
    const std::string own = name_of(rows[i].first);
    const auto alias = long_names.find(own);
    const std::string name = alias == long_names.end() ? own : alias->second;
    EXPECT_EQ(rows[i].second, "ORB_" + name) << rows[i].first;
    const auto handler = std::get<3>(recorded.functions[i]);
    EXPECT_EQ(of_name.try_emplace(name, handler).first->second, handler) << rows[i].first;
    EXPECT_EQ(name_for.try_emplace(handler, name).first->second, name) << rows[i].first;
  }
  EXPECT_EQ(of_name.at("screen_clear"), of_name.at(long_names.at("clear_screen")));
}

} // namespace
