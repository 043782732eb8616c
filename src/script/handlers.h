// Prototypes of every script handler, made from the one list of functions.
#pragma once

#include <cstdint>

#define ORB_FUNCTION(signature, result, flag, handler) int32_t handler();
#include "script/functions.inc"
#undef ORB_FUNCTION
