#include "pnl/xml.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <unordered_map>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>

#include "pnl/file.h"
#include "pnl/log.h"

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
  // Elements (in no namespace) by name: how many there are, and the first.
  struct NamedElements {
    std::size_t count = 0;
    xmlNodePtr first = nullptr;
  };
  unsigned long names_generation = 0;
  std::unordered_map<std::string, NamedElements> names;

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

}  // namespace internal

namespace {

using internal::DocHolder;

const pnl_log::Module& Log() {
  static const pnl_log::Module log("pnl", "kern");
  return log;
}

// Collects the errors that libxml2 reports while a parse runs; outside a
// parse the errors are dropped. Nothing of libxml2's reaches our streams.
// The error kept is the one that stopped the parse: the first fatal error
// located in the document itself (not inside an entity's text), else the
// first fatal error, else the first error.
struct ErrorCollector {
  const std::string* origin = nullptr;
  int rank = 0;  // 0 none, 1 error, 2 fatal, 3 fatal in the document
  int line = 0;
  std::string message;
};
ErrorCollector* g_collector = nullptr;

void StructuredError(void*, xmlErrorPtr error) {
  if (g_collector == nullptr || error == nullptr) return;
  if (error->level < XML_ERR_ERROR) return;
  int rank = 1;
  if (error->level == XML_ERR_FATAL) {
    rank = 2;
    if (error->file != nullptr && *g_collector->origin == error->file)
      rank = 3;
  }
  if (rank <= g_collector->rank) return;
  g_collector->rank = rank;
  g_collector->line = error->line;
  g_collector->message = error->message != nullptr ? error->message : "error";
  while (!g_collector->message.empty() &&
         (g_collector->message.back() == '\n' ||
          g_collector->message.back() == '\r'))
    g_collector->message.pop_back();
}

void GenericError(void*, const char*, ...) {}

// External entities, DTDs and XIncludes are never loaded from anywhere.
xmlParserInputPtr NoEntityLoader(const char*, const char*, xmlParserCtxtPtr) {
  return nullptr;
}

void SetUpLibxml() {
  static thread_local bool done = false;
  if (done) return;
  done = true;
  xmlInitParser();
  xmlSetStructuredErrorFunc(nullptr, StructuredError);
  xmlSetGenericErrorFunc(nullptr, GenericError);
  xmlSetExternalEntityLoader(NoEntityLoader);
}

// Cuts entity reference nodes loose from their declarations, which live
// in the DTD that is freed after the parse; the references stay in the
// tree as references that nothing can expand.
void DetachEntityRefs(xmlNodePtr node) {
  for (; node != nullptr; node = node->next) {
    if (node->type == XML_ENTITY_REF_NODE) {
      node->children = nullptr;
      node->last = nullptr;
      continue;
    }
    if (node->type == XML_ELEMENT_NODE) {
      for (xmlAttrPtr attr = node->properties; attr != nullptr;
           attr = attr->next)
        DetachEntityRefs(attr->children);
    }
    if (node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE)
      DetachEntityRefs(node->children);
  }
}

void DropDtd(xmlDocPtr doc) {
  DetachEntityRefs(doc->children);
  xmlDtdPtr internal_subset = doc->intSubset;
  xmlDtdPtr external_subset = doc->extSubset;
  if (internal_subset != nullptr) {
    xmlUnlinkNode(reinterpret_cast<xmlNodePtr>(internal_subset));
    xmlFreeDtd(internal_subset);
  }
  if (external_subset != nullptr && external_subset != internal_subset) {
    xmlUnlinkNode(reinterpret_cast<xmlNodePtr>(external_subset));
    xmlFreeDtd(external_subset);
  }
  doc->intSubset = nullptr;
  doc->extSubset = nullptr;
}

// Parses `text`; nullptr (with one line on standard error and a log
// record) when it is not well-formed.
xmlDocPtr Parse(const std::string& text, const std::string& origin) {
  SetUpLibxml();
  ErrorCollector collector;
  collector.origin = &origin;
  g_collector = &collector;
  xmlDocPtr doc = nullptr;
  if (text.size() <= static_cast<size_t>(INT32_MAX))
    doc = xmlReadMemory(text.data(), static_cast<int>(text.size()),
                        origin.c_str(), nullptr, XML_PARSE_NONET);
  g_collector = nullptr;
  if (doc == nullptr) {
    int line = collector.line;
    std::string message = collector.rank > 0 ? collector.message
                                             : "not a well-formed document";
    fprintf(stderr, "%s:%d: %s\n", origin.c_str(), line, message.c_str());
    fflush(stderr);
    if (Log().Check(3))
      Log().Write(3, "%s:%d: %s", origin.c_str(), line, message.c_str());
    return nullptr;
  }
  DropDtd(doc);
  return doc;
}

// Appends the text of `node`'s subtree: text and CDATA, never entities.
void AppendText(xmlNodePtr node, std::string& out) {
  switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
      if (node->content != nullptr)
        out += reinterpret_cast<const char*>(node->content);
      return;
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_DOCUMENT_NODE:
    case XML_DOCUMENT_FRAG_NODE:
      for (xmlNodePtr child = node->children; child != nullptr;
           child = child->next)
        AppendText(child, out);
      return;
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
      // Their own content is their string value when selected directly.
      return;
    default:
      return;
  }
}

