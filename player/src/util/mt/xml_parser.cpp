// XML documents over the TinyXML parser: the document handles, the child-element readers,
// the validating attribute reader and the XML output helpers.
#include "player/src/util/mt/xml_parser.h"

#include <tinyxml.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/string_buffer.hpp"
#include "player/src/util/mt/xml_parser.hpp"

struct xml_document {
  TiXmlDocument doc;
  // A refusal by the pre-parse scan, reported in place of the parser's own error.
  const char* refusal = nullptr;
  int refused_row = 0;
  int refused_column = 0;
};

namespace vona {
namespace {

// ---- The pre-parse scan --------------------------------------------------------------------

// The byte count the parser takes for one character of UTF-8 text, led by byte c.
int utf8_step(unsigned char c) { return c < 0xC2 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : c < 0xF5 ? 4 : 1; }

bool is_name_start(unsigned char c) { return c >= 127 || is_alpha(c) || c == '_'; }
bool is_name_char(unsigned char c) { return is_name_start(c) || is_digit(c) || c == '-' || c == '.' || c == ':'; }

bool starts_with(const char* p, const char* tag) { return strncmp(p, tag, strlen(tag)) == 0; }
bool starts_with_ci(const char* p, const char* tag) {
  for (; *tag; ++p, ++tag) {
    if (to_lower((unsigned char)*p) != to_lower((unsigned char)*tag)) return false;
  }
  return true;
}

class Scanner {
 public:
  Scanner(const char* text, int max_depth, int max_attributes)
      : text_(text), max_depth_(max_depth), max_attributes_(max_attributes) {}

  XmlScan run() {
    const char* p = text_;
    if (starts_with(p, "\xEF\xBB\xBF")) utf8_ = decided_ = true;
    while (p != nullptr && result_.refused_at < 0) {
      if (depth_ == 0) {
        p = skip_space(p);
        if (*p != '<') break;  // the parser stops at text outside the elements
        p = markup(p);
      } else if (*p == '\0') {
        break;
      } else if (*p != '<') {
        p = skip_text(p, '<');
      } else {
        p = markup(p);
      }
    }
    return result_;
  }

 private:
  // In each step, a null pointer means that the parser stops with an error at that point;
  // nothing after it is parsed, so the scan ends as well.

  const char* skip_space(const char* p) const {
    for (;;) {
      if (utf8_ && (starts_with(p, "\xEF\xBB\xBF") || starts_with(p, "\xEF\xBF\xBE") ||
                    starts_with(p, "\xEF\xBF\xBF"))) {
        p += 3;
      } else if (*p && is_space(*p)) {
        ++p;
      } else {
        return p;
      }
    }
  }

  // Text and quoted values are read character by character; a UTF-8 character swallows the
  // bytes it claims, whatever they are.
  const char* skip_text(const char* p, char end) const {
    while (*p && *p != end) {
      int n = utf8_ ? utf8_step(*p) : 1;
      for (int i = 0; i < n; ++i, ++p) {
        if (*p == '\0') return p;
      }
    }
    return p;
  }

  static const char* past(const char* p, const char* end_tag) {
    const char* found = strstr(p, end_tag);
    return found ? found + strlen(end_tag) : p + strlen(p);
  }

  const char* markup(const char* p) {
    if (starts_with_ci(p, "<?xml")) return declaration(p);
    if (starts_with(p, "<!--")) return past(p + 4, "-->");
    if (starts_with(p, "<![CDATA[")) return past(p + 9, "]]>");
    if (p[1] == '/') {  // an end tag; at the document level the parser skips it
      if (depth_ > 0) --depth_;
      return past(p, ">");
    }
    if (is_name_start(p[1])) return start_tag(p);
    return past(p, ">");  // "<!DOCTYPE", "<?pi", "< x": skipped up to '>'
  }

  // An element one level below the current one; it stays open unless it ends with "/>".
  const char* start_tag(const char* tag) {
    if (depth_ + 1 > result_.max_depth) result_.max_depth = depth_ + 1;
    if (depth_ + 1 > max_depth_) return refuse(tag, "Elements nested too deeply");
    // In a start tag the parser reads a quote either as the start of an attribute value or
    // as an error that ends parsing, so every quote is taken as a value.
    int attributes = 0;
    for (const char* p = tag + 1; *p;) {
      char c = *p;
      if (c == '>') {
        ++depth_;
        return p + 1;
      }
      if (c == '/') return p[1] == '>' ? p + 2 : nullptr;
      if (c == '"' || c == '\'') {
        p = skip_text(p + 1, c);
        if (*p == '\0') return nullptr;
      } else if (c == '=' && ++attributes > max_attributes_) {
        return refuse(tag, "Too many attributes on one element");
      }
      ++p;
    }
    return nullptr;
  }

