// What a script's calls and accesses cost, beside Lua's own operations in the same run.
#include <benchmark/benchmark.h>

#include <string>

#include <lua.hpp>

#include "benchmarks.h"
#include "contender.h"
#include "host/script.h"
#include "orb_host.h"
#include "report.h"

namespace orbbench {

namespace {

constexpr int unrolled = 10, turns = 100;

/// A script with a function timed(), which runs the statement 1,000 times. Processes `p` and `q`, a
/// table `t`, a number `i` and `v` for results are locals there; all else is looked up as usual.
std::string script_around(const std::string &statement) {
  std::string text = "local function wait() while true do frame() end end\n"
                     "local p = spawn(wait, { x = 3, y = 4, own = 1 })\n"
                     "local q = spawn(wait, { x = 30, y = 40 })\n"
                     "local t = { x = 1 }\n"
                     "plain = 1\n"
                     "function timed()\n"
                     "  local p, q, t, v = p, q, t\n"
                     "  for i = 1, " +
                     std::to_string(turns) + " do\n";
  for (int i = 0; i < unrolled; ++i)
    text += "    " + statement + "\n";
  return text + "  end\nend\nwait()";
}

void run_statement(benchmark::State &state, const char *statement) {
  orbhost::Script script(host_at_depth(32), {});
  script.load_text(script_around(statement), "script_bench.lua");
  script.frame();
  lua_State *const L = script.lua();
  for (auto _ : state) {
    lua_getglobal(L, "timed");
    if (lua_pcall(L, 0, 0, 0) != LUA_OK) {
      state.SkipWithError(lua_tostring(L, -1));
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * turns * unrolled);
}

constexpr const char *lua_name = "Lua", *call_name = "C call";

struct row {
  const char *statement;
  const char *in_lua; // the nearest thing that Lua does without leaving it; null: nothing is near
  double target;      // over the C call, or over Lua where `of_lua`
  bool of_lua = false;
};

/// A call into C is the least that a function, or a field that lives outside Lua, can cost. The
/// targets are what a machine showed on which that call took 28 ns, and a global of Lua's 8.
constexpr row rows[] = {
    {"v = get_dist(p, q)", nullptr, 28.0 / 130},
    {"v = p.x", "v = t.x", 28.0 / 40},
    {"p.x = i", "t.x = i", 28.0 / 45},
    {"v = flg_ghost", "v = plain", 1, true},
    {"v = rgb(1, 2, 3)", nullptr, 0},
    {"v = p.own", "v = t.x", 0},
    {"p.own = i", "t.x = i", 0},
    {"v = fps", "v = plain", 0},
    {"v = mouse.x", "v = t.x", 0},
};

} // namespace

void register_script_benchmarks() {
  set_table_style("script", {"Scripts: calls and accesses", 1e6, "M/s", lua_name});
  for (const row &r : rows) {
    const std::string name = std::string("script/") + r.statement;
    set_expectation(name, {{r.target}, 1, {}, r.of_lua});
    const auto add = [&](const char *contender, const char *statement) {
      benchmark::RegisterBenchmark((name + "/" + contender).c_str(), run_statement, statement);
    };
    add(our_name, r.statement);
    if (!r.of_lua) add(call_name, "v = rawlen(t)");
    if (r.in_lua) add(lua_name, r.in_lua);
  }
}

} // namespace orbbench
