#include "benchmarks.h"
namespace orbbench { void register_frame_benchmarks() {} }
