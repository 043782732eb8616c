// share/orb.png, made part of the program by the build.
#pragma once

#include <cstddef>

namespace orbplay {

extern const unsigned char icon_file[];
extern const std::size_t icon_file_size;

} // namespace orbplay