  // "<?xml ...>": only the values of version, encoding and standalone are read as attribute
  // values (quotes count there); anything else is skipped word by word up to '>'. The first
  // declaration at the document level decides the encoding of the rest.
  const char* declaration(const char* start) {
    std::string encoding;
    const char* p = start + 5;
    while (*p) {
      if (*p == '>') {
        if (depth_ == 0 && !decided_) {
          if (encoding.find('&') != std::string::npos) {
            return refuse(start, "Character reference in the encoding declaration");
          }
          decided_ = true;
          utf8_ = encoding.empty() || starts_with_ci(encoding.c_str(), "UTF-8") ||
                  starts_with_ci(encoding.c_str(), "UTF8");
        }
        return p + 1;
      }
      p = skip_space(p);
      bool is_encoding = !starts_with_ci(p, "version") && starts_with_ci(p, "encoding");
      if (starts_with_ci(p, "version") || is_encoding || starts_with_ci(p, "standalone")) {
        while (is_name_char(*p)) ++p;
        p = skip_space(p);
        if (*p != '=') return nullptr;
        p = skip_space(p + 1);
        const char* value = p;
        if (*p == '"' || *p == '\'') {
          value = p + 1;
          p = skip_text(value, *p);
        } else {
          while (*p && !is_space(*p) && *p != '/' && *p != '>') {
            if (*p == '"' || *p == '\'') return nullptr;
            ++p;
          }
        }
        if (is_encoding) encoding.assign(value, p);
        if (*p == '"' || *p == '\'') ++p;
      } else {
        while (*p && *p != '>' && !is_space(*p)) ++p;
      }
    }
    return nullptr;
  }

  const char* refuse(const char* at, const char* reason) {
    result_.refused_at = at - text_;
    result_.reason = reason;
    return nullptr;
  }

