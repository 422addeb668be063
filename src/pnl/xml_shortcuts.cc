// Shortcuts for the queries that the audits ask most: those anchored at an
// element found anywhere ("//pnldata/metadata[@name='user']/form",
// "//messages/msg[@name='title']", "//metadata[@name=\"user\"]"). Evaluated
// as written, each is a walk through the whole document, so a large
// description asked tens of thousands of them costs minutes. Here the
// anchor is found in an index of the document instead, and only what
// follows it is evaluated, from the anchor. A shortcut is taken only where
// it selects exactly the node set that the query selects as written;
// anything else is evaluated as written.
#include <libxml/tree.h>

#include <algorithm>

#include "pnl/xml.h"
#include "pnl/xml_internal.h"

namespace pnl_xml {

namespace internal {

namespace {

bool g_literal = false;

bool IsNameStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsNameChar(char c) {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '.' || c == '-';
}

// The end of the element or attribute name (without prefix) that starts
// at `pos`; `pos` itself when there is none.
std::size_t NameEnd(const std::string& text, std::size_t pos) {
  if (pos >= text.size() || !IsNameStart(text[pos])) return pos;
  std::size_t end = pos + 1;
  while (end < text.size() && IsNameChar(text[end])) ++end;
  return end;
}

// True when `path` is one relative location path: it does not start with
// "/", has no "|" outside literals, brackets and parentheses, and its
// brackets, parentheses and quotes balance. Evaluated from an element, such
// a path selects what the same path selects after "//NAME/" from it.
bool IsRelativePath(const std::string& path) {
  if (path.empty() || path[0] == '/') return false;
  int depth = 0;
  char quote = '\0';
  for (char c : path) {
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

// A step that selects elements by name and by one value, the value of an
// attribute (NAME[@ATTR='VALUE']) or of a text child (NAME[text()='VALUE']),
// with either quote, and the relative path that follows it after a "/"
// ("" when nothing follows).
struct KeyedStep {
  std::string name;
  std::string key;  // the attribute's name, or "text()"
  std::string value;
  std::string rest;
};

const char kTextKey[] = "text()";

bool ParseKeyedStep(const std::string& text, KeyedStep& step) {
  std::size_t pos = NameEnd(text, 0);
  if (pos == 0) return false;
  step.name = text.substr(0, pos);
  std::size_t key_end;
  if (text.compare(pos, 2, "[@") == 0) {
    key_end = NameEnd(text, pos + 2);
    if (key_end == pos + 2) return false;
    step.key = text.substr(pos + 2, key_end - pos - 2);
  } else if (text.compare(pos, 8, "[text()=") == 0) {
    key_end = pos + 7;
    step.key = kTextKey;
  } else {
    return false;
  }
  const std::size_t attr_end = key_end;
  if (attr_end + 1 >= text.size() || text[attr_end] != '=') return false;
  const char quote = text[attr_end + 1];
  if (quote != '\'' && quote != '"') return false;
  std::size_t close = text.find(quote, attr_end + 2);
  if (close == std::string::npos || close + 1 >= text.size() || text[close + 1] != ']')
    return false;
  step.value = text.substr(attr_end + 2, close - attr_end - 2);
  std::size_t after = close + 2;
  if (after == text.size()) {
    step.rest.clear();
    return true;
  }
  if (text[after] != '/') return false;
  step.rest = text.substr(after + 1);
  return IsRelativePath(step.rest);
}

// Forgets the indexes of an older generation of the document.
void Refresh(DocHolder& holder) {
  if (holder.index_generation == holder.generation) return;
  holder.elements_by_name.clear();
  holder.elements_by_attribute.clear();
  holder.element_children.clear();
  holder.index_generation = holder.generation;
}

// The element children of `node`, in order, kept for the generation.
const std::vector<xmlNodePtr>& ElementChildren(DocHolder& holder, xmlNodePtr node) {
  auto it = holder.element_children.find(node);
  if (it != holder.element_children.end()) return it->second;
  std::vector<xmlNodePtr>& children = holder.element_children[node];
  for (xmlNodePtr child = node->children; child != nullptr; child = child->next)
    if (child->type == XML_ELEMENT_NODE) children.push_back(child);
  return children;
}

// Follows a path made only of positional steps "*[N]" (N a decimal number)
// and, optionally, a last step "*", from `node`: the N-th element child,
// then the N-th element child of that, and so on; a last "*" selects all
// element children. False when `path` is not of that form.
bool FollowPositions(DocHolder& holder, xmlNodePtr node, const std::string& path,
                     std::vector<void*>& out) {
  Refresh(holder);
  std::size_t pos = 0;
  for (;;) {
    if (path.compare(pos, 1, "*") != 0) return false;
    if (pos + 1 == path.size()) {  // the last step "*"
      if (node != nullptr)
        for (xmlNodePtr child : ElementChildren(holder, node)) out.push_back(child);
      return true;
    }
    if (path[pos + 1] != '[') return false;
    const std::size_t digits = pos + 2;
    std::size_t end = digits;
    while (end < path.size() && path[end] >= '0' && path[end] <= '9') ++end;
    if (end == digits || end - digits > 9 || end >= path.size() || path[end] != ']')
      return false;
    const std::size_t wanted = std::stoul(path.substr(digits, end - digits));
    if (node != nullptr) {
      const std::vector<xmlNodePtr>& children = ElementChildren(holder, node);
      node = wanted >= 1 && wanted <= children.size() ? children[wanted - 1] : nullptr;
    }
    pos = end + 1;
    if (pos == path.size()) {
      if (node != nullptr) out.push_back(node);
      return true;
    }
    if (path[pos] != '/') return false;
    ++pos;
  }
}

void CollectNamed(xmlNodePtr node, const xmlChar* name, std::vector<xmlNodePtr>& out) {
  for (; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    // A name test without prefix matches elements in no namespace only.
    if (node->ns == nullptr && xmlStrEqual(node->name, name)) out.push_back(node);
    CollectNamed(node->children, name, out);
  }
}

// Every element called `name` (in no namespace), in document order.
const std::vector<xmlNodePtr>& ElementsNamed(DocHolder& holder, const std::string& name) {
  Refresh(holder);
  auto it = holder.elements_by_name.find(name);
  if (it != holder.elements_by_name.end()) return it->second;
  std::vector<xmlNodePtr>& found = holder.elements_by_name[name];
  CollectNamed(holder.doc->children, reinterpret_cast<const xmlChar*>(name.c_str()), found);
  return found;
}

// The string value of `node` as the XPath comparison takes it.
std::string StringValue(xmlNodePtr node) {
  xmlChar* content = xmlNodeGetContent(node);
  std::string text = content != nullptr ? reinterpret_cast<const char*>(content) : "";
  xmlFree(content);
  return text;
}

// Adds `element` to `index` under each value that `key` gives it: the value
// of its attribute `key` (in no namespace), or of each of its text children.
void IndexElement(xmlNodePtr element, const std::string& key,
                  std::unordered_map<std::string, std::vector<xmlNodePtr>>& index) {
  if (key == kTextKey) {
    std::vector<std::string> seen;
    for (xmlNodePtr child = element->children; child != nullptr; child = child->next) {
      if (child->type != XML_TEXT_NODE && child->type != XML_CDATA_SECTION_NODE) continue;
      std::string text = StringValue(child);
      if (std::find(seen.begin(), seen.end(), text) != seen.end()) continue;
      index[text].push_back(element);
      seen.push_back(std::move(text));
    }
    return;
  }
  const xmlChar* attr = reinterpret_cast<const xmlChar*>(key.c_str());
  for (xmlAttrPtr a = element->properties; a != nullptr; a = a->next) {
    if (a->ns != nullptr || !xmlStrEqual(a->name, attr)) continue;
    index[StringValue(reinterpret_cast<xmlNodePtr>(a))].push_back(element);
    return;
  }
}

// Every element called `name` (in no namespace) that the keyed step's
// predicate holds for with `value`, in document order.
const std::vector<xmlNodePtr>& ElementsWith(DocHolder& holder, const std::string& name,
                                            const std::string& key, const std::string& value) {
  static const std::vector<xmlNodePtr> kNone;
  const std::vector<xmlNodePtr>& named = ElementsNamed(holder, name);
  const std::string index_key = name + '\0' + key;
  auto index = holder.elements_by_attribute.find(index_key);
  if (index == holder.elements_by_attribute.end()) {
    index = holder.elements_by_attribute.emplace(index_key, decltype(index->second)()).first;
    for (xmlNodePtr element : named) IndexElement(element, key, index->second);
  }
  auto found = index->second.find(value);
  return found != index->second.end() ? found->second : kNone;
}

// The plan for "STEP/REST" once the elements that STEP selects are known:
// those elements when nothing follows, nothing when there are none, REST
// from the element when there is one. Several elements with a path after
// them are left to `fallback`.
Plan Narrow(const std::vector<xmlNodePtr>& selected, const std::string& rest,
            const Plan& fallback) {
  Plan plan;
  if (rest.empty() || selected.empty()) {
    plan.decided = true;
    plan.nodes.assign(selected.begin(), selected.end());
    if (!rest.empty()) plan.nodes.clear();
    return plan;
  }
  if (selected.size() > 1) return fallback;
  plan.context = selected[0];
  plan.expr = rest;
  return plan;
}

}  // namespace

bool LiteralEvaluation() { return g_literal; }

Plan PlanQuery(DocHolder& holder, const std::string& query) {
  const Plan as_written;
  if (g_literal || holder.doc == nullptr || query.compare(0, 2, "//") != 0) return as_written;
  const std::string tail = query.substr(2);

  // "//NAME[@ATTR='VALUE']" and "//NAME[@ATTR='VALUE']/REST".
  KeyedStep keyed;
  if (ParseKeyedStep(tail, keyed))
    return Narrow(ElementsWith(holder, keyed.name, keyed.key, keyed.value), keyed.rest,
                  as_written);

  // "//NAME/REST": REST from the one NAME element.
  const std::size_t name_end = NameEnd(tail, 0);
  if (name_end == 0 || name_end >= tail.size() || tail[name_end] != '/') return as_written;
  const std::string rest = tail.substr(name_end + 1);
  if (!IsRelativePath(rest)) return as_written;
  const std::string anchor_name = tail.substr(0, name_end);
  const std::vector<xmlNodePtr>& anchors = ElementsNamed(holder, anchor_name);
  if (anchors.empty()) {
    Plan nothing;
    nothing.decided = true;
    return nothing;
  }
  Plan from_anchor = as_written;
  if (anchors.size() == 1) {
    from_anchor.context = anchors[0];
    from_anchor.expr = rest;
    // "//NAME/*[i]/*[j]/*": a walk down by positions, as the check of
    // self-included conditions asks for every element of a description.
    Plan walked;
    if (FollowPositions(holder, anchors[0], rest, walked.nodes)) {
      walked.decided = true;
      return walked;
    }
  }

  // "//NAME/CHILD[@ATTR='VALUE']/REST2": the children of NAME elements that
  // the keyed step selects come from the index too, in document order.
  if (!ParseKeyedStep(rest, keyed)) return from_anchor;
  const xmlChar* parent_name = reinterpret_cast<const xmlChar*>(anchor_name.c_str());
  std::vector<xmlNodePtr> children;
  for (xmlNodePtr element : ElementsWith(holder, keyed.name, keyed.key, keyed.value)) {
    xmlNodePtr parent = element->parent;
    if (parent != nullptr && parent->type == XML_ELEMENT_NODE && parent->ns == nullptr &&
        xmlStrEqual(parent->name, parent_name))
      children.push_back(element);
  }
  return Narrow(children, keyed.rest, from_anchor);
}

}  // namespace internal

void SetLiteralEvaluation(bool literal) { internal::g_literal = literal; }

bool IsLiteralEvaluation() { return internal::g_literal; }

}  // namespace pnl_xml
