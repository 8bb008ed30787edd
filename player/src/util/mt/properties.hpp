// C++ side of the properties module, for the library's own modules and the tool.
#ifndef VONAUTIL_PROPERTIES_HPP
#define VONAUTIL_PROPERTIES_HPP

#include "player/src/util/mt/properties.h"

namespace vona {

// One difference between two containers: side is "old" for an entry of the old container
// whose key is missing from the new one or has another value there, "new" for the mirror.
using PropertiesChangeFunc = void (*)(void* context, const char* side, const char* key, const char* value);

// Calls report for every difference, first the "old" entries in the old container's order,
// then the "new" ones in the new container's order, and returns their number. The order of
// the entries is not a difference.
int properties_for_each_change(const properties* old_props, const properties* new_props,
                               PropertiesChangeFunc report, void* context);

}  // namespace vona

#endif
