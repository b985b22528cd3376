#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include <cstring>
#include <memory>

#include "benchmarks/peers/contender.h"

namespace quillhaven::benchmarks {
namespace {

constexpr int kOptions = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR |
                         HTML_PARSE_NOWARNING | HTML_PARSE_NONET;

std::string_view viewOf(const xmlChar* text) {
  return reinterpret_cast<const char*>(text);
}

// Collects the text outside script and style elements.
struct TextCollector {
  std::string text;
  int hiddenDepth = 0;
};

bool isHidden(const xmlChar* name) {
  return viewOf(name) == "script" || viewOf(name) == "style";
}

void onStart(void* collector, const xmlChar* name, const xmlChar**) {
  if (isHidden(name)) ++static_cast<TextCollector*>(collector)->hiddenDepth;
}

void onEnd(void* collector, const xmlChar* name) {
  if (isHidden(name)) --static_cast<TextCollector*>(collector)->hiddenDepth;
}

void onText(void* collector, const xmlChar* text, int size) {
  auto* const target = static_cast<TextCollector*>(collector);
  if (target->hiddenDepth == 0) {
    target->text.append(reinterpret_cast<const char*>(text),
                        static_cast<std::size_t>(size));
  }
}

struct FreeParser {
  void operator()(htmlParserCtxtPtr parser) const {
    htmlFreeParserCtxt(parser);
  }
};

Produced collectText(std::string_view bytes) {
  const std::unique_ptr<htmlParserCtxt, FreeParser> parser(htmlNewParserCtxt());
  htmlSAXHandler handler{};
  handler.startElement = onStart;
  handler.endElement = onEnd;
  handler.characters = onText;
  handler.ignorableWhitespace = onText;
  handler.cdataBlock = onText;
  *parser->sax = handler;
  TextCollector collector;
  collector.text.reserve(bytes.size());
  parser->userData = &collector;
  htmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()),
                     nullptr, "UTF-8", kOptions);
  return {0, collector.text.size(), 0};
}

// The body element of `document`, or null.
xmlNodePtr bodyOf(xmlDocPtr document) {
  const xmlNodePtr root = xmlDocGetRootElement(document);
  for (xmlNodePtr child = root == nullptr ? nullptr : root->children;
       child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE && viewOf(child->name) == "body") {
      return child;
    }
  }
  return nullptr;
}

Produced readTree(std::string_view bytes) {
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      htmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr,
                     "UTF-8", kOptions),
      xmlFreeDoc);
  const xmlNodePtr body = document ? bodyOf(document.get()) : nullptr;
  if (body == nullptr) return {0, 0, 1};
  const std::unique_ptr<xmlChar, void (*)(void*)> text(
      xmlNodeGetContent(body), [](void* content) { xmlFree(content); });
  return {0, text ? viewOf(text.get()).size() : 0, 0};
}

}  // namespace

Contender libxml2SAX() {
  xmlInitParser();
  return {"libxml2, SAX", collectText};
}

Contender libxml2Tree() { return {"libxml2, tree", readTree}; }

}  // namespace quillhaven::benchmarks
