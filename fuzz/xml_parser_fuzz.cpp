// The document layer and every reader on arbitrary text: nothing may crash, the depth scan
// must never see less nesting than the parser built, and each xmlp_* reader must return a
// value its table allows.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_text.hpp"
#include "player/src/util/mt/xml_parser.hpp"
#include "vonautil.h"

namespace {

int parse_word(const char* value) { return strcmp(value, "a") == 0 ? 1 : -1; }

// Reads everything the readers can read below `e`; returns the deepest element level.
int visit(xmlp_context* context, xml_element* e, int level) {
  for (xml_attribute* a = xml_element_first_attribute(e); a; a = xml_attribute_next(a)) {
    const char* name = xml_attribute_get_name(a);
    free(xmlp_get_str(context, e, name, "d"));
    free(xmlp_get_str_implied(context, e, name));
    int word = xmlp_get_enum(context, e, name, parse_word, 7);
    if (word != 1 && word != 7) abort();
    if ((unsigned)xmlp_get_bool(context, e, name, 0) > 1) abort();
    if (xmlp_get_int(context, e, name, 3) < 3 || xmlp_get_int_implied(context, e, name, -5) < -5) abort();
    if ((unsigned)xmlp_get_hex_byte(context, e, name, 0) > 0xFF) abort();
  }
  const char* tag = xml_text_get_text((xml_node*)e);
  xml_utils_get_optional_child_element_text(e, tag, "fuzz");
  xml_utils_get_optional_child_element_unixtime(e, tag, "fuzz");
  tinyxml_utils_get_optional_child_element_unixtime(e, tag, "fuzz");
  properties_free(xml_utils_get_child_element_params(e, tag, level & 1));
  xml_utils_get_optional_child_element_caption(e, tag, "en", "fuzz");
  free(xml_utils_get_optional_child_element_inner_xml_caption(e, tag, "en"));
  smart_caption_free(xml_utils_get_optional_child_element_smart_caption(e, tag, "fuzz"));
  int deepest = level;
  for (xml_node* n = xml_element_first_child(e); n; n = xml_node_next_sibling(n)) {
    if (xml_element* child = xml_node_to_element(n)) {
      int depth = visit(context, child, level + 1);
      if (depth > deepest) deepest = depth;
    } else if (xml_node_to_text(n)) {
      str_buf sb = {nullptr, 0, 0};
      xmlp_append(&sb, xml_text_get_text(n));
      free(sb.data);
    }
  }
  return deepest;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (xml_document_initialize(), true);
  (void)initialized;
  char* text = fuzz_text(data, size);
  vona::XmlScan scan = vona::xml_scan(text, XML_MAX_DEPTH, XML_MAX_ATTRIBUTES);
  xmlp_context* context = xmlp_start_parse_string(text, nullptr);
  int deepest = 0;
  for (xml_element* e = context->root; e; e = xml_element_next_sibling_element(e)) {
    int depth = visit(context, e, 1);
    if (depth > deepest) deepest = depth;
  }
  if (deepest > scan.max_depth || deepest > XML_MAX_DEPTH) abort();
  ML_free_message_list(xmlp_finish(context));
  return 0;
}
