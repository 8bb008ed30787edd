#include "test_support.hpp"

namespace {

const bool initialized = (xml_document_initialize(), true);

// A parsed document for the length of a test.
struct Doc {
  explicit Doc(const std::string& text) : doc(xml_document_build_from_string(text.c_str())) {}
  ~Doc() { xml_document_free(doc); }
  xml_element* root() const { return xml_document_get_root_element(doc); }
  std::string error() const {
    int id = 0, row = 0, column = 0;
    char* description = strdup("previous");  // replaced and freed by the call
    xml_document_get_error_info(doc, &id, &description, &row, &column);
    std::string text =
        std::to_string(id) + " " + std::to_string(row) + ":" + std::to_string(column) + " " + description;
    free(description);
    return text;
  }
  xml_document* doc;
};

std::string str(const char* text) { return text ? text : "(null)"; }

// What a reader returned and what it logged, as "RESULT|MESSAGES".
template <typename F> std::string outcome(F read) {
  std::string result;
  std::string log = test::captured_stderr([&] {
    auto value = read();
    std::ostringstream text;
    if constexpr (std::is_pointer_v<decltype(value)>) text << str(value); else text << value;
    result = text.str();
  });
  return result + "|" + test::log_messages(log);
}
#define EXPECT_READ(expected, expr) EXPECT_EQ(expected, outcome([&] { return expr; })) << #expr

// The messages of an xmlp load of `text` followed by `read`, as "LEVEL:TEXT|".
template <typename F> std::string xmlp_messages(const char* text, const char* root_name, F read) {
  xmlp_context* context = xmlp_start_parse_string(strdup(text), root_name);
  read(context);
  message_list* messages = xmlp_finish(context);
  std::string all;
  for (int i = 0; messages && i < messages->count; ++i) {
    all += std::to_string(messages->entries[i].kind) + ":" + messages->entries[i].text + "|";
  }
  ML_free_message_list(messages);
  return all;
}

}  // namespace

TEST(XmlDocument, BuildsNavigatesAndReportsErrors) {
  for (const char* blank : {"", " \n\t\r\n "}) EXPECT_EQ(nullptr, xml_document_build_from_string(blank));
  EXPECT_EQ(nullptr, xml_document_build_from_string(nullptr));

  Doc d("<?xml version=\"1.0\"?>\n<!-- c -->\n<r a=\"1\" b='x &amp; y'>\n  lead <e>one</e><!--x--><f/>tail\n</r>");
  ASSERT_FALSE(xml_document_is_error(d.doc));
  xml_element* r = d.root();
  EXPECT_EQ("r", str(xml_text_get_text((xml_node*)r)));
  EXPECT_EQ(3, xml_element_get_line(r));
  xml_attribute* a = xml_element_first_attribute(r);
  EXPECT_EQ("a=1", str(xml_attribute_get_name(a)) + "=" + xml_attribute_get_value(a));
  a = xml_attribute_next(a);
  EXPECT_EQ("b=x & y", str(xml_attribute_get_name(a)) + "=" + xml_attribute_get_value(a));
  EXPECT_EQ(nullptr, xml_attribute_next(a));

  std::string kinds;  // blanks and line breaks survive in text nodes
  for (xml_node* n = xml_element_first_child(r); n; n = xml_node_next_sibling(n)) {
    kinds += xml_node_to_element(n) ? "<" + str(xml_text_get_text(n)) + ">"
             : xml_node_to_text(n)    ? "[" + str(xml_text_get_text(n)) + "]"
                                      : "?";
    EXPECT_FALSE(xml_node_to_element(n) && xml_node_to_text(n));
  }
  EXPECT_EQ("[\n  lead ]<e>?<f>[tail\n]", kinds);
  xml_element* e = xml_element_first_child_element(r);
  EXPECT_EQ("f", str(xml_text_get_text((xml_node*)xml_element_next_sibling_element(e))));
  EXPECT_EQ(nullptr, xml_element_next_sibling_element_with_name(e, "e"));
  EXPECT_EQ(xml_element_next_sibling_element(e), xml_element_first_child_element_with_name(r, "f"));

  Doc bad("<r>\n  <a></b>\n</r>");
  EXPECT_TRUE(xml_document_is_error(bad.doc));
  EXPECT_EQ("8 2:6 Error reading end tag.", bad.error());
}