  const char* text_;
  int max_depth_;
  int max_attributes_;
  int depth_ = 0;
  bool utf8_ = false;
  bool decided_ = false;
  XmlScan result_;
};

// ---- Handles ---------------------------------------------------------------------------------

TiXmlNode* node_of(const void* handle) { return static_cast<TiXmlNode*>(const_cast<void*>(handle)); }
TiXmlElement* element_of(const xml_element* e) {
  return reinterpret_cast<TiXmlElement*>(const_cast<xml_element*>(e));
}
xml_element* handle(TiXmlElement* e) { return reinterpret_cast<xml_element*>(e); }
xml_node* handle(TiXmlNode* n) { return reinterpret_cast<xml_node*>(n); }

const char* safe(const char* text) { return text ? text : ""; }

// ---- Child elements ---------------------------------------------------------------------------

TiXmlElement* child(const xml_element* element, const char* name) {
  return element ? element_of(element)->FirstChildElement(name) : nullptr;
}

const char* text_of(const TiXmlElement* e) {
  for (const TiXmlNode* n = e->FirstChild(); n; n = n->NextSibling()) {
    if (n->ToText()) return n->Value();
  }
  return nullptr;
}

const char* child_text(const xml_element* element, const char* name, const char* context, bool required) {
  TiXmlElement* c = child(element, name);
  const char* text = c ? text_of(c) : nullptr;
  if (required && text == nullptr) {
    const char* parent = element ? element_of(element)->Value() : "";
    if (c == nullptr) log_print("%s: the required child element '%s' of '%s' is missing", safe(context), name, parent);
    else log_print("%s: invalid child element '%s' of '%s'", safe(context), name, parent);
  }
  return text;
}

int no_yes_index(const char* text, int default_value) {
  return get_index_by_func_and_string(get_no_yes_choice_string_by_value, text, default_value);
}

int checked_unixtime(const char* text, const char* name, const char* context) {
  if (text == nullptr) return -1;
  int value = atoi(text);
  if (value > XML_MIN_PLAUSIBLE_UNIXTIME) return value;
  log_print("%s: invalid '%s' element found: invalid unixtime %s", safe(context), name, text);
  return -1;
}

// The caption child for a language: the first with a matching "lang", else the last without.
TiXmlElement* caption_child(const xml_element* element, const char* name, const char* language) {
  TiXmlElement* fallback = nullptr;
  for (TiXmlElement* c = child(element, name); c; c = c->NextSiblingElement(name)) {
    const char* lang = c->Attribute("lang");
    if (lang == nullptr) fallback = c;
    else if (language && strcmp(lang, language) == 0) return c;
  }
  return fallback;
}

void append_escaped_text(str_buf* sb, const char* text) {
  for (const char* p = text; *p; ++p) {
    switch (*p) {
      case '<': str_buf_append(sb, "&lt;"); break;
      case '>': str_buf_append(sb, "&gt;"); break;
      case '&': str_buf_append(sb, "&amp;"); break;
      case '"': str_buf_append(sb, "&quot;"); break;
      default: str_buf_append_char(sb, *p);
    }
  }
}

// Recursion is bounded: the scan refuses documents deeper than XML_MAX_DEPTH.
void serialise(str_buf* sb, const TiXmlElement* e) {
  str_buf_append_char(sb, '<');
  str_buf_append(sb, e->Value());
  for (const TiXmlAttribute* a = e->FirstAttribute(); a; a = a->Next()) {
    str_buf_append_char(sb, ' ');
    str_buf_append(sb, a->Name());
    str_buf_append(sb, "=\"");
    append_escaped_text(sb, a->Value());
    str_buf_append_char(sb, '"');
  }
  str_buf_append_char(sb, '>');
  for (const TiXmlNode* n = e->FirstChild(); n; n = n->NextSibling()) {
    if (n->ToElement()) serialise(sb, n->ToElement());
    else if (n->ToText()) append_escaped_text(sb, n->Value());
  }
  str_buf_append(sb, "</");
  str_buf_append(sb, e->Value());
  str_buf_append_char(sb, '>');
}

// ---- tinyxml_utils -----------------------------------------------------------------------------

const char* node_child_text(const void* node, const char* name, const char* context, bool required) {
  TiXmlElement* c = node ? node_of(node)->FirstChildElement(name) : nullptr;
  const char* text = c ? c->GetText() : nullptr;
  if (text && *text) return text;
  if (required) {
    if (c == nullptr) log_print("%s: the required '%s' element is missing", safe(context), name);
    else log_print("%s: invalid '%s' element found", safe(context), name);
  }
  return nullptr;
}

// ---- xmlp ----------------------------------------------------------------------------------------

void add(xmlp_context* context, int level, const char* format, ...) VONA_PRINTF(3, 4);
void add(xmlp_context* context, int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  ML_add_message_v(context->messages, level, 1, format, args);
  va_end(args);
}

xmlp_context* load(char* text, const char* root_name) {
  xmlp_context* context = static_cast<xmlp_context*>(calloc(1, sizeof(xmlp_context)));
  context->messages = ML_create_message_list();
  context->xml_text = text;
  if (text == nullptr) return context;
  context->document = xml_document_build_from_string(text);
  if (context->document == nullptr) {
    add(context, XMLP_LEVEL_ERROR, "Unable to create XML document.");
    return context;
  }
  if (xml_document_is_error(context->document)) {
    int id, row, column;
    char* description = nullptr;
    xml_document_get_error_info(context->document, &id, &description, &row, &column);
    add(context, XMLP_LEVEL_ERROR, "Unable to parse XML at line %d, col %d: %s", row, column, description);
    free(description);
    return context;
  }
  context->root = xml_document_get_root_element(context->document);
  if (context->root == nullptr) {
    add(context, XMLP_LEVEL_ERROR, "Root element not found.");
  } else if (root_name && strcmp(element_of(context->root)->Value(), root_name) != 0) {
    add(context, XMLP_LEVEL_ERROR, "Root element \"%s\" found instead of \"%s\".", element_of(context->root)->Value(),
        root_name);
    context->root = nullptr;
  }
  return context;
}

// A whole-value number in `base`, saturated to the range of long long; false when the value
// is not a number.
bool parse_number(const char* text, int base, long long* value) {
  char* end;
  *value = strtoll(text, &end, base);
  return end != text && *end == '\0';
}

// The shared frame of the numeric readers: missing, empty and non-numeric values complain
// with the default (printed by `shown`); `check` decides about range and returns a complaint
// format (with name, value and default) or null.
using RangeCheck = const char* (*)(long long value, int default_value);

int get_number(xmlp_context* context, const xml_element* element, const char* name, int default_value, int base,
               bool missing_is_silent, const char* shown, RangeCheck check) {
  const char* value = element_of(element)->Attribute(name);
  std::string format;
  long long number = 0;
  if (value == nullptr) {
    if (missing_is_silent) return default_value;
    format = std::string("Missing attribute %s; default value ") + shown + " used.";
    xmlp_error(context, element, format.c_str(), name, default_value);
  } else if (*value == '\0') {
    format = std::string("Empty attribute %s; default value ") + shown + " used.";
    xmlp_error(context, element, format.c_str(), name, default_value);
  } else if (!parse_number(value, base, &number)) {
    format = std::string("Invalid attribute value %s=\"%s\"; default value ") + shown + " used.";
    xmlp_error(context, element, format.c_str(), name, value, default_value);
  } else if (const char* complaint = check(number, default_value)) {
    format = std::string(complaint) + shown + " used.";
    xmlp_error(context, element, format.c_str(), name, value, default_value);
  } else {
    return (int)number;
  }
  return default_value;
}

const char* check_bool(long long value, int) {
  return value == 0 || value == 1 ? nullptr : "Attribute value %s=\"%s\" should be 0 or 1; default value ";
}
const char* check_int(long long value, int default_value) {
  if (value > INT_MAX) return "Invalid attribute value %s=\"%s\"; default value ";
  return value < default_value ? "Attribute value %s=\"%s\" is too small; default value " : nullptr;
}
const char* check_hex_byte(long long value, int) {
  return value >= 0 && value <= 0xFF ? nullptr
                                     : "Attribute value %s=\"%s\" is not in range 00..FF; default value ";
}

}  // namespace

XmlScan xml_scan(const char* text, int max_depth, int max_attributes) {
  return Scanner(text, max_depth, max_attributes).run();
}

}  // namespace vona

