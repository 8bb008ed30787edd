// C++ side of cmd_buffer, for the command runner.
#ifndef VONAUTIL_CMD_BUFFER_HPP
#define VONAUTIL_CMD_BUFFER_HPP

#include "player/src/util/mt/cmd_buffer.h"

namespace vona {

// What cmd_buffer_cmd_callback does for each byte of a span, done for the whole span at once:
// NUL bytes are dropped (a NUL reaches an output callback as an empty chunk), the rest is
// echoed if asked and appended.
void cmd_buffer_add_output(cmd_buffer* buf, const char* bytes, int length);

}  // namespace vona

#endif