// Each reader on one document: "RESULT|MESSAGES" (a missing text is "(null)").
TEST(XmlUtils, ReadersOfChildElementsAndTheirMessages) {
  Doc d("<r><s>text</s><empty/><n> 42x</n><big>9000000000</big><d>2.5</d><yes>yes</yes><maybe>Yes</maybe>"
        "<t0>1225486800</t0><t1>1225486801</t1><mixed><!--c-->after<x/></mixed><late><!--c-->text</late>"
        "<cdata><![CDATA[]]></cdata></r>");
  xml_element* r = d.root();
  const std::string missing = "ctx: the required child element 'none' of 'r' is missing\n";
  EXPECT_READ("text|", xml_utils_get_child_element_text(r, "s", "ctx"));
  EXPECT_READ("after|", xml_utils_get_text_from_element(xml_element_first_child_element_with_name(r, "mixed")));
  EXPECT_READ("(null)|" + missing, xml_utils_get_child_element_text(r, "none", "ctx"));
  EXPECT_READ("(null)|ctx: invalid child element 'empty' of 'r'\n", xml_utils_get_child_element_text(r, "empty", "ctx"));
  EXPECT_READ("(null)|", xml_utils_get_optional_child_element_text(r, "none", "ctx"));
  EXPECT_READ("(null)|", xml_utils_get_optional_child_element_text(r, "empty", "ctx"));
  EXPECT_READ("7|", xml_utils_get_optional_child_element_int(r, "none", 7, "ctx"));
  EXPECT_READ("0.5|", xml_utils_get_optional_child_element_double(r, "none", 0.5, "ctx"));
  EXPECT_READ("-1|", xml_utils_get_optional_child_element_unixtime(r, "none", "ctx"));
  EXPECT_READ("42|", xml_utils_get_child_element_int(r, "n", "ctx"));
  EXPECT_READ("9000000000|", xml_utils_get_child_element_long_long(r, "big", "ctx"));
  EXPECT_READ("9000000000|", xml_utils_get_optional_child_element_long_long(r, "big", 1, "ctx"));
  EXPECT_READ("2.5|", xml_utils_get_optional_child_element_double(r, "d", 0, "ctx"));
  EXPECT_READ("0|" + missing, xml_utils_get_child_element_int(r, "none", "ctx"));
  EXPECT_READ("0|" + missing, xml_utils_get_child_element_long_long(r, "none", "ctx"));
  EXPECT_READ("-1|" + missing, xml_utils_get_child_element_bool(r, "none", "ctx"));
  EXPECT_READ("1|", xml_utils_get_child_element_bool(r, "yes", "ctx"));
  EXPECT_READ("-1|", xml_utils_get_child_element_bool(r, "maybe", "ctx"));
  EXPECT_READ("5|", xml_utils_get_optional_child_element_bool(r, "maybe", 5, "ctx"));
  EXPECT_READ("5|", xml_utils_get_optional_child_element_bool(r, "none", 5, "ctx"));
  const std::string t0 = "-1|ctx: invalid 't0' element found: invalid unixtime 1225486800\n";
  EXPECT_READ(t0, xml_utils_get_child_element_unixtime(r, "t0", "ctx"));
  EXPECT_READ("1225486801|", xml_utils_get_child_element_unixtime(r, "t1", "ctx"));
  EXPECT_READ("-1|" + missing, xml_utils_get_child_element_unixtime(r, "none", "ctx"));

  // The tinyxml readers take only the first child node, whatever it is.
  const void* n = r;
  EXPECT_READ("text|", tinyxml_utils_get_child_element_text(n, "s", "ctx"));
  EXPECT_READ("(null)|ctx: invalid 'late' element found\n", tinyxml_utils_get_child_element_text(n, "late", "ctx"));
  EXPECT_READ("(null)|ctx: invalid 'cdata' element found\n", tinyxml_utils_get_child_element_text(n, "cdata", "ctx"));
  EXPECT_READ("0|ctx: the required 'none' element is missing\n", tinyxml_utils_get_child_element_int(n, "none", "ctx"));
  EXPECT_READ("0|ctx: the required 'none' element is missing\n",
              tinyxml_utils_get_child_element_long_long(n, "none", "ctx"));
  EXPECT_READ("(null)|", tinyxml_utils_get_optional_child_element_text(n, "late"));
  EXPECT_READ("3|", tinyxml_utils_get_optional_child_element_int(n, "none", 3));
  EXPECT_READ("-1|", tinyxml_utils_get_optional_child_element_unixtime(n, "none", "ctx"));
  EXPECT_READ("42|", tinyxml_utils_get_child_element_int(n, "n", "ctx"));
  EXPECT_READ("9000000000|", tinyxml_utils_get_child_element_long_long(n, "big", "ctx"));
  EXPECT_READ("1225486801|", tinyxml_utils_get_child_element_unixtime(n, "t1", "ctx"));
  EXPECT_READ("-1|ctx: the required 'none' element is missing\n", tinyxml_utils_get_child_element_unixtime(n, "none", "ctx"));
}