using namespace vona;

// ---- Document layer -------------------------------------------------------------------------------

void xml_document_initialize(void) { TiXmlBase::SetCondenseWhiteSpace(false); }

xml_document* xml_document_build_from_string(const char* text) {
  if (text == nullptr || str_seg_is_spaces(str_to_seg(text))) return nullptr;
  xml_document* doc = new xml_document;
  XmlScan scan = xml_scan(text, XML_MAX_DEPTH, XML_MAX_ATTRIBUTES);
  if (scan.refused_at >= 0) {
    doc->refusal = scan.reason;
    doc->refused_row = 1;
    const char* line = text;
    for (const char* p = text; p < text + scan.refused_at; ++p) {
      if (*p == '\n') ++doc->refused_row, line = p + 1;
    }
    doc->refused_column = (int)(text + scan.refused_at - line) + 1;
    return doc;
  }
  // The parser may step up to three bytes past the end of a text that ends inside a UTF-8
  // character; such a text is parsed from a copy with room for that.
  size_t length = strlen(text);
  bool cut_character = false;
  for (size_t i = length > 3 ? length - 3 : 0; i < length; ++i) {
    if (i + utf8_step((unsigned char)text[i]) > length) cut_character = true;
  }
  if (cut_character) {
    std::string padded(text, length);
    padded.append(4, '\0');
    doc->doc.Parse(padded.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
  } else {
    doc->doc.Parse(text, nullptr, TIXML_ENCODING_UNKNOWN);
  }
  return doc;
}

void xml_document_free(xml_document* doc) { delete doc; }

int xml_document_is_error(const xml_document* doc) { return doc->refusal != nullptr || doc->doc.Error(); }

void xml_document_get_error_info(const xml_document* doc, int* id, char** description, int* row, int* column) {
  free(*description);
  if (doc->refusal) {
    *id = XML_ERROR_REFUSED;
    *description = strdup(doc->refusal);
    *row = doc->refused_row;
    *column = doc->refused_column;
  } else {
    *id = doc->doc.ErrorId();
    *description = strdup(doc->doc.ErrorDesc());
    *row = doc->doc.ErrorRow();
    *column = doc->doc.ErrorCol();
  }
}

xml_element* xml_document_get_root_element(const xml_document* doc) {
  return doc->refusal ? nullptr : handle(const_cast<TiXmlDocument&>(doc->doc).FirstChildElement());
}

xml_node* xml_element_first_child(const xml_element* element) { return handle(element_of(element)->FirstChild()); }
xml_element* xml_element_first_child_element(const xml_element* element) {
  return handle(element_of(element)->FirstChildElement());
}
xml_element* xml_element_first_child_element_with_name(const xml_element* element, const char* name) {
  return handle(element_of(element)->FirstChildElement(name));
}
xml_node* xml_node_next_sibling(const xml_node* node) { return handle(node_of(node)->NextSibling()); }
xml_element* xml_element_next_sibling_element(const xml_element* element) {
  return handle(element_of(element)->NextSiblingElement());
}
xml_element* xml_element_next_sibling_element_with_name(const xml_element* element, const char* name) {
  return handle(element_of(element)->NextSiblingElement(name));
}

xml_attribute* xml_element_first_attribute(const xml_element* element) {
  return reinterpret_cast<xml_attribute*>(element_of(element)->FirstAttribute());
}
xml_attribute* xml_attribute_next(const xml_attribute* attribute) {
  return reinterpret_cast<xml_attribute*>(
      const_cast<TiXmlAttribute*>(reinterpret_cast<const TiXmlAttribute*>(attribute)->Next()));
}
const char* xml_attribute_get_name(const xml_attribute* attribute) {
  return reinterpret_cast<const TiXmlAttribute*>(attribute)->Name();
}
const char* xml_attribute_get_value(const xml_attribute* attribute) {
  return reinterpret_cast<const TiXmlAttribute*>(attribute)->Value();
}

xml_element* xml_node_to_element(const xml_node* node) {
  return node_of(node)->Type() == TiXmlNode::TINYXML_ELEMENT ? handle(node_of(node)->ToElement()) : nullptr;
}
xml_node* xml_node_to_text(const xml_node* node) {
  return node_of(node)->Type() == TiXmlNode::TINYXML_TEXT ? handle(node_of(node)) : nullptr;
}
const char* xml_text_get_text(const xml_node* node) { return node_of(node)->Value(); }
const char* xml_element_get_attribute(const xml_element* element, const char* name) {
  return element_of(element)->Attribute(name);
}
int xml_element_get_line(const xml_element* element) { return element_of(element)->Row(); }

// ---- Child-element readers -------------------------------------------------------------------------

const char* xml_utils_get_text_from_element(const xml_element* element) { return text_of(element_of(element)); }

const char* xml_utils_get_child_element_text(const xml_element* element, const char* name, const char* context) {
  return child_text(element, name, context, true);
}
const char* xml_utils_get_optional_child_element_text(const xml_element* element, const char* name,
                                                      const char* context) {
  return child_text(element, name, context, false);
}

int xml_utils_get_child_element_int(const xml_element* element, const char* name, const char* context) {
  const char* text = child_text(element, name, context, true);
  return text ? atoi(text) : 0;
}
int xml_utils_get_optional_child_element_int(const xml_element* element, const char* name, int default_value,
                                             const char* context) {
  const char* text = child_text(element, name, context, false);
  return text ? atoi(text) : default_value;
}
long long xml_utils_get_child_element_long_long(const xml_element* element, const char* name, const char* context) {
  const char* text = child_text(element, name, context, true);
  return text ? atoll(text) : 0;
}
long long xml_utils_get_optional_child_element_long_long(const xml_element* element, const char* name,
                                                         long long default_value, const char* context) {
  const char* text = child_text(element, name, context, false);
  return text ? atoll(text) : default_value;
}
double xml_utils_get_optional_child_element_double(const xml_element* element, const char* name,
                                                   double default_value, const char* context) {
  const char* text = child_text(element, name, context, false);
  return text ? strtod(text, nullptr) : default_value;
}

int xml_utils_get_child_element_bool(const xml_element* element, const char* name, const char* context) {
  return no_yes_index(child_text(element, name, context, true), -1);
}
int xml_utils_get_optional_child_element_bool(const xml_element* element, const char* name, int default_value,
                                              const char* context) {
  return no_yes_index(child_text(element, name, context, false), default_value);
}

int xml_utils_get_child_element_unixtime(const xml_element* element, const char* name, const char* context) {
  return checked_unixtime(child_text(element, name, context, true), name, context);
}
int xml_utils_get_optional_child_element_unixtime(const xml_element* element, const char* name,
                                                  const char* context) {
  return checked_unixtime(child_text(element, name, context, false), name, context);
}

properties* xml_utils_get_child_element_params(const xml_element* element, const char* name, int keep_duplicates) {
  TiXmlElement* c = child(element, name);
  if (c == nullptr) return nullptr;
  properties* params = keep_duplicates ? properties_create_empty() : properties_create_with_index();
  for (TiXmlElement* g = c->FirstChildElement(); g; g = g->NextSiblingElement()) {
    const char* text = safe(text_of(g));
    if (keep_duplicates) properties_force_add_last(params, g->Value(), text);
    else properties_set(params, g->Value(), text);
  }
  return params;
}

const char* xml_utils_get_optional_child_element_caption(const xml_element* element, const char* name,
                                                         const char* language, const char* context) {
  TiXmlElement* c = caption_child(element, name, language);
  if (c == nullptr) return nullptr;
  const char* text = text_of(c);
  if (text == nullptr) log_print("%s: failed to get text from '%s' element", safe(context), name);
  return text;
}

char* xml_utils_get_optional_child_element_inner_xml_caption(const xml_element* element, const char* name,
                                                             const char* language) {
  TiXmlElement* c = caption_child(element, name, language);
  if (c == nullptr) return nullptr;
  str_buf sb = {nullptr, 0, 0};
  for (TiXmlElement* e = c->FirstChildElement(); e; e = e->NextSiblingElement()) serialise(&sb, e);
  return str_buf_c_str(&sb);
}

smart_caption* smart_caption_create(const char* translation_key, const char* default_caption,
                                    C_StringMap* captions_by_language) {
  smart_caption* caption = static_cast<smart_caption*>(malloc(sizeof(smart_caption)));
  caption->translation_key = translation_key ? strdup(translation_key) : nullptr;
  caption->default_caption = default_caption ? strdup(default_caption) : nullptr;
  caption->captions_by_language = captions_by_language;
  return caption;
}

void smart_caption_free(smart_caption* caption) {
  if (caption == nullptr) return;
  free(caption->translation_key);
  free(caption->default_caption);
  string_map_free(caption->captions_by_language);
  free(caption);
}

smart_caption* xml_utils_get_optional_child_element_smart_caption(const xml_element* element, const char* name,
                                                                  const char* context) {
  TiXmlElement* first = child(element, name);
  if (first == nullptr) return nullptr;
  if (const char* key = first->Attribute("t_key")) return smart_caption_create(key, nullptr, nullptr);
  C_StringMap* by_language = nullptr;
  const char* default_caption = nullptr;
  for (TiXmlElement* c = first; c; c = c->NextSiblingElement(name)) {
    const char* text = text_of(c);
    if (const char* lang = c->Attribute("lang")) {
      if (by_language == nullptr) by_language = string_map_create();
      string_map_put(by_language, lang, safe(text));
    } else if (default_caption == nullptr) {
      default_caption = text;
    }
  }
  if (default_caption == nullptr) {
    log_print("%s: invalid smart caption: default caption is missing", safe(context));
    string_map_free(by_language);
    return nullptr;
  }
  return smart_caption_create(nullptr, default_caption, by_language);
}

// ---- Readers on a raw parser node --------------------------------------------------------------------

const char* tinyxml_utils_get_child_element_text(const void* node, const char* name, const char* context) {
  return node_child_text(node, name, context, true);
}
const char* tinyxml_utils_get_optional_child_element_text(const void* node, const char* name) {
  return node_child_text(node, name, nullptr, false);
}
int tinyxml_utils_get_child_element_int(const void* node, const char* name, const char* context) {
  const char* text = node_child_text(node, name, context, true);
  return text ? atoi(text) : 0;
}
int tinyxml_utils_get_optional_child_element_int(const void* node, const char* name, int default_value) {
  const char* text = node_child_text(node, name, nullptr, false);
  return text ? atoi(text) : default_value;
}
long long tinyxml_utils_get_child_element_long_long(const void* node, const char* name, const char* context) {
  const char* text = node_child_text(node, name, context, true);
  return text ? atoll(text) : 0;
}
int tinyxml_utils_get_child_element_unixtime(const void* node, const char* name, const char* context) {
  return checked_unixtime(node_child_text(node, name, context, true), name, context);
}
int tinyxml_utils_get_optional_child_element_unixtime(const void* node, const char* name, const char* context) {
  return checked_unixtime(node_child_text(node, name, context, false), name, context);
}

// ---- Validating attribute reader -------------------------------------------------------------------------

xmlp_context* xmlp_start(const char* filename, const char* root_name) {
  MY_ASSERT(filename != NULL);
  char* text = FS_read_string_unlimited(filename);
  xmlp_context* context = load(text, root_name);
  if (text == nullptr) add(context, XMLP_LEVEL_ERROR, "Unable to read file \"%s\".", filename);
  return context;
}

xmlp_context* xmlp_start_parse_string(char* xml_string, const char* root_name) {
  MY_ASSERT(xml_string != NULL);
  return load(xml_string, root_name);
}

message_list* xmlp_finish(xmlp_context* context) {
  message_list* messages = context->messages;
  free(context->xml_text);
  xml_document_free(context->document);
  free(context);
  if (messages->count > 0) return messages;
  ML_free_message_list(messages);
  return nullptr;
}

void xmlp_error(xmlp_context* context, const xml_element* element, const char* format, ...) {
  char with_line[1010];
  if (element) {
    snprintf(with_line, sizeof with_line, "Line %d: %s", xml_element_get_line(element), format);
    format = with_line;
  }
  va_list args;
  va_start(args, format);
  ML_add_message_v(context->messages, XMLP_LEVEL_WARNING, 1, format, args);
  va_end(args);
}

int xmlp_expect_el(xmlp_context* context, const xml_element* element, const char* name) {
  const char* found = element_of(element)->Value();
  if (strcmp(found, name) == 0) return 1;
  xmlp_error(context, element, "<%s> element expected; <%s> found instead.", name, found);
  return 0;
}

int xmlp_has_attribute(const xml_element* element, const char* name) {
  return element_of(element)->Attribute(name) != nullptr;
}

char* xmlp_get_str_implied(xmlp_context*, const xml_element* element, const char* name) {
  const char* value = element_of(element)->Attribute(name);
  return value ? strdup(value) : nullptr;
}

char* xmlp_get_str(xmlp_context* context, const xml_element* element, const char* name, const char* default_value) {
  const char* value = element_of(element)->Attribute(name);
  if (value && *value) return strdup(value);
  if (default_value == nullptr) {
    if (value == nullptr) xmlp_error(context, element, "Missing attribute %s; default value NULL used.", name);
    return nullptr;
  }
  const char* format = value ? "Empty attribute %s; default value \"%s\" used."
                             : "Missing attribute %s; default value \"%s\" used.";
  xmlp_error(context, element, format, name, default_value);
  return strdup(default_value);
}

int xmlp_get_enum(xmlp_context* context, const xml_element* element, const char* name,
                  int (*parse)(const char* value), int default_value) {
  const char* value = element_of(element)->Attribute(name);
  if (value == nullptr) {
    xmlp_error(context, element, "Missing attribute %s; default value used.", name);
    return default_value;
  }
  int result = parse(value);
  if (result != -1) return result;
  xmlp_error(context, element, "Invalid attribute value %s=\"%s\"; default value used.", name, value);
  return default_value;
}

int xmlp_get_bool(xmlp_context* context, const xml_element* element, const char* name, int default_value) {
  return get_number(context, element, name, default_value, 10, false, "%d", check_bool);
}
int xmlp_get_int(xmlp_context* context, const xml_element* element, const char* name, int default_value) {
  return get_number(context, element, name, default_value, 10, false, "%d", check_int);
}
int xmlp_get_int_implied(xmlp_context* context, const xml_element* element, const char* name, int default_value) {
  return get_number(context, element, name, default_value, 10, true, "%d", check_int);
}
int xmlp_get_hex_byte(xmlp_context* context, const xml_element* element, const char* name, int default_value) {
  return get_number(context, element, name, default_value, 16, false, "%02X", check_hex_byte);
}

// ---- Output --------------------------------------------------------------------------------------------------

void xmlp_append(str_buf* buffer, const char* text) {
  str_buf_append_char(buffer, '"');
  for (const unsigned char* p = (const unsigned char*)safe(text); *p; ++p) {
    if (*p == '<') str_buf_append(buffer, "&lt;");
    else if (*p == '&') str_buf_append(buffer, "&amp;");
    else if (*p == '"') str_buf_append(buffer, "&quot;");
    else if (*p < 32 || *p == 127) str_buf_append_fmt(buffer, "&#%d;", *p);
    else str_buf_append_char(buffer, (char)*p);
  }
  str_buf_append(buffer, "\" ");
}

const char* xmlp_bool_to_xml(int value) { return value ? "1" : "0"; }
