#include <gumbo.h>

#include <string>

#include "benchmarks/peers/contender.h"

namespace quillhaven::benchmarks {
namespace {

const GumboVector* childrenOf(const GumboNode* node) {
  if (node->type == GUMBO_NODE_DOCUMENT) return &node->v.document.children;
  if (node->type == GUMBO_NODE_ELEMENT || node->type == GUMBO_NODE_TEMPLATE) {
    return &node->v.element.children;
  }
  return nullptr;
}

bool isHidden(const GumboNode* node) {
  return node->type == GUMBO_NODE_ELEMENT &&
         (node->v.element.tag == GUMBO_TAG_SCRIPT ||
          node->v.element.tag == GUMBO_TAG_STYLE);
}

// The node after `node` in document order, below `root`; null at the end.
const GumboNode* nextNode(const GumboNode* node, const GumboNode* root) {
  const GumboVector* children = isHidden(node) ? nullptr : childrenOf(node);
  if (children != nullptr && children->length > 0) {
    return static_cast<const GumboNode*>(children->data[0]);
  }
  for (; node != root; node = node->parent) {
    const GumboVector* siblings = childrenOf(node->parent);
    const std::size_t next = node->index_within_parent + 1;
    if (next < siblings->length) {
      return static_cast<const GumboNode*>(siblings->data[next]);
    }
  }
  return nullptr;
}

Produced readTree(std::string_view bytes) {
  GumboOutput* const output = gumbo_parse_with_options(
      &kGumboDefaultOptions, bytes.data(), bytes.size());
  std::string text;
  text.reserve(bytes.size());
  for (const GumboNode* node = output->root; node != nullptr;
       node = nextNode(node, output->root)) {
    if (node->type == GUMBO_NODE_TEXT || node->type == GUMBO_NODE_WHITESPACE ||
        node->type == GUMBO_NODE_CDATA) {
      text += node->v.text.text;
    }
  }
  gumbo_destroy_output(&kGumboDefaultOptions, output);
  return {0, text.size(), 0};
}

}  // namespace

Contender gumbo() { return {"gumbo", readTree}; }

}  // namespace quillhaven::benchmarks
