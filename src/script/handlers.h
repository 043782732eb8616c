// Prototypes of all script handlers, made from the list of functions.
#pragma once

#include <cstdint>

#define ORB_FUNCTION(signature, result, flag, handler) int32_t handler();
#include "script/functions.inc"
#undef ORB_FUNCTION