TEST(XmlUtils, ReadsParamsWithAndWithoutDuplicates) {
  Doc d("<r><p><a>1</a><b/><a>2</a></p></r>");
  EXPECT_EQ(nullptr, xml_utils_get_child_element_params(d.root(), "none", 0));
  properties* set = xml_utils_get_child_element_params(d.root(), "p", 0);
  properties* kept = xml_utils_get_child_element_params(d.root(), "p", 1);
  EXPECT_EQ("a = 2\nb = \n", test::take_string(properties_save_to_buffer(set)));
  EXPECT_EQ("a = 1\nb = \na = 2\n", test::take_string(properties_save_to_buffer(kept)));
  properties_free(set);
  properties_free(kept);
}

TEST(XmlUtils, ChoosesCaptionsByLanguage) {
  Doc d("<r><c lang=\"en\">English</c><c>first</c><c lang=\"de\">Deutsch</c><c>Default</c>"
        "<x lang=\"en\"><b class=\"a&lt;&quot;&amp;\">x &gt; y<!-- gone --><i/></b>t<u>2</u></x><x/>"
        "<k t_key=\"key\">ignored</k><k lang=\"en\">no</k>"
        "<s lang=\"en\">Hi</s><s lang=\"fr\"/><s>Hello</s><s>later</s><m lang=\"en\">only</m></r>");
  xml_element* r = d.root();
  EXPECT_READ("English|", xml_utils_get_optional_child_element_caption(r, "c", "en", "ctx"));
  EXPECT_READ("Deutsch|", xml_utils_get_optional_child_element_caption(r, "c", "de", "ctx"));
  EXPECT_READ("Default|", xml_utils_get_optional_child_element_caption(r, "c", "fr", "ctx"));
  EXPECT_READ("(null)|", xml_utils_get_optional_child_element_caption(r, "m", "fr", "ctx"));
  EXPECT_READ("(null)|ctx: failed to get text from 'x' element\n",
              xml_utils_get_optional_child_element_caption(r, "x", "de", "ctx"));

  EXPECT_EQ("<b class=\"a&lt;&quot;&amp;\">x &gt; y<i></i></b><u>2</u>",
            test::take_string(xml_utils_get_optional_child_element_inner_xml_caption(r, "x", "en")));
  EXPECT_EQ("", test::take_string(xml_utils_get_optional_child_element_inner_xml_caption(r, "x", "de")));
  EXPECT_EQ("(null)", test::take_string(xml_utils_get_optional_child_element_inner_xml_caption(r, "m", "de")));

  EXPECT_EQ(nullptr, xml_utils_get_optional_child_element_smart_caption(r, "none", "ctx"));
  smart_caption* key = xml_utils_get_optional_child_element_smart_caption(r, "k", "ctx");
  EXPECT_EQ("key", str(key->translation_key));
  EXPECT_EQ(nullptr, key->default_caption);
  EXPECT_EQ(nullptr, key->captions_by_language);
  smart_caption_free(key);
  smart_caption* s = xml_utils_get_optional_child_element_smart_caption(r, "s", "ctx");
  EXPECT_EQ("(null)|Hello|Hi||", str(s->translation_key) + "|" + s->default_caption + "|" +
                                     string_map_get(s->captions_by_language, "en") + "|" +
                                     string_map_get(s->captions_by_language, "fr") + "|");
  EXPECT_EQ(2, string_map_size(s->captions_by_language));
  smart_caption_free(s);
  EXPECT_READ("1|ctx: invalid smart caption: default caption is missing\n",
              xml_utils_get_optional_child_element_smart_caption(r, "m", "ctx") == nullptr);
  smart_caption_free(nullptr);
}

