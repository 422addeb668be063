#include "fix/msg_file_editor.h"

#include <algorithm>

namespace fix {

namespace {

// A new element to write: start tag, escaped text, children, end tag.
struct NewElement {
  std::string key;  // the name attribute, to find it again while building
  std::string open;
  std::string text;
  std::string close;
  std::vector<NewElement> children;
};

NewElement Element(const std::string& tag, const std::string& name,
                   const std::vector<std::pair<std::string, std::string>>& attributes,
                   const std::string& text) {
  NewElement e;
  e.key = name;
  e.open = "<" + tag + " name=\"" + EscapeAttribute(name) + "\"";
  for (const auto& [attribute, value] : attributes)
    e.open += " " + attribute + "=\"" + EscapeAttribute(value) + "\"";
  e.open += ">";
  e.text = EscapeText(text);
  e.close = "</" + tag + ">";
  return e;
}

// The element and its children; each child on a line of its own, one
// level deeper, when `indent` is known, else all on one line.
std::string Write(const NewElement& e, const std::optional<std::string>& indent,
                  const std::string& newline, const std::string& unit) {
  std::string out = e.open + e.text;
  if (!e.children.empty()) {
    std::optional<std::string> inner;
    if (indent) inner = *indent + unit;
    for (const NewElement& child : e.children) {
      if (inner) out += newline + *inner;
      out += Write(child, inner, newline, unit);
    }
    if (indent) out += newline + *indent;
  }
  return out + e.close;
}

// The index in `list` of the element whose key is `key`, appending a new
// one made by `make` when there is none.
template <typename Make>
std::size_t FindOrAppend(std::vector<NewElement>& list, const std::string& key,
                         Make make) {
  for (std::size_t i = 0; i < list.size(); ++i)
    if (list[i].key == key) return i;
  list.push_back(make());
  return list.size() - 1;
}

}  // namespace

std::string EscapeText(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '\r': out += "&#13;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string EscapeAttribute(const std::string& value) {
  std::string out;
  out.reserve(value.size());
  for (char c : value) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\t': out += "&#9;"; break;
      case '\n': out += "&#10;"; break;
      case '\r': out += "&#13;"; break;
      default: out += c;
    }
  }
  return out;
}

bool MsgFileEditor::Load(const std::string& bytes, const std::string& origin,
                         std::string* error) {
  text_.clear();
  spans_.clear();
  children_.clear();
  queued_.clear();
  std::vector<pnl_xml::ElementSpan> spans;
  if (pnl::Status scanned = pnl_xml::ScanElements(bytes, origin, &spans); !scanned.ok()) {
    *error = scanned.message();
    return false;
  }
  if (spans[0].name != "pnldata") {
    *error = origin + ": the root element is <" + spans[0].name +
             ">, not <pnldata>";
    return false;
  }
  text_ = bytes;
  spans_ = std::move(spans);
  children_.assign(spans_.size(), std::vector<long>());
  for (std::size_t i = 1; i < spans_.size(); ++i)
    children_[static_cast<std::size_t>(spans_[i].parent)].push_back(static_cast<long>(i));

  std::size_t lf = text_.find('\n');
  newline_ = (lf != std::string::npos && lf > 0 && text_[lf - 1] == '\r') ? "\r\n" : "\n";
  // One level of indentation: what a child's indentation adds to its
  // parent's, at the first place where both stand at the start of a line.
  unit_ = "  ";
  for (std::size_t i = 1; i < spans_.size(); ++i) {
    std::optional<std::string> child = IndentBefore(spans_[i].begin);
    std::optional<std::string> parent =
        IndentBefore(spans_[static_cast<std::size_t>(spans_[i].parent)].begin);
    if (child && parent && child->size() > parent->size() &&
        child->compare(0, parent->size(), *parent) == 0) {
      unit_ = child->substr(parent->size());
      break;
    }
  }
  return true;
}

const std::vector<long>& MsgFileEditor::Children(long index) const {
  return children_[static_cast<std::size_t>(index)];
}

