/* XML documents: every XML file the library reads (skin configurations, the storage list,
 * the network mount list, item captions) goes through this module.
 *
 * Four layers:
 *   1. The document layer (xml_document_*, xml_element_*, xml_node_*, xml_attribute_*,
 *      xml_text_*): a parsed document behind plain C handles.
 *   2. Child-element readers (xml_utils_*, and the older tinyxml_utils_*) that log problems
 *      through log_print, prefixed with the caller's `context` text, and return defaults.
 *   3. The validating attribute reader (xmlp_*) that collects complaints in a message list.
 *   4. Output: attribute-value quoting and re-serialisation of element subtrees.
 *
 * Call xml_document_initialize() once, before any thread parses XML: it turns white-space
 * condensing off process-wide, so texts keep their blanks and line breaks.
 *
 * Handles. A document is owned by the caller (xml_document_free). Elements, nodes and
 * attributes are borrowed pointers into it, valid until the document is freed. An element is
 * a node: (xml_node*)element is valid wherever a node is expected. Texts returned by the
 * readers are borrowed from the document unless a function says it returns a new string.
 *
 * Hostile input. Nothing here crashes on bad XML. The parser recurses once per element
 * level, about 300 bytes of stack each, so a document whose elements are nested deeper than
 * XML_MAX_DEPTH levels, or that has an element with more than XML_MAX_ATTRIBUTES attributes
 * (whose duplicate check costs quadratic time), is refused before parsing: the document is
 * returned in the error state with id XML_ERROR_REFUSED and the line and column of the
 * offending start tag. A NUL byte ends the text; invalid UTF-8 is taken as it stands.
 *
 * Reading a daemon's file, for example "/tmp/run/network_mount_list.xml":
 *
 *     char* text = FS_read_string(path, 65536);               (null: log and fail)
 *     xml_document* doc = xml_document_build_from_string(text);  (null: "failed to create")
 *     if (xml_document_is_error(doc)) {
 *       int id, row, col; char* descr = NULL;
 *       xml_document_get_error_info(doc, &id, &descr, &row, &col);   (log, free(descr))
 *     }
 *     xml_element* root = xml_document_get_root_element(doc);     (null: "no root")
 *     if (strcmp(xml_text_get_text((xml_node*)root), "network_mounts") != 0) ...
 *     for (xml_element* e = xml_element_first_child_element_with_name(root, "mount"); e;
 *          e = xml_element_next_sibling_element_with_name(e, "mount")) {
 *       const char* id = xml_element_get_attribute(e, "id");       (null when missing)
 *       const char* name = xml_utils_get_optional_child_element_text(e, "name", ctx);
 *     }
 *     xml_document_free(doc); free(text);
 *
 * The document keeps no pointer into `text`, which may be freed right after building. */
#ifndef VONAUTIL_XML_PARSER_H
#define VONAUTIL_XML_PARSER_H

#include "containers.h"
#include "export.h"
#include "message_list.h"
#include "properties.h"
#include "string_buffer.h"

/* Deepest element nesting accepted (the root element is level 1). */
#define XML_MAX_DEPTH 256
/* Most attributes accepted on one element. */
#define XML_MAX_ATTRIBUTES 1024
/* Error id of a document refused before parsing (the parser's own ids are below it): too
 * deep, too many attributes on an element, or a character reference in the encoding name of
 * the XML declaration (which would leave the text's encoding undecidable in advance). */
#define XML_ERROR_REFUSED 100

/* A time value must be greater than this to be plausible (2008-10-31 21:00:00 UTC). */
#define XML_MIN_PLAUSIBLE_UNIXTIME 1225486800

/* Message levels of the xmlp_* message list: attribute complaints (a default was used) and
 * load failures (no usable root element). */
#define XMLP_LEVEL_WARNING 0
#define XMLP_LEVEL_ERROR 1

VONA_BEGIN_DECLS

typedef struct xml_document xml_document;
typedef struct xml_node xml_node;
typedef struct xml_element xml_element;
typedef struct xml_attribute xml_attribute;

/* ---- Document layer ---------------------------------------------------------------------- */

/* Turns the parser's process-wide white-space condensing off. Call once before parsing. */
void xml_document_initialize(void);

/* Null for a null text, an empty one or one of white space only. Otherwise a new document
 * parsed from the text (encoding detected from a byte order mark or the XML declaration),
 * returned also when parsing failed: check xml_document_is_error. */
xml_document* xml_document_build_from_string(const char* text);
/* Null is accepted. */
void xml_document_free(xml_document* doc);
/* 1 when parsing failed (or the document was refused by a limit), else 0. */
int xml_document_is_error(const xml_document* doc);
/* The error id, a copy of the description into *description (the previous string there is
 * freed; free the new one with free()), and the 1-based row and column. */
void xml_document_get_error_info(const xml_document* doc, int* id, char** description, int* row, int* column);
/* The first element at the document level, or null. */
xml_element* xml_document_get_root_element(const xml_document* doc);