TEST(Xmlp, ReportsLoadFailuresAtLevelOne) {
  auto nothing = [](xmlp_context*) {};
  EXPECT_EQ("1:Unable to create XML document.|", xmlp_messages(" \n ", nullptr, nothing));
  EXPECT_EQ("1:Unable to parse XML at line 2, col 4: Error reading end tag.|",
            xmlp_messages("<r>\n<a></b></r>", nullptr, nothing));
  EXPECT_EQ("1:Root element not found.|", xmlp_messages("<!-- only -->", nullptr, nothing));
  EXPECT_EQ("1:Root element \"r\" found instead of \"list\".|",
            xmlp_messages("<r/>", "list", [](xmlp_context* c) { EXPECT_EQ(nullptr, c->root); }));
  EXPECT_EQ("", xmlp_messages("<list/>", "list", [](xmlp_context* c) { EXPECT_NE(nullptr, c->root); }));

  test::Sandbox sandbox;
  std::string missing = sandbox.path("/missing.xml");
  xmlp_context* context = xmlp_start(missing.c_str(), nullptr);
  EXPECT_EQ(nullptr, context->root);
  message_list* messages = xmlp_finish(context);
  ASSERT_NE(nullptr, messages);
  EXPECT_EQ("Unable to read file \"" + missing + "\".", messages->entries[0].text);
  EXPECT_EQ(XMLP_LEVEL_ERROR, messages->entries[0].kind);
  ML_free_message_list(messages);
  test::write_file(sandbox.path("/ok.xml"), "<list><a/></list>");
  context = xmlp_start(sandbox.path("/ok.xml").c_str(), "list");
  EXPECT_EQ(1, xmlp_expect_el(context, xml_element_first_child_element(context->root), "a"));
  EXPECT_EQ(nullptr, xmlp_finish(context));

  EXPECT_DEATH(xmlp_start(nullptr, nullptr),
               test::assertion_report("player/src/util/mt/xml_parser", 0, "xmlp_start", "filename != NULL"));
  EXPECT_DEATH(
      xmlp_start_parse_string(nullptr, nullptr),
      test::assertion_report("player/src/util/mt/xml_parser", 0, "xmlp_start_parse_string", "xml_string != NULL"));
}

