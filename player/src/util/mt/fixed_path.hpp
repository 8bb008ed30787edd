// C++ side of the fixed-path resolver, for the library's own modules.
#ifndef VONAUTIL_FIXED_PATH_HPP
#define VONAUTIL_FIXED_PATH_HPP

#include <string>

#include "player/src/util/mt/fixed_path.h"

namespace vona {

// VONAUTIL_ROOT + path for an absolute path when the variable is set and non-empty,
// otherwise the path itself.
std::string fixed_path(const char* path);
inline std::string fixed_path(const std::string& path) { return fixed_path(path.c_str()); }

}  // namespace vona

#endif
