// Internal helpers shared by the modules that save objects into properties and restore them.
#ifndef VONAUTIL_CONTAINER_UTILS_HPP
#define VONAUTIL_CONTAINER_UTILS_HPP

#include <cstdarg>
#include <cstdio>

#include "player/src/util/mt/container_utils.h"

namespace vona {

// The keys of one saved object: the prefix and "." (nothing without a prefix, unless
// `always_dot`), then a formatted name, in a 1024-byte buffer.
class Keys {
 public:
  explicit Keys(const char* prefix, bool always_dot = false) {
    bool dot = always_dot || (prefix != nullptr && *prefix);
    int length = dot ? snprintf(text_, sizeof text_, "%s.", prefix != nullptr ? prefix : "") : 0;
    name_ = length < (int)sizeof text_ ? length : (int)sizeof text_ - 1;
  }

  const char* operator()(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list args;
    va_start(args, format);
    vsnprintf(text_ + name_, sizeof text_ - (size_t)name_, format, args);
    va_end(args);
    return text_;
  }

 private:
  char text_[1024];
  int name_;
};

// "is_null" with the default 1: whether the object was saved as null (or not at all).
inline bool restored_as_null(const properties* props, Keys& name) {
  return properties_get_int(props, name("is_null"), 1) != 0;
}

}  // namespace vona

#endif