TEST(Xmlp, AttributeReadersFollowTheirTable) {
  const char* doc = "<r>\n<e s=\"v\" empty=\"\" n=\"7\" low=\"3\" five=\"5\" bad=\"7x\" huge=\"99999999999\" one=\"1\""
                    " neg=\"-1\" two=\"2\" ff=\"ff\" big=\"1FF\" hneg=\"-1\" hbad=\"g\"/></r>";
  auto e = [](xmlp_context* c) { return xml_element_first_child_element(c->root); };
  using Reader = int (*)(xmlp_context*, const xml_element*, const char*, int);
  const Reader i = xmlp_get_int, implied = xmlp_get_int_implied, b = xmlp_get_bool, h = xmlp_get_hex_byte;
  const Reader word = [](xmlp_context* c, const xml_element* el, const char* name, int d) {
    return xmlp_get_enum(c, el, name, [](const char* v) { return strcmp(v, "v") == 0 ? 3 : v[0] ? -1 : 4; }, d);
  };
  const struct { Reader read; const char* name; int default_value, result; const char* message; } cases[] = {
      {i, "n", 5, 7, ""}, {i, "five", 5, 5, ""}, {implied, "x", 5, 5, ""}, {implied, "n", 5, 7, ""},
      {i, "low", 5, 5, "Attribute value low=\"3\" is too small; default value 5 used."},
      {i, "bad", 5, 5, "Invalid attribute value bad=\"7x\"; default value 5 used."},
      {i, "huge", 5, 5, "Invalid attribute value huge=\"99999999999\"; default value 5 used."},
      {i, "x", 5, 5, "Missing attribute x; default value 5 used."},
      {i, "empty", 5, 5, "Empty attribute empty; default value 5 used."},
      {implied, "low", 5, 5, "is too small"}, {b, "one", 0, 1, ""}, {h, "ff", 0, 255, ""},
      {b, "neg", 0, 0, "Attribute value neg=\"-1\" should be 0 or 1; default value 0 used."},
      {b, "two", 1, 1, "should be 0 or 1; default value 1"},
      {h, "big", 10, 10, "Attribute value big=\"1FF\" is not in range 00..FF; default value 0A used."},
      {h, "hneg", 10, 10, "is not in range 00..FF"},
      {h, "hbad", 10, 10, "Invalid attribute value hbad=\"g\"; default value 0A used."},
      {word, "s", 1, 3, ""}, {word, "empty", 1, 4, ""},
      {word, "n", 1, 1, "Invalid attribute value n=\"7\"; default value used."},
      {word, "x", 1, 1, "Missing attribute x; default value used."},
  };
  for (const auto& c : cases) {
    std::string messages = xmlp_messages(doc, "r", [&](xmlp_context* context) {
      EXPECT_EQ(c.result, c.read(context, e(context), c.name, c.default_value)) << c.name;
    });
    EXPECT_EQ(*c.message ? "0:Line 2: " : "", messages.substr(0, *c.message ? 10 : std::string::npos));
    EXPECT_CONTAINS(messages, c.message);
  }

  std::string strings = xmlp_messages(doc, "r", [&](xmlp_context* c) {
    EXPECT_EQ("v", test::take_string(xmlp_get_str(c, e(c), "s", nullptr)));
    EXPECT_EQ("(null)", test::take_string(xmlp_get_str(c, e(c), "x", nullptr)));
    EXPECT_EQ("d", test::take_string(xmlp_get_str(c, e(c), "x", "d")));
    EXPECT_EQ("d", test::take_string(xmlp_get_str(c, e(c), "empty", "d")));
    EXPECT_EQ("", test::take_string(xmlp_get_str_implied(c, e(c), "empty")));
    EXPECT_EQ("(null)", test::take_string(xmlp_get_str_implied(c, e(c), "x")));
    EXPECT_EQ(1, xmlp_has_attribute(e(c), "empty"));
    EXPECT_EQ(0, xmlp_has_attribute(e(c), "x"));
    EXPECT_EQ(0, xmlp_expect_el(c, e(c), "f"));
    xmlp_error(c, nullptr, "plain %d", 1);
    xmlp_error(c, e(c), "%s", "%d");
  });
  EXPECT_EQ("0:Line 2: Missing attribute x; default value NULL used.|"
            "0:Line 2: Missing attribute x; default value \"d\" used.|"
            "0:Line 2: Empty attribute empty; default value \"d\" used.|"
            "0:Line 2: <f> element expected; <e> found instead.|0:plain 1|0:Line 2: %d|", strings);
}