bool IsElement(void* node) {
  return node != nullptr &&
         static_cast<xmlNodePtr>(node)->type == XML_ELEMENT_NODE;
}

const xmlChar* X(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

// Makes `holder` own `doc` in place of its current document.
void Replace(DocHolder& holder, xmlDocPtr doc, bool shared) {
  if (holder.doc != nullptr) {
    if (shared) {
      holder.retired.push_back(holder.doc);
    } else {
      for (xmlNodePtr node : holder.detached) xmlFreeNode(node);
      holder.detached.clear();
      xmlFreeDoc(holder.doc);
    }
  }
  holder.doc = doc;
  ++holder.generation;
}

}  // namespace

// ---------------------------------------------------------------- XmlNode

XmlNode::XmlNode() : node_(nullptr) {}

XmlNode::XmlNode(std::shared_ptr<internal::DocHolder> doc, void* node)
    : doc_(node != nullptr ? std::move(doc) : nullptr), node_(node) {}

XmlNode::operator bool() const { return node_ != nullptr; }

std::string XmlNode::GetProp(const char* name) const {
  if (!IsElement(node_) || name == nullptr) return std::string();
  xmlNodePtr node = static_cast<xmlNodePtr>(node_);
  const char* colon = strchr(name, ':');
  for (xmlAttrPtr attr = node->properties; attr != nullptr; attr = attr->next) {
    if (attr->name == nullptr) continue;
    bool match;
    if (colon != nullptr) {
      size_t prefix_len = static_cast<size_t>(colon - name);
      match = attr->ns != nullptr && attr->ns->prefix != nullptr &&
              strlen(reinterpret_cast<const char*>(attr->ns->prefix)) ==
                  prefix_len &&
              strncmp(reinterpret_cast<const char*>(attr->ns->prefix), name,
                      prefix_len) == 0 &&
              xmlStrEqual(attr->name, X(colon + 1));
    } else {
      match = xmlStrEqual(attr->name, X(name));
    }
    if (!match) continue;
    std::string value;
    AppendText(reinterpret_cast<xmlNodePtr>(attr), value);
    return value;
  }
  return std::string();
}

void XmlNode::SetProp(const char* name, const std::string& value) {
  if (!IsElement(node_) || name == nullptr || *name == '\0') return;
  xmlSetProp(static_cast<xmlNodePtr>(node_), X(name), X(value.c_str()));
  ++doc_->generation;
}

XmlNode XmlNode::AppendChild(const char* name) {
  if (!IsElement(node_) || name == nullptr || *name == '\0') return XmlNode();
  xmlNodePtr parent = static_cast<xmlNodePtr>(node_);
  xmlNodePtr child = xmlNewDocNode(parent->doc, nullptr, X(name), nullptr);
  if (child == nullptr) return XmlNode();
  xmlNodePtr added = xmlAddChild(parent, child);
  if (added == nullptr) {
    xmlFreeNode(child);
    return XmlNode();
  }
  ++doc_->generation;
  return XmlNode(doc_, added);
}

