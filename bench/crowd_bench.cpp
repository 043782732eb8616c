// Many that ask for many: bullets that look for an enemy that they touch, by the module's collision
// functions, and by the loop that a script would write over its own tables.
#include <benchmark/benchmark.h>

#include <lua.hpp>

#include <memory>
#include <random>
#include <stdexcept>
#include <unordered_map>

#include "benchmarks.h"
#include "boundary/records.h"
#include "contender.h"
#include "orb_host.h"
#include "report.h"

namespace orbbench {

namespace {

constexpr int bullet_side = 4, enemy_side = 16;
enum : int32_t { bullet_type = 1, enemy_type = 2 };

enum class question {
  collision,
  turned, // enemies upside down
  overlap,
  point,   // whether an enemy covers the bullet's middle
  pointer, // whether the bullet touches the mouse pointer, which looks like an enemy
};

struct crowd {
  const char *name;
  question asks;
  int bullets, enemies;
};
constexpr crowd crowds[] = {
    {"2000 ask 200/collision", question::collision, 2000, 200},
    {"8000 ask 800/collision", question::collision, 8000, 800},
    {"2000 ask 200/turned enemies", question::turned, 2000, 200},
    {"2000 ask 200/overlap", question::overlap, 2000, 200},
    {"2000 ask 200/points", question::point, 2000, 200},
    {"2000 ask the pointer/collision", question::pointer, 2000, 1},
};

/// Where everybody is. The same seed for all.
struct places {
  std::vector<point> bullets, enemies;

  explicit places(const crowd &c) {
    std::mt19937 random(1);
    const auto scatter = [&](std::vector<point> &all, int count) {
      for (int i = 0; i < count; ++i) {
        const int x = int(random() % host_width), y = int(random() % host_height);
        all.push_back({x, y});
      }
    };
    scatter(enemies, c.enemies);
    scatter(bullets, c.bullets);
  }
};

/// The number of the enemy that each bullet touches first, from 1; 0 for none.
using answers = std::vector<int>;

class process_crowd {
public:
  explicit process_crowd(const crowd &c)
      : asks_(c.asks), host_(host_at_depth(32)), places_(c), form_(form_of(c.asks)) {
    bullet_graph_ = square(bullet_side);
    enemy_graph_ = square(enemy_side);
    for (const point &p : places_.enemies) {
      if (asks_ == question::pointer) {
        former_pointer_ = *_mouse_graphics2D_;
        *_mouse_graphics2D_ = {0, enemy_graph_, p.x, p.y, 0, 100, 0};
        continue;
      }
      orb_process *const enemy = spawn(enemy_type, enemy_graph_, p);
      if (asks_ == question::turned) enemy->locals->angle = 180000;
      number_[orbhost::ProcessList::id(enemy)] = int(number_.size()) + 1;
    }
    for (const point &p : places_.bullets)
      bullets_.push_back(spawn(bullet_type, bullet_graph_, p));
  }
  process_crowd(const process_crowd &) = delete;
  process_crowd &operator=(const process_crowd &) = delete;

  ~process_crowd() {
    if (asks_ == question::pointer) *_mouse_graphics2D_ = former_pointer_;
    host_.processes().current = nullptr;
    host_.processes().kill_all();
    host_.frame();
    host_.call("map_unload", {bullet_graph_});
    host_.call("map_unload", {enemy_graph_});
  }

  /// Every bullet asks once, as if in a new frame.
  template <typename function> void ask(function answer) {
    ++frame_number;
    // Called as the player calls for a script.
    const auto integer = [](int32_t word) {
      return orbhost::ArgumentWord{orbhost::Argument::Kind::integer, word};
    };
    const orbhost::ArgumentWord target = integer(asks_ == question::pointer ? -1 : enemy_type);
    for (size_t i = 0; i < bullets_.size(); ++i) {
      host_.processes().current = bullets_[i];
      const point &at = places_.bullets[i];
      const orbhost::ArgumentWord of_point[] = {integer(at.x), integer(at.y), target};
      answer(host_.call_words(form_, asks_ == question::point ? of_point : &target));
    }
  }

  answers ask_all() {
    answers result;
    ask([&](int32_t id) {
      result.push_back(id == 0 ? 0 : asks_ == question::pointer ? 1 : number_.at(id));
    });
    return result;
  }

private:
  const orbhost::Function &form_of(question asks) const {
    const char *const signature = asks == question::overlap ? "overlap(I)"
                                  : asks == question::point ? "collision(I,I,I)"
                                                            : "collision(I)";
    return function_form(host_, signature);
  }