TEST(XmlOutput, EscapesAttributeValuesAndBooleans) {
  str_buf sb = {nullptr, 0, 0};
  xmlp_append(&sb, "\t<>\"&\x7f\xc3\xa9");
  xmlp_append(&sb, nullptr);
  EXPECT_EQ("\"&#9;&lt;>&quot;&amp;&#127;\xc3\xa9\" \"\" ", std::string(sb.data, sb.length));
  free(sb.data);
  EXPECT_EQ("0", str(xmlp_bool_to_xml(0)));
  EXPECT_EQ("1", str(xmlp_bool_to_xml(-3)));
}

// Hostile documents fail to parse; none may crash the parser or the readers.
TEST(XmlHostile, RefusesOrFailsWithoutCrashing) {
  auto nested = [](int depth, const char* open, const char* close) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += open;
    for (int i = 0; i < depth; ++i) text += close;
    return text;
  };
  EXPECT_FALSE(xml_document_is_error(Doc(nested(XML_MAX_DEPTH, "<a>", "</a>")).doc));
  EXPECT_EQ("100 1:769 Elements nested too deeply", Doc(nested(XML_MAX_DEPTH + 1, "<a>", "</a>")).error());
  EXPECT_CONTAINS(Doc(nested(100000, "<a x='>'>\n", "")).error(), "100 257:1 ");
  std::string attributes = "<a";
  for (int i = 0; i <= XML_MAX_ATTRIBUTES; ++i) attributes += " a" + std::to_string(i) + "=''";
  EXPECT_EQ("100 1:1 Too many attributes on one element", Doc(attributes + "/>").error());
  attributes.resize(attributes.rfind(" a"));  // exactly the limit
  EXPECT_FALSE(xml_document_is_error(Doc(attributes + "/>").doc));

  // Whatever the parser reads as text cannot hide an end tag from the depth count: in UTF-8
  // a lead byte swallows the '<' after it, in other encodings it does not.
  std::string swallowed = "<?xml version='1.0'?>" + nested(XML_MAX_DEPTH + 1, "<a>\xC3</a><a>", "");
  EXPECT_EQ(100, atoi(Doc(swallowed).error().c_str()));
  EXPECT_FALSE(xml_document_is_error(
      Doc("<?xml version='1.0' encoding='ISO-8859-1'?>" + nested(XML_MAX_DEPTH * 2, "<a>\xE9</a>", "")).doc));
  EXPECT_EQ(100, atoi(Doc("<?xml version='1.0' encoding='UTF&#45;8'?><a/>").error().c_str()));
  for (const char* declaration : {"<?xml version=\"></a></a>\"?><r>", "<?xml version=1.0><r>", "<r><?xml x='>'"}) {
    EXPECT_EQ(100, atoi(Doc(declaration + nested(XML_MAX_DEPTH, "<a>", "")).error().c_str())) << declaration;
  }
  EXPECT_EQ(
      100, atoi(Doc("<?xml version='1.0'?><r x=\xEF\xBB\xBF'/>'>" + nested(XML_MAX_DEPTH, "<a>", "")).error().c_str()));

  for (const char* text : {"<a><b>", "<a x='1", "<?xml version='1.0'?><a>\xF0", "<?xml version='1.0'?><a>x\xE0", "<a",
                           "<a><!-- open", "<a><![CDATA["}) {
    EXPECT_TRUE(xml_document_is_error(Doc(text).doc)) << text;
  }
}
