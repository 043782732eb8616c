// The table of script functions, made from the one list.
#include "module/module.h"
#include "script/handlers.h"

namespace {

constexpr int32_t listed_functions = 0
#define ORB_FUNCTION(signature, result, flag, handler) +1
#include "script/functions.inc"
#undef ORB_FUNCTION
    ;
static_assert(listed_functions == 310, "the number of registered functions is fixed");

} // namespace

const orb_function functions_table[311] = {
#define ORB_FUNCTION(signature, result, flag, handler) {signature, result, flag, handler},
#include "script/functions.inc"
#undef ORB_FUNCTION
    {nullptr, nullptr, 0, nullptr},
};