XmlNode XmlNode::AppendChild(const XmlNode& node) {
  if (!IsElement(node_) || node.node_ == nullptr) return XmlNode();
  xmlNodePtr source = static_cast<xmlNodePtr>(node.node_);
  switch (source->type) {
    case XML_ELEMENT_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
    case XML_ATTRIBUTE_NODE:
      break;
    default:
      return XmlNode();
  }
  xmlNodePtr parent = static_cast<xmlNodePtr>(node_);
  xmlNodePtr copy = xmlDocCopyNode(source, parent->doc, 1);
  if (copy == nullptr) return XmlNode();
  // xmlAddChild may merge a text copy into the last child; what it returns
  // is the node that stands in the tree.
  xmlNodePtr added = xmlAddChild(parent, copy);
  if (added == nullptr) {
    xmlFreeNode(copy);
    return XmlNode();
  }
  ++doc_->generation;
  return XmlNode(doc_, added);
}

namespace {

xmlNodePtr FindElement(xmlNodePtr node, const xmlChar* name) {
  for (xmlNodePtr child = node->children; child != nullptr;
       child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    if (xmlStrEqual(child->name, name)) return child;
    if (xmlNodePtr found = FindElement(child, name)) return found;
  }
  return nullptr;
}

xmlNodePtr NextElement(xmlNodePtr node) {
  while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
  return node;
}

}  // namespace

XmlNode XmlNode::FindNode(const std::string& name) const {
  if (!IsElement(node_)) return XmlNode();
  return XmlNode(doc_,
                 FindElement(static_cast<xmlNodePtr>(node_), X(name.c_str())));
}

XmlNode XmlNode::FirstChild() const {
  if (!IsElement(node_)) return XmlNode();
  return XmlNode(doc_, NextElement(static_cast<xmlNodePtr>(node_)->children));
}

XmlNode XmlNode::Next() const {
  if (!IsElement(node_)) return XmlNode();
  return XmlNode(doc_, NextElement(static_cast<xmlNodePtr>(node_)->next));
}

XmlNode XmlNode::Parent(int n) const {
  if (node_ == nullptr || n < 0) return XmlNode();
  xmlNodePtr node = static_cast<xmlNodePtr>(node_);
  for (int i = 0; i < n && node != nullptr; ++i) {
    node = node->parent;
    if (node != nullptr && node->type != XML_ELEMENT_NODE) node = nullptr;
  }
  return XmlNode(doc_, node);
}

std::string XmlNode::Name() const {
  if (node_ == nullptr) return std::string();
  xmlNodePtr node = static_cast<xmlNodePtr>(node_);
  if ((node->type != XML_ELEMENT_NODE && node->type != XML_ATTRIBUTE_NODE) ||
      node->name == nullptr)
    return std::string();
  return reinterpret_cast<const char*>(node->name);
}

std::string XmlNode::Str() const {
  if (node_ == nullptr) return std::string();
  xmlNodePtr node = static_cast<xmlNodePtr>(node_);
  std::string text;
  if ((node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE) &&
      node->content != nullptr)
    text = reinterpret_cast<const char*>(node->content);
  else
    AppendText(node, text);
  return text;
}

// ---------------------------------------------------------------- XPath

XPath::XPath() {}