/* Navigation; each returns null at the end. */
xml_node* xml_element_first_child(const xml_element* element);          /* any kind of node */
xml_element* xml_element_first_child_element(const xml_element* element);
xml_element* xml_element_first_child_element_with_name(const xml_element* element, const char* name);
xml_node* xml_node_next_sibling(const xml_node* node);                 /* any kind of node */
xml_element* xml_element_next_sibling_element(const xml_element* element);
xml_element* xml_element_next_sibling_element_with_name(const xml_element* element, const char* name);

/* Attributes in document order. */
xml_attribute* xml_element_first_attribute(const xml_element* element);
xml_attribute* xml_attribute_next(const xml_attribute* attribute);
const char* xml_attribute_get_name(const xml_attribute* attribute);
const char* xml_attribute_get_value(const xml_attribute* attribute);

/* The node itself when it is an element, respectively a text (character data), else null. */
xml_element* xml_node_to_element(const xml_node* node);
xml_node* xml_node_to_text(const xml_node* node);
/* The node's value: the text of a text node, the tag name of an element. */
const char* xml_text_get_text(const xml_node* node);
/* The attribute's value, or null when the element has no such attribute. */
const char* xml_element_get_attribute(const xml_element* element, const char* name);
/* The 1-based line of the element's start tag. */
int xml_element_get_line(const xml_element* element);

/* ---- Child-element readers ----------------------------------------------------------------
 * `element` is the parent; the child read is its first child element called `name`. Its text
 * is the first of its child nodes that is a text node (white space alone is never a text
 * node). `context` starts every log line. */

const char* xml_utils_get_text_from_element(const xml_element* element);
/* Logs "%s: the required child element '%s' of '%s' is missing" or "%s: invalid child element
 * '%s' of '%s'" (context, name, parent tag) and returns null. */
const char* xml_utils_get_child_element_text(const xml_element* element, const char* name, const char* context);
/* Null silently. */
const char* xml_utils_get_optional_child_element_text(const xml_element* element, const char* name,
                                                      const char* context);
/* atoi / atoll / strtod of the text: the required forms give 0 (and log) when it is missing,
 * the optional ones default_value. */
int xml_utils_get_child_element_int(const xml_element* element, const char* name, const char* context);
int xml_utils_get_optional_child_element_int(const xml_element* element, const char* name, int default_value,
                                             const char* context);
long long xml_utils_get_child_element_long_long(const xml_element* element, const char* name, const char* context);
long long xml_utils_get_optional_child_element_long_long(const xml_element* element, const char* name,
                                                         long long default_value, const char* context);
double xml_utils_get_optional_child_element_double(const xml_element* element, const char* name,
                                                   double default_value, const char* context);
/* "no" 0, "yes" 1; anything else (or a missing required child) -1, respectively default_value. */
int xml_utils_get_child_element_bool(const xml_element* element, const char* name, const char* context);
int xml_utils_get_optional_child_element_bool(const xml_element* element, const char* name, int default_value,
                                              const char* context);
/* Seconds since the epoch (atoi); -1 when the text is missing (the required form logs) or
 * not above XML_MIN_PLAUSIBLE_UNIXTIME ("%s: invalid '%s' element found: invalid unixtime %s"). */
int xml_utils_get_child_element_unixtime(const xml_element* element, const char* name, const char* context);
int xml_utils_get_optional_child_element_unixtime(const xml_element* element, const char* name, const char* context);
/* Null when the child is missing; else a new container with one entry per grandchild element
 * (its tag = its text, "" when it has none). keep_duplicates 0: an indexed container in which
 * a later equal tag replaces the value; non-zero: every grandchild appended in order. */
properties* xml_utils_get_child_element_params(const xml_element* element, const char* name, int keep_duplicates);

/* Captions chosen by language: among the children called `name`, the first whose "lang"
 * attribute equals `language`, else the last one without "lang", else none (null). The text
 * of the chosen child; one without text logs "%s: failed to get text from '%s' element". */
const char* xml_utils_get_optional_child_element_caption(const xml_element* element, const char* name,
                                                         const char* language, const char* context);
/* The child chosen in the same way, as a new string holding the XML of each of its child
 * elements back to back (attributes in order, texts escaped, comments dropped, empty
 * elements with an end tag); "" when it has no child element, null when none was chosen. */
char* xml_utils_get_optional_child_element_inner_xml_caption(const xml_element* element, const char* name,
                                                             const char* language);

/* A caption that is either a translation key or a default text with per-language texts. */
typedef struct smart_caption {
  char* translation_key;            /* owned, or null */
  char* default_caption;            /* owned, or null */
  C_StringMap* captions_by_language; /* owned: language code -> caption, or null */
} smart_caption;

/* Copies the texts and takes ownership of the map (each may be null). */
smart_caption* smart_caption_create(const char* translation_key, const char* default_caption,
                                    C_StringMap* captions_by_language);
