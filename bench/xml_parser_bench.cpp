// Walking a 1 MB document of 10,000 view-like elements through the C readers beside the same
// walk through the parser's own C++ API, on the same parsed document; and parsing it through
// xml_document_build_from_string (with the pre-parse scan) beside a bare TiXmlDocument::Parse.
#include <benchmark/benchmark.h>
#include <tinyxml.h>

#include <cstring>
#include <string>

#include "vonautil.h"

namespace {

const std::string& document_text() {
  static const std::string text = [] {
    std::string t = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<views>\n";
    for (int i = 0; i < 10000; ++i) {
      std::string n = std::to_string(i);
      t += "<view><id>v" + n + "</id><caption>View " + n + "</caption><type>" +
           (i % 3 ? "list" : "icons") + "</type><rows>8</rows><icon>i" + n + ".png</icon></view>\n";
    }
    return t + "</views>\n";
  }();
  return text;
}

struct Parsed {
  Parsed() {
    xml_document_initialize();
    doc = xml_document_build_from_string(document_text().c_str());
  }
  ~Parsed() { xml_document_free(doc); }
  xml_document* doc;
};

Parsed& parsed() {
  static Parsed p;
  return p;
}

void BM_WalkViews_Library(benchmark::State& state) {
  xml_element* root = xml_document_get_root_element(parsed().doc);
  for (auto _ : state) {
    size_t total = 0;
    for (xml_element* v = xml_element_first_child_element_with_name(root, "view"); v;
         v = xml_element_next_sibling_element_with_name(v, "view")) {
      total += strlen(xml_utils_get_child_element_text(v, "id", "bench"));
      total += strlen(xml_utils_get_child_element_text(v, "caption", "bench"));
      total += strlen(xml_utils_get_child_element_text(v, "type", "bench"));
      for (xml_element* p = xml_element_first_child_element(v); p; p = xml_element_next_sibling_element(p)) {
        total += strlen(xml_text_get_text((xml_node*)p)) + strlen(xml_utils_get_text_from_element(p));
      }
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetBytesProcessed(state.iterations() * document_text().size());
}
BENCHMARK(BM_WalkViews_Library)->Unit(benchmark::kMicrosecond);

// The same parsed document: an element handle of the library is the parser's element.
void BM_WalkViews_TinyXml(benchmark::State& state) {
  const TiXmlElement* root = reinterpret_cast<const TiXmlElement*>(xml_document_get_root_element(parsed().doc));
  for (auto _ : state) {
    size_t total = 0;
    for (const TiXmlElement* v = root->FirstChildElement("view"); v; v = v->NextSiblingElement("view")) {
      total += strlen(v->FirstChildElement("id")->GetText());
      total += strlen(v->FirstChildElement("caption")->GetText());
      total += strlen(v->FirstChildElement("type")->GetText());
      for (const TiXmlElement* p = v->FirstChildElement(); p; p = p->NextSiblingElement()) {
        total += strlen(p->Value()) + strlen(p->GetText());
      }
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetBytesProcessed(state.iterations() * document_text().size());
}
BENCHMARK(BM_WalkViews_TinyXml)->Unit(benchmark::kMicrosecond);

void BM_Parse_Library(benchmark::State& state) {
  xml_document_initialize();
  for (auto _ : state) {
    xml_document* doc = xml_document_build_from_string(document_text().c_str());
    benchmark::DoNotOptimize(xml_document_get_root_element(doc));
    xml_document_free(doc);
  }
  state.SetBytesProcessed(state.iterations() * document_text().size());
}
BENCHMARK(BM_Parse_Library)->Unit(benchmark::kMillisecond);

void BM_Parse_TinyXml(benchmark::State& state) {
  TiXmlBase::SetCondenseWhiteSpace(false);
  for (auto _ : state) {
    TiXmlDocument doc;
    doc.Parse(document_text().c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
    benchmark::DoNotOptimize(doc.RootElement());
  }
  state.SetBytesProcessed(state.iterations() * document_text().size());
}
BENCHMARK(BM_Parse_TinyXml)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
