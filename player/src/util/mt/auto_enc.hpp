// C++ side of the encoding detection, for the tool.
#ifndef VONAUTIL_AUTO_ENC_HPP
#define VONAUTIL_AUTO_ENC_HPP

#include "player/src/util/mt/auto_enc.h"

namespace vona {

// The name of the index-th interface language that has an 8-bit encoding of its own
// ("english", "russian", ...), or null past the last one.
const char* interface_language_name(int index);

}  // namespace vona

#endif
