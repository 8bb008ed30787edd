// C++ side of the XML module: the pre-parse scan that keeps hostile documents away from the
// recursive parser, for the module itself, its tests and its fuzz target.
#ifndef VONAUTIL_XML_PARSER_HPP
#define VONAUTIL_XML_PARSER_HPP

#include "player/src/util/mt/xml_parser.h"

namespace vona {

struct XmlScan {
  int max_depth = 0;              // deepest element level met before the scan ended
  long refused_at = -1;           // byte offset of the refused start tag or declaration, or -1
  const char* reason = nullptr;   // why it was refused
};

// Follows the text as the parser will tokenise it (start and end tags, quoted attribute
// values, comments, character data sections, declarations and the multi-byte steps of UTF-8
// text once the document is known to be UTF-8) and stops where the parser would stop. A
// document is refused when an element would lie deeper than max_depth levels, when a start
// tag holds more than max_attributes attributes, or when the encoding named by the XML
// declaration holds a character reference. max_depth is never below the depth the parser
// reaches on the same text.
XmlScan xml_scan(const char* text, int max_depth, int max_attributes);

}  // namespace vona

#endif
