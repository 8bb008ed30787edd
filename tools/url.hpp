// What `vonautil url classify` prints for one URL or file name, for the other commands' use.
#ifndef VONAUTIL_TOOL_URL_HPP
#define VONAUTIL_TOOL_URL_HPP

#include <string>

namespace tool {

// Every kind that holds for url ("media video", "hls", ...), separated by blanks; "-" when none does.
std::string url_kinds(const char* url);

}  // namespace tool

#endif
