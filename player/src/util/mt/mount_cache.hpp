// C++ side of the mount cache: a copy of its entries, for the tool and for measurements.
#ifndef VONAUTIL_MOUNT_CACHE_HPP
#define VONAUTIL_MOUNT_CACHE_HPP

#include <string>
#include <vector>

#include "player/src/util/mt/mount_cache.h"

namespace vona {

struct CachedMount {
  std::string target;
  std::string type_name;
  mount_type code;
};

// The cached mounts in table order (the cache rebuilt first when it is dirty).
std::vector<CachedMount> mount_cache_entries();

}  // namespace vona

#endif