namespace {

bool g_literal_evaluation = false;

bool IsNameStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsNameChar(char c) {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '.' || c == '-';
}

// True when `rest` has no "|" outside literals, brackets and parentheses,
// and its brackets and parentheses balance: then "//NAME/" + rest is one
// path from the NAME elements, never a union with another path.
bool IsSinglePathTail(const std::string& rest) {
  int depth = 0;
  char quote = '\0';
  for (char c : rest) {
    if (quote != '\0') {
      if (c == quote) quote = '\0';
      continue;
    }
    switch (c) {
      case '\'':
      case '"':
        quote = c;
        break;
      case '[':
      case '(':
        ++depth;
        break;
      case ']':
      case ')':
        if (--depth < 0) return false;
        break;
      case '|':
        if (depth == 0) return false;
        break;
      default:
        break;
    }
  }
  return depth == 0 && quote == '\0';
}

// Splits "//NAME/REST" into NAME and REST when NAME is a plain element
// name and REST a single relative path.
bool SplitAnchoredPath(const std::string& expr, std::string& name, std::string& rest) {
  if (expr.size() < 4 || expr[0] != '/' || expr[1] != '/' || !IsNameStart(expr[2]))
    return false;
  std::size_t end = 3;
  while (end < expr.size() && IsNameChar(expr[end])) ++end;
  if (end + 1 >= expr.size() || expr[end] != '/' || expr[end + 1] == '/') return false;
  rest = expr.substr(end + 1);
  if (!IsSinglePathTail(rest)) return false;
  name = expr.substr(2, end - 2);
  return true;
}

void CountNamed(xmlNodePtr node, const xmlChar* name, DocHolder::NamedElements& found) {
  for (; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    if (node->ns == nullptr && xmlStrEqual(node->name, name)) {
      if (found.count++ == 0) found.first = node;
    }
    CountNamed(node->children, name, found);
  }
}

// The elements called `name` in no namespace, counted once per generation
// of the document.
const DocHolder::NamedElements& NamedElements(DocHolder& holder, const std::string& name) {
  if (holder.names_generation != holder.generation) {
    holder.names.clear();
    holder.names_generation = holder.generation;
  }
  auto it = holder.names.find(name);
  if (it != holder.names.end()) return it->second;
  DocHolder::NamedElements& found = holder.names[name];
  CountNamed(holder.doc->children, X(name.c_str()), found);
  return found;
}

}  // namespace

void SetLiteralEvaluation(bool literal) { g_literal_evaluation = literal; }

XPath::XPath(const Xml& doc, const std::string& expr) {
  if (!doc.doc_ || doc.doc_->doc == nullptr) return;
  SetUpLibxml();
  internal::DocHolder& holder = *doc.doc_;
  if (holder.xpath == nullptr) {
    holder.xpath = xmlXPathNewContext(holder.doc);
    if (holder.xpath == nullptr) return;
    xmlXPathContextSetCache(holder.xpath, 1, -1, 0);
  }
  xmlXPathContextPtr context = holder.xpath;
  // The document may have been replaced by a new load since the last use.
  context->doc = holder.doc;
  context->node = nullptr;
  context->contextSize = 1;
  context->proximityPosition = 1;

  // "//NAME/REST" selects REST from every NAME element. When the document
  // holds exactly one, REST evaluated from it gives the same node set
  // without a walk through the whole document; this keeps the many queries
  // anchored at the description's root element cheap on large documents.
  const std::string* evaluated = &expr;
  std::string name, rest;
  if (!g_literal_evaluation && SplitAnchoredPath(expr, name, rest)) {
    const DocHolder::NamedElements& anchors = NamedElements(holder, name);
    if (anchors.count == 1) {
      context->node = anchors.first;
      evaluated = &rest;
    }
  }
  xmlXPathObjectPtr result =
      xmlXPathEvalExpression(X(evaluated->c_str()), context);
  if (result == nullptr) {
    if (Log().Check(4))
      Log().Write(4, "Invalid XPath expression: %s", expr.c_str());
  } else {
    if (result->type == XPATH_NODESET && result->nodesetval != nullptr) {
      xmlNodeSetPtr set = result->nodesetval;
      nodes_.reserve(static_cast<size_t>(set->nodeNr));
      for (int i = 0; i < set->nodeNr; ++i) {
        xmlNodePtr node = set->nodeTab[i];
        // Namespace nodes are copies owned by the node set, not nodes of
        // the document.
        if (node == nullptr || node->type == XML_NAMESPACE_DECL) continue;
        nodes_.push_back(node);
      }
      if (!nodes_.empty()) doc_ = doc.doc_;
    }
    xmlXPathFreeObject(result);
  }
}

XmlNode XPath::operator[](unsigned long i) const {
  if (i >= nodes_.size()) return XmlNode();
  return XmlNode(doc_, nodes_[i]);
}