long MsgFileEditor::LastChild(long parent, const std::string& name,
                              const std::string& name_attr) const {
  long found = -1;
  for (long child : Children(parent)) {
    const pnl_xml::ElementSpan& s = spans_[static_cast<std::size_t>(child)];
    if (s.name == name && s.name_attr == name_attr) found = child;
  }
  return found;
}

std::optional<std::string> MsgFileEditor::IndentBefore(std::size_t pos) const {
  std::size_t k = pos;
  while (k > 0 && (text_[k - 1] == ' ' || text_[k - 1] == '\t')) --k;
  bool line_start = k == 0 || text_[k - 1] == '\n' ||
                    (k == 3 && text_.compare(0, 3, "\xef\xbb\xbf") == 0);
  if (!line_start) return std::nullopt;
  return text_.substr(k, pos - k);
}

std::optional<std::string> MsgFileEditor::ChildIndent(long element) const {
  std::vector<long> children = Children(element);
  if (!children.empty())
    return IndentBefore(spans_[static_cast<std::size_t>(children.back())].begin);
  std::optional<std::string> own =
      IndentBefore(spans_[static_cast<std::size_t>(element)].begin);
  if (own) return *own + unit_;
  return std::nullopt;
}

long MsgFileEditor::FindMessage(const std::string& lang, const std::string& section,
                                const std::string& name) const {
  if (spans_.empty()) return -1;
  for (long l : Children(0)) {
    const pnl_xml::ElementSpan& ls = spans_[static_cast<std::size_t>(l)];
    if (ls.name != "lang" || ls.name_attr != lang) continue;
    for (long s : Children(l)) {
      const pnl_xml::ElementSpan& ss = spans_[static_cast<std::size_t>(s)];
      if (ss.name != "messages" || ss.name_attr != section) continue;
      for (long m : Children(s)) {
        const pnl_xml::ElementSpan& ms = spans_[static_cast<std::size_t>(m)];
        if (ms.name == "msg" && ms.name_attr == name) return m;
      }
    }
  }
  return -1;
}

bool MsgFileEditor::SetText(const std::string& lang, const std::string& section,
                            const std::string& name, const std::string& text,
                            const std::vector<std::pair<std::string, std::string>>& drop) {
  long element = FindMessage(lang, section, name);
  if (element < 0) return false;
  for (const NewText& t : texts_)
    if (t.element == element) return false;
  texts_.push_back(NewText{element, text, drop});
  return true;
}

void MsgFileEditor::TextChanges(std::vector<Change>* changes) const {
  for (const NewText& t : texts_) {
    const pnl_xml::ElementSpan& s = spans_[static_cast<std::size_t>(t.element)];
    if (s.empty_tag) {
      // "<msg name="a"/>" becomes "<msg name="a">TEXT</msg>".
      std::string tag = DropAttributes(text_.substr(s.begin, s.content_begin - s.begin), t.drop);
      while (!tag.empty() && (tag.back() == ' ' || tag.back() == '\t' ||
                              tag.back() == '\n' || tag.back() == '\r'))
        tag.pop_back();
      changes->push_back(Change{s.begin, s.end - s.begin,
                                tag + ">" + EscapeText(t.text) + "</" + s.name + ">"});
      continue;
    }
    changes->push_back(Change{s.content_begin, s.content_end - s.content_begin,
                              EscapeText(t.text)});
    std::string tag = text_.substr(s.begin, s.content_begin - s.begin);
    std::string kept = DropAttributes(tag, t.drop);
    if (kept != tag) changes->push_back(Change{s.begin, tag.size(), kept});
  }
}

bool MsgFileEditor::Add(const std::string& lang, const std::string& section,
                        const NewMessage& message) {
  if (spans_.empty() || FindMessage(lang, section, message.name) >= 0) return false;
  for (const Queued& q : queued_)
    if (q.lang == lang && q.section == section && q.message.name == message.name)
      return false;
  queued_.push_back(Queued{lang, section, message});
  return true;
}

