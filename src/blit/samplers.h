// The table of samplers (sampling.h), for the files that compile it for one instruction set.
#pragma once

#include "blit/sampling.h"
#include "blit/scaled_row_samplers.h"
#include "blit/turned_row_samplers.h"

namespace {

inline constexpr samplers all_samplers = {
    {make_plan<uint8_t>, make_plan<uint16_t>, make_plan<uint32_t>},
    {sample_line<uint8_t>, sample_line<uint16_t>, sample_line<uint32_t>}};

} // namespace
