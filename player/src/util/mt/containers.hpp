// C++ side of the containers module, for the library's own modules.
#ifndef VONAUTIL_CONTAINERS_HPP
#define VONAUTIL_CONTAINERS_HPP

#include <cstddef>

#include "player/src/util/mt/containers.h"

namespace vona {

// The value stored under `key` (NUL-terminated at key[length]), inserted as `value` when the
// key is new (then *inserted is true): one hash and one probe for a lookup that is usually
// followed by an insertion, as when a file is indexed while it is parsed. The pointer is valid
// until the map changes.
long long* long_by_string_map_find_or_insert(C_LongByStringMap* map, const char* key, size_t length, long long value,
                                             bool* inserted);

// Makes room for `count` keys in all, so that the map does not grow while they are put.
void long_by_string_map_reserve(C_LongByStringMap* map, size_t count);

}  // namespace vona

#endif
