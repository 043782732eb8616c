// Calls with any stack alignment: the i386 interface guarantees 4 bytes, vector code needs 16. The
// module must also leave the x87 stack empty, and the control words and the direction flag
// unchanged.
#include <array>
#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "boundary/records.h"
#include "hostile/tour.h"
#include "module/module.h"
#include "simd/cpu.h"

namespace {

/// The stack's distance below a multiple of 16 at the call.
uint32_t misalignment;
std::vector<std::string> broken; // calls that left some state changed

struct processor_state {
  uint16_t x87_control, x87_tags;
  uint32_t mxcsr, flags;
};

processor_state current_state() {
  struct {
    uint32_t control, status, tags, rest[4];
  } x87;
  processor_state state;
  asm volatile("fnstenv %0; fldenv %0" : "=m"(x87));
  asm volatile("stmxcsr %0" : "=m"(state.mxcsr));
  asm volatile("pushfl; popl %0" : "=r"(state.flags));
  state.x87_control = uint16_t(x87.control);
  state.x87_tags = uint16_t(x87.tags);
  return state;
}

/// Calls with the stack at the chosen offset, and checks the state afterwards.
int32_t call_misaligned(int32_t (*function)(), const char *name) {
  const processor_state before = current_state();
  int32_t result;
  uint32_t below = misalignment;
  asm volatile("movl %%esp, %%esi\n\t"
               "andl $-16, %%esp\n\t"
               "subl %%ecx, %%esp\n\t"
               "call *%%eax\n\t"
               "movl %%esi, %%esp"
               : "=a"(result), "+c"(below)
               : "a"(function)
               : "edx", "esi", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5",
                 "xmm6", "xmm7");
  const processor_state after = current_state();
  constexpr uint32_t direction_flag = 0x400, mxcsr_exceptions = 0x3F;
  if (after.x87_tags != 0xFFFF || after.x87_control != before.x87_control ||
      ((after.mxcsr ^ before.mxcsr) & ~mxcsr_exceptions) || (after.flags & direction_flag))
    broken.push_back(name);
  asm volatile("fninit; cld");
  return result;
}

constexpr size_t functions = std::size(functions_table) - 1;

template <size_t index> int32_t handler() {
  return call_misaligned(functions_table[index].handler, functions_table[index].signature);
}
constexpr auto handlers = []<size_t... index>(std::index_sequence<index...>) {
  return std::array<int32_t (*)(), functions>{handler<index>...};
}
(std::make_index_sequence<functions>{});

int32_t init() {
  return call_misaligned(ORB_mod_graphics2D_init, "init");
}
int32_t frame() {
  return call_misaligned(ORB_mod_graphics2D_frame, "frame");
}
int32_t release() {
  return call_misaligned(ORB_mod_graphics2D_release, "release");
}

/// Registers the module's functions and hooks through thunks that misalign the stack.
int32_t misaligned_entry(const orb_registration *host) {
  static const orb_registration *registration;
  static orb_registration between;
  registration = host;
  between = *host;
  between.reg_functions = [](const orb_function *table) {
    std::array<orb_function, functions + 1> rows;
    memcpy(rows.data(), table, sizeof rows);
    for (size_t i = 0; i < functions; ++i)
      rows[i].handler = handlers[i];
    registration->reg_functions(rows.data());
  };
  between.reg_hooks = [](const orb_hook *) {
    static const orb_hook hooks[] = {
        {ORB_HOOK_INIT, init}, {ORB_HOOK_FRAME, frame}, {ORB_HOOK_RELEASE, release}, {0, nullptr}};
    registration->reg_hooks(hooks);
  };
  return call_misaligned([] { return ORB_mod_graphics2D_MainLibraryExports(&between); }, "entry");
}

struct EntryPoints : testing::Test {
  EntryPoints() { broken.clear(); }
  ~EntryPoints() override {
    EXPECT_EQ(broken, std::vector<std::string>());
    mask_instruction_sets(instruction_set::avx2);
  }
};

} // namespace

TEST_F(EntryPoints, ShowTheSameWithAnyStackAndAnyInstructions) {
  const traces aligned = tour_of();
  for (const instruction_set highest : {instruction_set::sse2, instruction_set::avx2})
    for (const uint32_t below : {0u, 4u, 8u, 12u}) {
      mask_instruction_sets(highest);
      misalignment = below;
      EXPECT_EQ(tour_of({{}, misaligned_entry}), aligned) << below << " bytes below 16";
    }
}

TEST_F(EntryPoints, EveryFunctionWithAnyStack) {
  std::mt19937 random(4);
  for (const uint32_t below : {4u, 8u, 12u})
    for (const int32_t depth : {8, 16, 32}) {
      misalignment = below;
      world w({{}, misaligned_entry});
      w.set_mode(depth);
      for (int32_t i = 0; i < 3; ++i) {
        w.host.call("map_new", {16, 16, 15});
        w.host.spawn(i)->locals->graph = 1000 + i;
      }
      w.host.call("map_new_cpoint", {0, 1000, 5, 8, 5});
      w.host.call("fpg_add_map", {w.host.call("fpg_new"), 1, 0, 1000});
      w.host.call("region_define", {1, 8, 8, 30, 20});
      w.host.call("draw_new", {3, 15, 12, 1, 2, 3, 40, 30});
      call_everything(w.host, random, 2);
      w.host.frame();
    }
}