std::string MsgFileEditor::Result() const {
  if (!Changed()) return text_;

  // The new children of each existing element, in the order queued.
  std::vector<std::pair<long, std::vector<NewElement>>> pending;
  auto children_of = [&pending](long element) -> std::vector<NewElement>& {
    for (auto& p : pending)
      if (p.first == element) return p.second;
    pending.emplace_back(element, std::vector<NewElement>());
    return pending.back().second;
  };
  for (const Queued& q : queued_) {
    NewElement msg = Element("msg", q.message.name, q.message.attributes,
                             q.message.text);
    long lang = LastChild(0, "lang", q.lang);
    long section = lang >= 0 ? LastChild(lang, "messages", q.section) : -1;
    if (section >= 0) {
      children_of(section).push_back(msg);
    } else if (lang >= 0) {
      std::vector<NewElement>& sections = children_of(lang);
      std::size_t s = FindOrAppend(sections, q.section, [&] {
        return Element("messages", q.section, {}, "");
      });
      sections[s].children.push_back(msg);
    } else {
      std::vector<NewElement>& langs = children_of(0);
      std::size_t l = FindOrAppend(langs, q.lang, [&] {
        return Element("lang", q.lang, {}, "");
      });
      std::size_t s = FindOrAppend(langs[l].children, q.section, [&] {
        return Element("messages", q.section, {}, "");
      });
      langs[l].children[s].children.push_back(msg);
    }
  }

  std::vector<Change> edits;
  TextChanges(&edits);
  for (const auto& [element, children] : pending) {
    const pnl_xml::ElementSpan& s = spans_[static_cast<std::size_t>(element)];
    std::optional<std::string> indent = ChildIndent(element);
    std::string own_indent = IndentBefore(s.begin).value_or("");
    std::string items;
    for (const NewElement& child : children) {
      if (indent) items += newline_ + *indent;
      items += Write(child, indent, newline_, unit_);
    }
    if (s.empty_tag) {
      // "<messages name="S"/>" becomes "<messages name="S">...</messages>".
      edits.push_back(Change{s.content_begin, 2,
                           ">" + items + (indent ? newline_ + own_indent : "") +
                               "</" + s.name + ">"});
    } else if (!indent) {
      edits.push_back(Change{s.content_end, 0, items});
    } else if (std::optional<std::string> close = IndentBefore(s.content_end)) {
      // The end tag has a line of its own: the new lines go before the
      // line break that precedes it.
      std::size_t pos = s.content_end - close->size() - 1;
      if (pos > s.content_begin && text_[pos - 1] == '\r') --pos;
      edits.push_back(Change{pos, 0, items});
    } else {
      edits.push_back(Change{s.content_end, 0, items + newline_ + own_indent});
    }
  }

  std::sort(edits.begin(), edits.end(),
            [](const Change& a, const Change& b) { return a.pos > b.pos; });
  std::string out = text_;
  for (const Change& e : edits) out.replace(e.pos, e.remove, e.insert);
  return out;
}

std::string DropAttributes(
    const std::string& tag,
    const std::vector<std::pair<std::string, std::string>>& drop) {
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  std::string out;
  std::size_t i = 0;
  while (i < tag.size() && !blank(tag[i]) && tag[i] != '>' && tag[i] != '/') ++i;
  out = tag.substr(0, i);  // "<" and the element's name
  while (i < tag.size()) {
    std::size_t start = i;
    while (i < tag.size() && blank(tag[i])) ++i;
    std::size_t name_begin = i;
    while (i < tag.size() && !blank(tag[i]) && tag[i] != '=' && tag[i] != '>' && tag[i] != '/') ++i;
    if (i == name_begin) {  // the end of the tag: ">", "/" or blanks
      out += tag.substr(start);
      break;
    }
    std::string name = tag.substr(name_begin, i - name_begin);
    while (i < tag.size() && tag[i] != '"' && tag[i] != '\'') ++i;
    if (i >= tag.size()) {
      out += tag.substr(start);
      break;
    }
    char quote = tag[i];
    std::size_t value_begin = i + 1;
    std::size_t value_end = tag.find(quote, value_begin);
    if (value_end == std::string::npos) value_end = tag.size();
    std::string value = tag.substr(value_begin, value_end - value_begin);
    i = std::min(value_end + 1, tag.size());
    bool dropped = false;
    for (const auto& [n, v] : drop) dropped = dropped || (n == name && v == value);
    if (!dropped) out += tag.substr(start, i - start);
  }
  return out;
}

}  // namespace fix