// ---------------------------------------------------------------- Xml

Xml::Xml() {}

Xml::Xml(const std::string& root_name) : doc_(std::make_shared<DocHolder>()) {
  SetUpLibxml();
  doc_->doc = xmlNewDoc(X("1.0"));
  if (doc_->doc != nullptr && !root_name.empty()) {
    xmlNodePtr root =
        xmlNewDocNode(doc_->doc, nullptr, X(root_name.c_str()), nullptr);
    if (root != nullptr) xmlDocSetRootElement(doc_->doc, root);
  }
}

bool Xml::LoadFromFile(const std::string& path) {
  std::string text;
  if (!pnl_file::ReadFile(path, text)) {
    int error = errno;
    if (!doc_) doc_ = std::make_shared<DocHolder>();
    Replace(*doc_, nullptr, doc_.use_count() > 1);
    // A missing file is normal (optional files); other failures are not.
    pnl_log::Level level = (error == ENOENT || error == ENOTDIR) ? 6 : 3;
    if (Log().Check(level))
      Log().Write(level, "Cannot read %s: %s", path.c_str(), strerror(error));
    return false;
  }
  return LoadFromString(text, path);
}

bool Xml::LoadFromString(const std::string& text, const std::string& origin) {
  xmlDocPtr parsed = Parse(text, origin);
  if (!doc_) doc_ = std::make_shared<DocHolder>();
  Replace(*doc_, parsed, doc_.use_count() > 1);
  return parsed != nullptr;
}

XmlNode Xml::GetRoot() const {
  if (!doc_ || doc_->doc == nullptr) return XmlNode();
  return XmlNode(doc_, xmlDocGetRootElement(doc_->doc));
}

XmlNode Xml::SetRoot(const XmlNode& node, bool /*flag*/) {
  if (!IsElement(node.node_)) return XmlNode();
  SetUpLibxml();
  if (!doc_) doc_ = std::make_shared<DocHolder>();
  if (doc_->doc == nullptr) doc_->doc = xmlNewDoc(X("1.0"));
  if (doc_->doc == nullptr) return XmlNode();
  xmlNodePtr copy =
      xmlDocCopyNode(static_cast<xmlNodePtr>(node.node_), doc_->doc, 1);
  if (copy == nullptr) return XmlNode();
  xmlNodePtr old = xmlDocSetRootElement(doc_->doc, copy);
  if (old != nullptr) doc_->detached.push_back(old);
  ++doc_->generation;
  return XmlNode(doc_, copy);
}

XPath Xml::GetNodes(const std::string& expr) const { return XPath(*this, expr); }

void Xml::RemoveNodes(const std::string& expr) {
  XPath set(*this, expr);
  for (std::size_t i = 0; i < set.size(); ++i) {
    xmlNodePtr node = static_cast<xmlNodePtr>(set[i].node_);
    if (node->type == XML_DOCUMENT_NODE ||
        node->type == XML_HTML_DOCUMENT_NODE)
      continue;
    xmlUnlinkNode(node);
    doc_->detached.push_back(node);
    ++doc_->generation;
  }
}

std::string Xml::ToString(bool raw) const {
  SetUpLibxml();
  xmlDocPtr doc = doc_ ? doc_->doc : nullptr;
  xmlDocPtr empty = nullptr;
  if (doc == nullptr) doc = empty = xmlNewDoc(X("1.0"));
  if (doc == nullptr) return std::string();
  xmlChar* buffer = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(doc, &buffer, &size, "UTF-8", raw ? 0 : 1);
  std::string text;
  if (buffer != nullptr) {
    text.assign(reinterpret_cast<const char*>(buffer),
                static_cast<size_t>(size > 0 ? size : 0));
    xmlFree(buffer);
  }
  if (empty != nullptr) xmlFreeDoc(empty);
  return text;
}

bool Xml::Save(const std::string& path, bool raw) const {
  if (pnl_file::WriteFile(path, ToString(raw))) return true;
  int error = errno;
  if (Log().Check(3))
    Log().Write(3, "Cannot write %s: %s", path.c_str(), strerror(error));
  return false;
}

}  // namespace pnl_xml
