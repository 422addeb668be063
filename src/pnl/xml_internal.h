// Internals of the XML layer shared by its source files: the document
// holder behind every handle, and the shortcuts that answer common queries
// without a walk through the whole document.
#ifndef PNL_XML_INTERNAL_H_
#define PNL_XML_INTERNAL_H_

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include <libxml/tree.h>
#include <libxml/xpath.h>

namespace pnl_xml {

namespace internal {

// One libxml2 document and every node ever detached from it. Detached
// nodes (removed by RemoveNodes, replaced roots) and documents replaced by
// a new load are kept until the holder dies, so that handles taken before
// never point to freed memory.
struct DocHolder {
  xmlDocPtr doc = nullptr;
  std::vector<xmlNodePtr> detached;
  std::vector<xmlDocPtr> retired;
  // One XPath context reused by every evaluation over this document: the
  // audits evaluate very many small expressions.
  xmlXPathContextPtr xpath = nullptr;
  // Raised by every change of the tree; what is derived from the tree below
  // is valid only for the generation it was built in.
  unsigned long generation = 0;
  // Indexes of the tree kept by the query shortcuts (xml_shortcuts.cc),
  // valid for the generation they were built in.
  unsigned long index_generation = 0;
  std::unordered_map<std::string, std::vector<xmlNodePtr>> elements_by_name;
  std::unordered_map<std::string, std::unordered_map<std::string, std::vector<xmlNodePtr>>>
      elements_by_attribute;
  std::unordered_map<xmlNodePtr, std::vector<xmlNodePtr>> element_children;
  // Held by the cache of parsed files: such a document is queried again
  // and again with the same few expressions, whose node sets are kept
  // (for the generation they were taken in).
  bool in_file_cache = false;
  unsigned long memo_generation = 0;
  std::unordered_map<std::string, std::vector<void*>> memo;

  DocHolder() = default;
  DocHolder(const DocHolder&) = delete;
  DocHolder& operator=(const DocHolder&) = delete;
  ~DocHolder() {
    if (xpath != nullptr) xmlXPathFreeContext(xpath);
    // Detached nodes first: freeing a node consults its document's
    // dictionary.
    for (xmlNodePtr node : detached) xmlFreeNode(node);
    if (doc != nullptr) xmlFreeDoc(doc);
    for (xmlDocPtr old : retired) xmlFreeDoc(old);
  }
};


// True while SetLiteralEvaluation(true) is in force.
bool LiteralEvaluation();

// How to evaluate one query. When `decided`, `nodes` is the node set the
// query selects; otherwise the caller evaluates `expr` from `context`, or
// the whole original query from the document when `context` is null.
struct Plan {
  bool decided = false;
  std::vector<void*> nodes;
  xmlNodePtr context = nullptr;
  std::string expr;
};
Plan PlanQuery(DocHolder& holder, const std::string& query);

}  // namespace internal

}  // namespace pnl_xml

#endif  // PNL_XML_INTERNAL_H_