  int square(int side) { return host_.call("map_new", {side, side, 0x00808080}); }

  orb_process *spawn(int32_t type, int graph, point at) {
    orb_process *const process = host_.spawn(type);
    process->locals->graph = graph;
    process->locals->x = at.x;
    process->locals->y = at.y;
    return process;
  }

  question asks_;
  orbhost::Host &host_;
  places places_;
  const orbhost::Function &form_;
  int bullet_graph_, enemy_graph_;
  script_mouse former_pointer_{};
  std::vector<orb_process *> bullets_;
  std::unordered_map<int32_t, int> number_;
};

constexpr const char *lua_loop = R"(
local bullets, enemies, answers = {}, {}, {}

function add(all, x, y)
  all = all == 1 and bullets or enemies
  all[#all + 1] = {x = x, y = y}
end

-- Touching is to lie between these distances, in x and in y.
function ask(low, high)
  for i = 1, #bullets do
    local bullet = bullets[i]
    local x, y = bullet.x, bullet.y
    local answer = 0
    for j = 1, #enemies do
      local enemy = enemies[j]
      local dx = enemy.x - x
      if dx > low and dx < high then
        local dy = enemy.y - y
        if dy > low and dy < high then
          answer = j
          break
        end
      end
    end
    answers[i] = answer
  end
end

function answer(i) return answers[i] end
)";

class lua_crowd {
public:
  explicit lua_crowd(const crowd &c) : state_(luaL_newstate()) {
    if (!state_) throw std::bad_alloc();
    luaL_openlibs(state_.get());
    if (luaL_dostring(state_.get(), lua_loop)) fail();
    const places where(c);
    for (const point &p : where.bullets)
      call("add", {1, p.x, p.y});
    for (const point &p : where.enemies)
      call("add", {2, p.x, p.y});
    count_ = c.bullets;
    // A square of an even side reaches a pixel less far to the right of its middle than to the
    // left, one that is turned upside down the other way round.
    constexpr int reach = enemy_side / 2, both = reach + bullet_side / 2;
    switch (c.asks) {
    case question::point: low_ = -reach, high_ = reach + 1; break;
    case question::turned: low_ = -both - 1, high_ = both - 1; break;
    default: low_ = -both, high_ = both;
    }
  }

  void ask() { call("ask", {low_, high_}); }

  answers ask_all() {
    ask();
    answers result;
    for (int i = 1; i <= count_; ++i)
      result.push_back(call("answer", {i}));
    return result;
  }

private:
  struct closer {
    void operator()(lua_State *state) const { lua_close(state); }
  };

  [[noreturn]] void fail() {
    throw std::runtime_error(std::string("Lua: ") + lua_tostring(state_.get(), -1));
  }

  int call(const char *name, std::initializer_list<int> arguments) {
    lua_State *const L = state_.get();
    lua_getglobal(L, name);
    for (const int argument : arguments)
      lua_pushinteger(L, argument);
    if (lua_pcall(L, int(arguments.size()), 1, 0) != LUA_OK) fail();
    const int result = int(lua_tointeger(L, -1));
    lua_pop(L, 1);
    return result;
  }

  std::unique_ptr<lua_State, closer> state_;
  int count_, low_, high_;
};

void run_ours(benchmark::State &state, const crowd &c) {
  process_crowd ours(c);
  if (ours.ask_all() != lua_crowd(c).ask_all())
    return state.SkipWithError("other answers than the loop's");
  for (auto _ : state)
    ours.ask([](int32_t answer) { benchmark::DoNotOptimize(answer); });
  state.SetItemsProcessed(state.iterations());
}

void run_lua(benchmark::State &state, const crowd &c) {
  lua_crowd loop(c);
  loop.ask();
  for (auto _ : state)
    loop.ask();
  state.SetItemsProcessed(state.iterations());
}

} // namespace

void register_crowd_benchmarks() {
  set_table_style("crowd", {"Bullets that look for an enemy that they touch", 1, "frames/s"});
  for (const crowd &c : crowds) {
    const std::string name = std::string("crowd/") + c.name;
    set_expectation(name, {target_of(name), double(c.bullets) * c.enemies, {}});
    benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), run_ours, c);
    benchmark::RegisterBenchmark((name + "/Lua loop").c_str(), run_lua, c);
  }
}

} // namespace orbbench
