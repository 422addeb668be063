#include "pnl/xml.h"

#include <algorithm>
#include <stdio.h>
#include <string.h>

#include <string_view>
#include <unordered_map>

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>

#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/xml_internal.h"

namespace pnl_xml {


namespace {

using internal::DocHolder;

const pnl_log::Module& Log() { return pnl_log::LibraryLog(); }


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

// Removes every entity reference from the tree before the DTD that declares
// it is freed. Nothing is ever expanded or loaded from outside, so a
// reference reads as nothing; removing it also keeps every document written
// from this tree well-formed, since the declaration does not travel with it.
void DropEntityRefs(xmlNodePtr node) {
  while (node != nullptr) {
    xmlNodePtr next = node->next;
    if (node->type == XML_ENTITY_REF_NODE) {
      // The children and content of a reference are its declaration's.
      node->children = nullptr;
      node->last = nullptr;
      node->content = nullptr;
      xmlUnlinkNode(node);
      xmlFreeNode(node);
    } else {
      if (node->type == XML_ELEMENT_NODE) {
        for (xmlAttrPtr attr = node->properties; attr != nullptr;
             attr = attr->next)
          DropEntityRefs(attr->children);
      }
      if (node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE)
        DropEntityRefs(node->children);
    }
    node = next;
  }
}

void DropDtd(xmlDocPtr doc) {
  DropEntityRefs(doc->children);
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

ProblemReporter g_reporter = nullptr;

void Tell(const std::string& path, const std::string& line) {
  if (g_reporter != nullptr) g_reporter(path, line);
}

// The parser's message in words for the people who wrote the file: the
// limits that protect the parser are told as such, without the name of the
// parser's option that would lift them.
std::string Reword(const std::string& message) {
  if (message.find("XML_PARSE_HUGE") == std::string::npos) return message;
  if (message.rfind("Excessive depth in document", 0) == 0)
    return "the document is nested too deeply (the limit is 256 levels)";
  return "the document is too large for the parser's limits";
}

// Parses `text` silently; nullptr, with the parser's line and message in
// `collector`, when it is not well-formed.
xmlDocPtr ParseQuietly(const std::string& text, const std::string& origin,
                       ErrorCollector& collector) {
  SetUpLibxml();
  collector.origin = &origin;
  g_collector = &collector;
  xmlDocPtr doc = nullptr;
  if (text.size() <= static_cast<size_t>(INT32_MAX))
    doc = xmlReadMemory(text.data(), static_cast<int>(text.size()),
                        origin.c_str(), nullptr, XML_PARSE_NONET);
  g_collector = nullptr;
  if (doc == nullptr && collector.rank == 0)
    collector.message = "not a well-formed document";
  collector.message = Reword(collector.message);
  return doc;
}

// Parses `text`; nullptr (told to the reporter, with a log record) when it
// is not well-formed.
xmlDocPtr Parse(const std::string& text, const std::string& origin) {
  ErrorCollector collector;
  xmlDocPtr doc = ParseQuietly(text, origin, collector);
  if (doc == nullptr) {
    int line = collector.line;
    const std::string& message = collector.message;
    Tell(origin, origin + ":" + std::to_string(line) + ": " + message);
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

bool XmlNode::GetNoNsProp(const char* name, std::string* value) const {
  if (!IsElement(node_) || name == nullptr) return false;
  xmlNodePtr node = static_cast<xmlNodePtr>(node_);
  for (xmlAttrPtr attr = node->properties; attr != nullptr; attr = attr->next) {
    if (attr->ns != nullptr || !xmlStrEqual(attr->name, X(name))) continue;
    // What the XPath comparison compares: the attribute's string value.
    xmlChar* content = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(attr));
    value->assign(content != nullptr ? reinterpret_cast<const char*>(content) : "");
    xmlFree(content);
    return true;
  }
  return false;
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

std::string XmlNode::ToString() const {
  if (node_ == nullptr) return std::string();
  xmlBufferPtr buffer = xmlBufferCreate();
  if (buffer == nullptr) return std::string();
  std::string text;
  // The encoding named as for a whole document: characters are written as
  // they are, not as character references.
  xmlSaveCtxtPtr save = xmlSaveToBuffer(buffer, "UTF-8", 0);
  if (save != nullptr) {
    xmlSaveTree(save, static_cast<xmlNodePtr>(node_));
    xmlSaveClose(save);
    text.assign(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                static_cast<std::size_t>(xmlBufferLength(buffer)));
  }
  xmlBufferFree(buffer);
  return text;
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

bool XmlNode::InNoNamespace() const {
  return IsElement(node_) && static_cast<xmlNodePtr>(node_)->ns == nullptr;
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

long XmlNode::Line() const {
  if (node_ == nullptr) return 0;
  xmlNodePtr node = static_cast<xmlNodePtr>(node_);
  if (node->type == XML_ATTRIBUTE_NODE || node->type == XML_TEXT_NODE ||
      node->type == XML_CDATA_SECTION_NODE)
    node = node->parent;
  if (node == nullptr || node->type != XML_ELEMENT_NODE) return 0;
  const long line = xmlGetLineNo(node);
  return line > 0 ? line : 0;
}

bool CheckWellFormed(const std::string& text, const std::string& origin,
                     ParseProblem* problem) {
  ErrorCollector collector;
  xmlDocPtr doc = ParseQuietly(text, origin, collector);
  if (doc != nullptr) {
    xmlFreeDoc(doc);
    return true;
  }
  if (problem != nullptr) {
    problem->line = collector.line;
    problem->message = collector.message;
  }
  return false;
}

// ---------------------------------------------------------------- XPath

XPath::XPath() {}

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

  // A query that the shortcuts can answer, or narrow to a part of the
  // document, costs far less than a walk through the whole document.
  internal::Plan plan = internal::PlanQuery(holder, expr);
  if (plan.decided) {
    nodes_ = std::move(plan.nodes);
    if (!nodes_.empty()) doc_ = doc.doc_;
    return;
  }
  context->node = plan.context;
  const std::string* evaluated = plan.context != nullptr ? &plan.expr : &expr;
  const bool memoize = holder.in_file_cache && !internal::LiteralEvaluation();
  if (memoize) {
    if (holder.memo_generation != holder.generation) {
      holder.memo.clear();
      holder.memo_generation = holder.generation;
    }
    auto found = holder.memo.find(expr);
    if (found != holder.memo.end()) {
      nodes_ = found->second;
      if (!nodes_.empty()) doc_ = doc.doc_;
      return;
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
  if (memoize) {
    constexpr std::size_t kMemoLimit = 64;
    if (holder.memo.size() >= kMemoLimit) holder.memo.clear();
    holder.memo.emplace(expr, nodes_);
  }
}

XmlNode XPath::operator[](unsigned long i) const {
  if (i >= nodes_.size()) return XmlNode();
  return XmlNode(doc_, nodes_[i]);
}

// ---------------------------------------------------------------- Parsed files

namespace {

// The audits load the same files again and again (a manager's common
// messages for every form and language, a list's messages for every column
// and button, the desktop messages for every menu item). A document parsed
// from a file is kept and handed out again, in place of a new parse, only
// while the file is unchanged (same stamp), the document has never been
// changed since its parse, and nobody holds it. A file whose loads get
// changed by their users (messages merged into them) is kept once more as
// an untouched copy, and later loads get a copy of that. Either way, what
// a load hands out is exactly what a parse would give.
class ParsedFiles {
 public:
  ~ParsedFiles() {
    for (auto& [path, entry] : entries_) FreePristine(entry);
  }

  // The document of `path` for a new load, when it may be had without a
  // parse.
  std::shared_ptr<DocHolder> Take(const std::string& path, const std::string& stamp) {
    auto it = entries_.find(path);
    if (it == entries_.end()) return nullptr;
    Entry& entry = it->second;
    if (entry.stamp != stamp) {
      Drop(it);
      return nullptr;
    }
    entry.last_use = ++clock_;
    if (entry.shared.use_count() == 1 && entry.shared->generation == entry.generation)
      return entry.shared;
    if (entry.pristine == nullptr) {
      entry.wants_pristine = true;  // keep the next parse untouched
      return nullptr;
    }
    xmlDocPtr copy = xmlCopyDoc(entry.pristine, 1);
    if (copy == nullptr) return nullptr;
    auto holder = std::make_shared<DocHolder>();
    holder->doc = copy;
    return holder;
  }

  // Keeps `holder`, just parsed from `path`.
  void Put(const std::string& path, const std::string& stamp, std::size_t size,
           const std::shared_ptr<DocHolder>& holder) {
    auto it = entries_.find(path);
    if (it != entries_.end() && it->second.stamp == stamp && it->second.wants_pristine) {
      if (it->second.pristine == nullptr) it->second.pristine = xmlCopyDoc(holder->doc, 1);
      return;
    }
    if (it != entries_.end()) Drop(it);
    if (size > kMaxBytes / 8) return;  // too large to keep beside others
    while (!entries_.empty() &&
           (entries_.size() >= kMaxEntries || bytes_ + 2 * size > kMaxBytes))
      DropOldest();
    holder->in_file_cache = true;
    Entry entry;
    entry.stamp = stamp;
    entry.size = size;
    entry.shared = holder;
    entry.generation = holder->generation;
    entry.last_use = ++clock_;
    entries_.emplace(path, std::move(entry));
    bytes_ += 2 * size;
  }

  std::size_t size() const { return entries_.size(); }

  // Lets go of `holder` if it is kept, so that its owner may reuse it.
  void Forget(const DocHolder* holder) {
    for (auto& [path, entry] : entries_) {
      if (entry.shared.get() == holder) {
        entry.shared->in_file_cache = false;
        entry.shared = std::make_shared<DocHolder>();  // never handed out
        entry.generation = ~0ul;
        return;
      }
    }
  }

 private:
  static constexpr std::size_t kMaxEntries = 32;
  static constexpr std::size_t kMaxBytes = 256u << 20;  // counted twice the file sizes

  struct Entry {
    std::string stamp;
    std::size_t size = 0;
    std::shared_ptr<DocHolder> shared;
    unsigned long generation = 0;
    xmlDocPtr pristine = nullptr;  // never handed out: copies of it are
    bool wants_pristine = false;
    unsigned long last_use = 0;
  };

  static void FreePristine(Entry& entry) {
    if (entry.pristine != nullptr) xmlFreeDoc(entry.pristine);
    entry.pristine = nullptr;
  }

  void Drop(std::unordered_map<std::string, Entry>::iterator it) {
    bytes_ -= 2 * it->second.size;
    it->second.shared->in_file_cache = false;
    FreePristine(it->second);
    entries_.erase(it);
  }

  void DropOldest() {
    auto oldest = entries_.begin();
    for (auto it = entries_.begin(); it != entries_.end(); ++it)
      if (it->second.last_use < oldest->second.last_use) oldest = it;
    Drop(oldest);
  }

  std::unordered_map<std::string, Entry> entries_;
  std::size_t bytes_ = 0;
  unsigned long clock_ = 0;
};

ParsedFiles& Files() {
  static ParsedFiles* files = new ParsedFiles();  // lives as long as the process
  return *files;
}

}  // namespace

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

namespace {
bool g_keep_parsed_files = true;
}  // namespace

void SetKeepParsedFiles(bool keep) { g_keep_parsed_files = keep; }
bool KeepsParsedFiles() { return g_keep_parsed_files; }

std::size_t KeptParsedFiles() { return Files().size(); }

bool Xml::LoadFromFile(const std::string& path) {
  std::string stamp;
  if (!internal::LiteralEvaluation() && g_keep_parsed_files) {
    if (doc_) Files().Forget(doc_.get());
    stamp = pnl_file::Stamp(path);
    if (!stamp.empty() && (!doc_ || doc_.use_count() == 1)) {
      if (std::shared_ptr<DocHolder> kept = Files().Take(path, stamp)) {
        doc_ = std::move(kept);
        return true;
      }
    }
  }
  std::string text;
  if (pnl::Status read = pnl_file::ReadFile(path, text); !read.ok()) {
    if (!doc_) doc_ = std::make_shared<DocHolder>();
    Replace(*doc_, nullptr, doc_.use_count() > 1);
    // A missing file is normal (optional files); other failures are not,
    // and are told on standard error as a malformed file is.
    const bool missing = read.IsNotFound() || read.IsNotDirectory();
    pnl_log::Level level = missing ? 6 : 3;
    if (Log().Check(level))
      Log().Write(level, "Cannot read %s: %s", path.c_str(), read.cause().c_str());
    // A FIFO or device where the file should be is named for what it is.
    if (!missing) Tell(path, read.message());
    return false;
  }
  const bool ok = LoadFromString(text, path);
  if (ok && !stamp.empty()) Files().Put(path, stamp, text.size(), doc_);
  return ok;
}

bool Xml::LoadFromString(const std::string& text, const std::string& origin) {
  xmlDocPtr parsed = Parse(text, origin);
  if (!doc_) doc_ = std::make_shared<DocHolder>();
  Replace(*doc_, parsed, doc_.use_count() > 1);
  return parsed != nullptr;
}

bool Xml::LoadQuietly(const std::string& text, const std::string& origin) {
  ErrorCollector collector;
  xmlDocPtr parsed = ParseQuietly(text, origin, collector);
  if (parsed != nullptr) DropDtd(parsed);
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

void SetProblemReporter(ProblemReporter reporter) { g_reporter = reporter; }

pnl::Status Xml::Save(const std::string& path, bool raw) const {
  pnl::Status written = pnl_file::WriteFile(path, ToString(raw));
  if (!written.ok() && Log().Check(3))
    Log().Write(3, "Cannot write %s: %s", path.c_str(), written.message().c_str());
  return written;
}

namespace {

// The state of one ScanElements parse, reached from the SAX callbacks.
struct Scan {
  const std::string* text = nullptr;
  std::vector<ElementSpan>* spans = nullptr;
  std::vector<long> open;  // indices of the elements not yet closed
  bool converted = false;  // the parser decodes another encoding
};

Scan* ScanOf(void* ctx) {
  return static_cast<Scan*>(static_cast<xmlParserCtxtPtr>(ctx)->_private);
}

// True (and the parse stopped) when the bytes are being converted from
// another encoding: the parser's offsets would not be those of the text.
bool Converted(xmlParserCtxtPtr ctxt, Scan* scan) {
  if (ctxt->input != nullptr && ctxt->input->buf != nullptr &&
      ctxt->input->buf->encoder != nullptr) {
    scan->converted = true;
    xmlStopParser(ctxt);
  }
  return scan->converted;
}

// An attribute value as the parser hands it to a start-tag callback, made
// the value that the document holds and a query compares. The parser has
// already replaced every character and predefined entity reference and
// normalised the blanks, except that an "&" (written "&amp;", "&#38;" or
// "&#x26;") comes as "&#38;", so that it cannot be taken for the start of
// a reference it left alone; that one is put back. References to entities
// of the document's own DTD stay as written.
std::string AttributeValue(const char* begin, const char* end) {
  static constexpr std::string_view kAmpersand = "&#38;";
  const std::string_view raw(begin, static_cast<size_t>(end - begin));
  std::string value;
  value.reserve(raw.size());
  size_t from = 0;
  for (size_t at = raw.find(kAmpersand); at != std::string_view::npos;
       at = raw.find(kAmpersand, from)) {
    value.append(raw.substr(from, at - from));
    value += '&';
    from = at + kAmpersand.size();
  }
  value.append(raw.substr(from));
  return value;
}

// Called with the parser just past the name and attributes of a start
// tag: at its ">" or at the "/" of "/>".
// The last line that a parsed element can be given: the parser keeps it in
// 16 bits.
constexpr long kLastElementLine = 65535;

void ScanStart(void* ctx, const xmlChar* localname, const xmlChar* prefix,
               const xmlChar*, int, const xmlChar**, int nb_attributes, int,
               const xmlChar** attributes) {
  xmlParserCtxtPtr ctxt = static_cast<xmlParserCtxtPtr>(ctx);
  Scan* scan = ScanOf(ctx);
  if (Converted(ctxt, scan)) return;
  const std::string& text = *scan->text;
  long at = xmlByteConsumed(ctxt);
  size_t pos = at < 0 ? 0 : static_cast<size_t>(at);
  ElementSpan span;
  if (prefix != nullptr)
    span.name = std::string(reinterpret_cast<const char*>(prefix)) + ":";
  span.name += reinterpret_cast<const char*>(localname);
  // attributes: (localname, prefix, URI, value, end) per attribute.
  for (int i = 0; i < nb_attributes; ++i) {
    const xmlChar** a = attributes + 5 * i;
    if (a[1] == nullptr && xmlStrEqual(a[0], BAD_CAST "name")) {
      span.name_attr = AttributeValue(reinterpret_cast<const char*>(a[3]),
                                      reinterpret_cast<const char*>(a[4]));
      break;
    }
  }
  span.parent = scan->open.empty() ? -1 : scan->open.back();
  span.line = std::min<long>(xmlSAX2GetLineNumber(ctx), kLastElementLine);
  // "<" cannot occur inside a tag, nor ">" after its attributes.
  size_t lt = pos < text.size() ? text.rfind('<', pos) : std::string::npos;
  size_t gt = text.find('>', pos);
  span.begin = lt == std::string::npos ? 0 : lt;
  if (gt != std::string::npos && gt > 0 && text[gt - 1] == '/') {
    span.empty_tag = true;
    span.content_begin = span.content_end = gt - 1;
  } else {
    span.content_begin = gt == std::string::npos ? text.size() : gt + 1;
  }
  scan->open.push_back(static_cast<long>(scan->spans->size()));
  scan->spans->push_back(span);
}

// Called with the parser just past the ">" that ends the element.
void ScanEnd(void* ctx, const xmlChar*, const xmlChar*, const xmlChar*) {
  xmlParserCtxtPtr ctxt = static_cast<xmlParserCtxtPtr>(ctx);
  Scan* scan = ScanOf(ctx);
  if (Converted(ctxt, scan) || scan->open.empty()) return;
  const std::string& text = *scan->text;
  ElementSpan& span = (*scan->spans)[static_cast<size_t>(scan->open.back())];
  scan->open.pop_back();
  long at = xmlByteConsumed(ctxt);
  span.end = at < 0 ? 0 : static_cast<size_t>(at);
  if (!span.empty_tag && span.end > 0) {
    size_t lt = text.rfind('<', span.end - 1);
    span.content_end = lt == std::string::npos ? 0 : lt;
  }
}

void IgnoreCharacters(void*, const xmlChar*, int) {}
void IgnoreText(void*, const xmlChar*) {}
void IgnorePi(void*, const xmlChar*, const xmlChar*) {}

// Every span must stand where its tags are; anything else means the
// offsets cannot be trusted, and the text is refused rather than edited.
bool SpansAgree(const std::string& text, const std::vector<ElementSpan>& spans) {
  for (const ElementSpan& s : spans) {
    if (s.begin >= text.size() || text[s.begin] != '<' ||
        text.compare(s.begin + 1, s.name.size(), s.name) != 0)
      return false;
    if (s.end == 0 || s.end > text.size() || text[s.end - 1] != '>')
      return false;
    if (s.content_begin > s.content_end || s.content_end > s.end) return false;
    if (s.empty_tag) {
      if (text.compare(s.content_begin, 2, "/>") != 0 ||
          s.content_begin + 2 != s.end)
        return false;
    } else {
      if (text[s.content_begin - 1] != '>' ||
          text.compare(s.content_end, 2 + s.name.size(), "</" + s.name) != 0)
        return false;
    }
  }
  return true;
}

}  // namespace

pnl::Status ScanElements(const std::string& text, const std::string& origin,
                         std::vector<ElementSpan>* spans) {
  SetUpLibxml();
  spans->clear();
  // A byte-order mark of UTF-16 or UTF-32 announces converted offsets.
  if (text.size() >= 2 &&
      ((text[0] == '\xff' && text[1] == '\xfe') ||
       (text[0] == '\xfe' && text[1] == '\xff') ||
       (text.size() >= 4 && text.compare(0, 4, std::string("\0\0\xfe\xff", 4)) == 0))) {
    return pnl::Status::Error(origin + ": not in UTF-8; only UTF-8 files are handled");
  }
  if (text.size() > static_cast<size_t>(INT32_MAX)) {
    return pnl::Status::Error(origin + ": too large");
  }
  xmlSAXHandler handler;
  memset(&handler, 0, sizeof(handler));
  // The default handlers keep the internal subset's entity declarations,
  // so that a declared entity is not taken for an undeclared one; the
  // content itself goes nowhere.
  xmlSAXVersion(&handler, 2);
  handler.startElementNs = ScanStart;
  handler.endElementNs = ScanEnd;
  handler.characters = IgnoreCharacters;
  handler.ignorableWhitespace = IgnoreCharacters;
  handler.cdataBlock = IgnoreCharacters;
  handler.comment = IgnoreText;
  handler.reference = IgnoreText;
  handler.processingInstruction = IgnorePi;
  handler.serror = nullptr;  // errors go to the collector

  xmlParserCtxtPtr ctxt =
      xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size()));
  if (ctxt == nullptr) {
    return pnl::Status::Error(origin + ": cannot be parsed (out of memory)");
  }
  memcpy(ctxt->sax, &handler, sizeof(handler));
  ctxt->userData = ctxt;
  Scan scan;
  scan.text = &text;
  scan.spans = spans;
  ctxt->_private = &scan;
  xmlCtxtUseOptions(ctxt, XML_PARSE_NONET);
  if (ctxt->input != nullptr && ctxt->input->filename == nullptr)
    ctxt->input->filename =
        reinterpret_cast<char*>(xmlStrdup(BAD_CAST origin.c_str()));

  ErrorCollector collector;
  collector.origin = &origin;
  g_collector = &collector;
  xmlParseDocument(ctxt);
  g_collector = nullptr;
  bool well_formed = ctxt->wellFormed != 0;
  if (ctxt->myDoc != nullptr) {
    xmlFreeDoc(ctxt->myDoc);
    ctxt->myDoc = nullptr;
  }
  xmlFreeParserCtxt(ctxt);

  std::string error;
  if (scan.converted) {
    error = origin + ": not in UTF-8; only UTF-8 files are handled";
  } else if (!well_formed || !scan.open.empty()) {
    std::string message = collector.rank > 0 ? collector.message
                                             : "not a well-formed document";
    error = origin + ":" + std::to_string(collector.line) + ": " + message;
  } else if (spans->empty()) {
    error = origin + ": no root element";
  } else if (!SpansAgree(text, *spans)) {
    error = origin + ": the elements could not be located in the text";
  }
  if (error.empty()) return pnl::Status();
  spans->clear();
  return pnl::Status::Error(error);
}

bool ScanPlainElements(const std::string& text, const std::string& origin,
                       std::vector<ElementSpan>* spans) {
  spans->clear();
  if (internal::LiteralEvaluation()) return false;
  if (text.find("xmlns") != std::string::npos) return false;
  if (!ScanElements(text, origin, spans).ok()) return false;
  const std::string_view bytes = text;
  // A document type declaration stands before the root element.
  if (!spans->empty() &&
      bytes.substr(0, (*spans)[0].begin).find("<!DOCTYPE") != std::string_view::npos) {
    spans->clear();
    return false;
  }
  for (const ElementSpan& span : *spans) {
    if (bytes.substr(span.begin, span.content_begin - span.begin).find(':') !=
        std::string_view::npos) {
      spans->clear();
      return false;
    }
  }
  return true;
}

}  // namespace pnl_xml