/* Null is accepted. */
void smart_caption_free(smart_caption* caption);

/* Null when there is no child called `name`. When the first one has a "t_key" attribute, a
 * caption of that key alone. Otherwise every child called `name` with "lang" adds (lang, its
 * text or "") to the map and the first without "lang" is the default caption; without one,
 * logs "%s: invalid smart caption: default caption is missing" and returns null. */
smart_caption* xml_utils_get_optional_child_element_smart_caption(const xml_element* element, const char* name,
                                                                  const char* context);

/* ---- Readers on a raw parser node ------------------------------------------------------------
 * `node` is an xml_element* or xml_node* of this module, passed as an opaque pointer. The
 * text is that of the child's first node only (null when that is not a text). */

/* Non-empty text, or null after "%s: the required '%s' element is missing" or
 * "%s: invalid '%s' element found". */
const char* tinyxml_utils_get_child_element_text(const void* node, const char* name, const char* context);
const char* tinyxml_utils_get_optional_child_element_text(const void* node, const char* name);
int tinyxml_utils_get_child_element_int(const void* node, const char* name, const char* context);
int tinyxml_utils_get_optional_child_element_int(const void* node, const char* name, int default_value);
long long tinyxml_utils_get_child_element_long_long(const void* node, const char* name, const char* context);
/* As the xml_utils forms; the optional one logs only an implausible value. */
int tinyxml_utils_get_child_element_unixtime(const void* node, const char* name, const char* context);
int tinyxml_utils_get_optional_child_element_unixtime(const void* node, const char* name, const char* context);

/* ---- Validating attribute reader ------------------------------------------------------------ */

typedef struct xmlp_context {
  message_list* messages; /* owned until xmlp_finish */
  char* xml_text;         /* owned */
  xml_document* document; /* owned; null when none could be built */
  xml_element* root;      /* borrowed; null when loading failed */
} xmlp_context;

/* Reads and loads a file; a null file name is an assertion failure. Load failures are
 * XMLP_LEVEL_ERROR messages ("Unable to read file \"%s\".", "Unable to create XML document.",
 * "Unable to parse XML at line %d, col %d: %s", "Root element not found.", "Root element
 * \"%s\" found instead of \"%s\"."), after which root is null. root_name null accepts any. */
xmlp_context* xmlp_start(const char* filename, const char* root_name);
/* The same on a heap string that the context takes over; null is an assertion failure. */
xmlp_context* xmlp_start_parse_string(char* xml_string, const char* root_name);
/* Frees the context; returns its message list when it holds a message (the caller frees it
 * with ML_free_message_list), else null. */
message_list* xmlp_finish(xmlp_context* context);
/* Adds an XMLP_LEVEL_WARNING message; with an element, prefixed "Line %d: " (the format is
 * cut to 1,009 bytes). */
void xmlp_error(xmlp_context* context, const xml_element* element, const char* format, ...) VONA_PRINTF(3, 4);
/* 1 when the element's tag is `name`; else "<%s> element expected; <%s> found instead." and 0. */
int xmlp_expect_el(xmlp_context* context, const xml_element* element, const char* name);

int xmlp_has_attribute(const xml_element* element, const char* name);
/* A copy of the value or null, silently. */
char* xmlp_get_str_implied(xmlp_context* context, const xml_element* element, const char* name);
/* Attribute readers. Each complains through xmlp_error and falls back to the default when
 * the attribute is missing, empty or invalid; strings are new copies (free()).
 *   str         default null: missing complains, empty gives null silently
 *   enum        `parse` maps the value to its number, -1 when invalid
 *   bool        "0" or "1"
 *   int         a decimal number not below the default (the default is also the minimum)
 *   int_implied as int, but a missing attribute gives the default silently
 *   hex_byte    a hexadecimal number 00..FF */
char* xmlp_get_str(xmlp_context* context, const xml_element* element, const char* name, const char* default_value);
int xmlp_get_enum(xmlp_context* context, const xml_element* element, const char* name,
                  int (*parse)(const char* value), int default_value);
int xmlp_get_bool(xmlp_context* context, const xml_element* element, const char* name, int default_value);
int xmlp_get_int(xmlp_context* context, const xml_element* element, const char* name, int default_value);
int xmlp_get_int_implied(xmlp_context* context, const xml_element* element, const char* name, int default_value);
int xmlp_get_hex_byte(xmlp_context* context, const xml_element* element, const char* name, int default_value);

/* ---- Output ---------------------------------------------------------------------------------- */

/* Appends "\"VALUE\" ": the text escaped for an attribute value ("<", "&" and the double
 * quote as entities, bytes below 32 and 127 as "&#N;", ">" and bytes above 127 as they are).
 * A null text gives "\"\" ". Does not NUL-terminate. */
void xmlp_append(str_buf* buffer, const char* text);
/* "0" for 0, "1" otherwise. */
const char* xmlp_bool_to_xml(int value);

VONA_END_DECLS

#endif
