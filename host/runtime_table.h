// The C functions in the tables that a module gets. They find the active Host here.
#pragma once

#include "orb/graphics2d.h"

#include <cstdint>

namespace orbhost {

class Host;

struct RuntimeTable {
  // Makes `host` the active one and fills its tables. Throws HostError while another is active.
  static void activate(Host &host);
  static void deactivate();
  // The table for the module's entry function.
  static orb_registration registration();

private:
  // These use the Host's private members; the others are file-local.
  static void rt_error(std::int32_t code, const char *function, std::int32_t kind,
                       std::int32_t position, std::int32_t value) noexcept;
  static void reg_constants(const orb_constant *table) noexcept;
  static void reg_globals(const char *text) noexcept;
  static void reg_locals(const char *text) noexcept;
  static void reg_functions(const orb_function *table) noexcept;
  static void reg_hooks(const orb_hook *table) noexcept;
  static void reg_flags(std::int32_t flags) noexcept;
  static orb_runtime *reg_runtime() noexcept;
};

} // namespace orbhost
