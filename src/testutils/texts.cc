#include "testutils/texts.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/xml.h"

namespace texts {

namespace {

constexpr char kAudit[] = "texts";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// XML's blanks: what a text may begin or end with around its words.
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Reads the digits at `at`, moving past them; -1 when there are none.
long Digits(std::string_view text, size_t& at) {
  if (at >= text.size() || !IsDigit(text[at])) return -1;
  long value = 0;
  while (at < text.size() && IsDigit(text[at])) {
    if (value < 1000000) value = value * 10 + (text[at] - '0');
    ++at;
  }
  return value;
}

// A width or precision given as an argument: "*" or "*N$".
bool Star(std::string_view text, size_t& at) {
  if (at >= text.size() || text[at] != '*') return false;
  ++at;
  size_t after = at;
  if (Digits(text, after) >= 0 && after < text.size() && text[after] == '$') at = after + 1;
  return true;
}

// The conversion that starts with the "%" at `percent`; its length in
// `length`, or false when the "%" starts none.
bool ConversionAt(std::string_view text, size_t percent, Conversion* conversion, size_t* length) {
  size_t at = percent + 1;
  size_t after = at;
  const long number = Digits(text, after);
  if (number > 0 && after < text.size() && text[after] == '$') {
    conversion->number = static_cast<int>(number);
    at = after + 1;
  } else {
    conversion->number = 0;
  }
  while (at < text.size() && std::strchr("-+ #0'I", text[at]) != nullptr && text[at] != '\0') ++at;
  if (!Star(text, at)) Digits(text, at);
  if (at < text.size() && text[at] == '.') {
    ++at;
    if (!Star(text, at)) Digits(text, at);
  }
  for (const char* modifier : {"hh", "ll", "h", "l", "L", "q", "j", "z", "Z", "t"}) {
    if (text.substr(at).starts_with(modifier)) {
      at += std::strlen(modifier);
      break;
    }
  }
  if (at >= text.size() || text[at] == '\0' ||
      std::strchr("diouxXeEfFgGaAcsp", text[at]) == nullptr)
    return false;
  conversion->letter = text[at];
  conversion->written = std::string(text.substr(percent, at + 1 - percent));
  *length = at + 1 - percent;
  return true;
}

// The code point that starts at `at` of UTF-8 text, moving past it; -1
// (and one byte on) for a byte that starts no well-formed sequence.
long DecodeUtf8(std::string_view text, size_t& at) {
  const unsigned char first = static_cast<unsigned char>(text[at++]);
  if (first < 0x80) return first;
  int more = first >= 0xF0 && first < 0xF5 ? 3 : first >= 0xE0 ? 2 : first >= 0xC2 ? 1 : -1;
  if (more < 0 || first >= 0xF5) return -1;
  long code = first & (0x3F >> more);
  size_t next = at;
  for (int i = 0; i < more; ++i, ++next) {
    if (next >= text.size()) return -1;
    const unsigned char byte = static_cast<unsigned char>(text[next]);
    if ((byte & 0xC0) != 0x80) return -1;
    code = (code << 6) | (byte & 0x3F);
  }
  static constexpr long kLeast[] = {0, 0x80, 0x800, 0x10000};
  if (code < kLeast[more] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return -1;
  at = next;
  return code;
}

// glibc's C.UTF-8, which classifies every Unicode code point the same way
// under any locale of the process; null when the C library lacks it.
locale_t Utf8Locale() {
  static locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  return locale;
}

bool IsLetter(long code) {
  if (code < 0x80) return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z');
  locale_t locale = Utf8Locale();
  if (locale == static_cast<locale_t>(0)) return false;
  return iswalpha_l(static_cast<wint_t>(code), locale) != 0;
}

// The conversions as the text writes them, "%s, %d", or "none".
std::string Written(const std::vector<Conversion>& conversions) {
  if (conversions.empty()) return "none";
  std::string words;
  for (const Conversion& c : conversions) {
    if (!words.empty()) words += ", ";
    words += c.written;
  }
  return words;
}

std::set<std::pair<int, char>> Numbered(const std::vector<Conversion>& conversions) {
  std::set<std::pair<int, char>> pairs;
  for (const Conversion& c : conversions) pairs.emplace(c.number, c.letter);
  return pairs;
}

long LineBreaks(std::string_view text) { return std::count(text.begin(), text.end(), '\n'); }

std::string BreaksInWords(long count) {
  return count == 1 ? "1 line break" : std::to_string(count) + " line breaks";
}

// The closing mark of a text: ":", ".", "?", "!" or "…" ("..." counts as
// "…") as its last non-blank character, or "" for none of them.
std::string ClosingMark(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  if (text.ends_with("...") || text.ends_with("\u2026")) return "\u2026";
  if (!text.empty() && std::strchr(":.?!", text.back()) != nullptr && text.back() != '\0')
    return std::string(1, text.back());
  return "";
}

std::string MarkInWords(const std::string& mark) {
  return mark.empty() ? "no closing mark" : "\"" + mark + "\"";
}

// Whether the text begins (`leading`) or ends with a blank.
bool BlankAt(std::string_view text, bool leading) {
  return !text.empty() && IsBlank(leading ? text.front() : text.back());
}

}  // namespace

std::vector<Conversion> ConversionsOf(std::string_view text) {
  std::vector<Conversion> conversions;
  for (size_t at = 0; at < text.size();) {
    if (text[at] != '%') {
      ++at;
      continue;
    }
    if (at + 1 < text.size() && text[at + 1] == '%') {
      at += 2;
      continue;
    }
    Conversion conversion;
    size_t length = 0;
    if (!ConversionAt(text, at, &conversion, &length)) {
      ++at;
      continue;
    }
    if (conversion.number == 0) conversion.number = static_cast<int>(conversions.size()) + 1;
    conversions.push_back(conversion);
    at += length;
  }
  return conversions;
}

int LetterCount(std::string_view text) {
  // The letters of the conversions ("%s") are not the text's.
  std::string words;
  size_t from = 0;
  for (size_t at = 0; at < text.size();) {
    if (text[at] == '%' && at + 1 < text.size() && text[at + 1] == '%') {
      at += 2;
      continue;
    }
    Conversion conversion;
    size_t length = 0;
    if (text[at] == '%' && ConversionAt(text, at, &conversion, &length)) {
      words.append(text.substr(from, at - from));
      at += length;
      from = at;
      continue;
    }
    ++at;
  }
  words.append(text.substr(from));
  int letters = 0;
  for (size_t at = 0; at < words.size();)
    if (IsLetter(DecodeUtf8(words, at))) ++letters;
  return letters;
}

std::vector<Difference> Compare(std::string_view reference, std::string_view text,
                                const std::string& reference_lang, const std::string& lang) {
  std::vector<Difference> differences;
  // Most texts hold no "%" at all, and then no conversion.
  const bool percent = reference.find('%') != std::string_view::npos ||
                       text.find('%') != std::string_view::npos;
  const std::vector<Conversion> ref_conversions = percent ? ConversionsOf(reference) : std::vector<Conversion>();
  const std::vector<Conversion> conversions = percent ? ConversionsOf(text) : std::vector<Conversion>();
  if (percent && Numbered(ref_conversions) != Numbered(conversions))
    differences.push_back({"placeholder-mismatch", reference_lang + " has " +
                                                       Written(ref_conversions) + "; " + lang +
                                                       " has " + Written(conversions)});

  const long ref_breaks = LineBreaks(reference);
  const long breaks = LineBreaks(text);
  if (ref_breaks != breaks)
    differences.push_back({"newline-mismatch", reference_lang + " has " + BreaksInWords(ref_breaks) +
                                                   "; " + lang + " has " + BreaksInWords(breaks)});

  std::string blanks;
  for (bool leading : {true, false}) {
    const bool in_reference = BlankAt(reference, leading);
    if (in_reference == BlankAt(text, leading)) continue;
    if (!blanks.empty()) blanks += "; ";
    blanks += (in_reference ? reference_lang : lang) + (leading ? " begins" : " ends") +
              " with whitespace, " + (in_reference ? lang : reference_lang) + " does not";
  }
  if (!blanks.empty()) differences.push_back({"whitespace-mismatch", blanks});

  const std::string ref_mark = ClosingMark(reference);
  const std::string mark = ClosingMark(text);
  if (ref_mark != mark)
    differences.push_back({"punctuation-mismatch", reference_lang + " ends with " +
                                                       MarkInWords(ref_mark) + "; " + lang +
                                                       " ends with " + MarkInWords(mark)});

  if (text == reference && LetterCount(text) >= 2)
    differences.push_back({"untranslated", lang + " has the " + reference_lang + " text"});
  return differences;
}

std::string ReferenceLanguage(const std::vector<std::string>& langs) {
  if (langs.empty()) return "";
  if (std::find(langs.begin(), langs.end(), "en") != langs.end()) return "en";
  return langs.front();
}

namespace {

// Appends code point `code` to `out` in UTF-8.
void AppendUtf8(unsigned long code, std::string* out) {
  if (code < 0x80) {
    *out += static_cast<char>(code);
  } else if (code < 0x800) {
    *out += static_cast<char>(0xC0 | (code >> 6));
    *out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    *out += static_cast<char>(0xE0 | (code >> 12));
    *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    *out += static_cast<char>(0xF0 | (code >> 18));
    *out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// Appends raw character data with its line ends made "\n", as the parser
// reads them.
void AppendCharacters(std::string_view raw, std::string* out) {
  for (size_t cr = raw.find('\r'); cr != std::string_view::npos; cr = raw.find('\r')) {
    out->append(raw.substr(0, cr));
    *out += '\n';
    raw.remove_prefix(cr + 1 < raw.size() && raw[cr + 1] == '\n' ? cr + 2 : cr + 1);
  }
  out->append(raw);
}

// The text that the parsed document gives for the content of an element
// of a well-formed file (its text and CDATA, those of its children
// included): references to characters and to the predefined entities
// replaced, those to other entities read as nothing, comments, processing
// instructions and tags left out.
std::string ContentText(std::string_view raw) {
  std::string text;
  text.reserve(raw.size());
  size_t at = 0;
  while (at < raw.size()) {
    size_t mark = at;
    while (mark < raw.size() && raw[mark] != '<' && raw[mark] != '&') ++mark;
    if (mark == raw.size()) mark = std::string_view::npos;
    AppendCharacters(raw.substr(at, mark == std::string_view::npos ? raw.size() - at : mark - at), &text);
    if (mark == std::string_view::npos) break;
    const std::string_view rest = raw.substr(mark);
    if (rest.starts_with("&")) {
      const size_t semicolon = rest.find(';');
      const std::string_view name = rest.substr(1, semicolon - 1);
      if (name == "amp") text += '&';
      else if (name == "lt") text += '<';
      else if (name == "gt") text += '>';
      else if (name == "quot") text += '"';
      else if (name == "apos") text += '\'';
      else if (name.starts_with("#x")) AppendUtf8(std::stoul(std::string(name.substr(2)), nullptr, 16), &text);
      else if (name.starts_with("#")) AppendUtf8(std::stoul(std::string(name.substr(1)), nullptr, 10), &text);
      at = mark + semicolon + 1;
    } else if (rest.starts_with("<![CDATA[")) {
      const size_t close = rest.find("]]>");
      AppendCharacters(rest.substr(9, close - 9), &text);
      at = mark + close + 3;
    } else if (rest.starts_with("<!--")) {
      at = mark + rest.find("-->") + 3;
    } else if (rest.starts_with("<?")) {
      at = mark + rest.find("?>") + 2;
    } else {
      // A tag: ">" may stand inside its quoted attribute values.
      char quote = 0;
      size_t end = 1;
      for (; end < rest.size(); ++end) {
        if (quote != 0) {
          if (rest[end] == quote) quote = 0;
        } else if (rest[end] == '"' || rest[end] == '\'') {
          quote = rest[end];
        } else if (rest[end] == '>') {
          break;
        }
      }
      at = mark + end + 1;
    }
  }
  return text;
}

// The value of attribute `name` in the start tag `tag`, "" when it has
// none; false when the value holds a reference, which only the parser
// reads right.
bool Attribute(std::string_view tag, std::string_view name, std::string* value) {
  value->clear();
  size_t at = tag.find_first_of(" \t\r\n");
  while (at != std::string_view::npos && at < tag.size()) {
    at = tag.find_first_not_of(" \t\r\n", at);
    if (at == std::string_view::npos) break;
    const size_t equals = tag.find('=', at);
    if (equals == std::string_view::npos) break;
    std::string_view attribute = tag.substr(at, equals - at);
    while (!attribute.empty() && IsBlank(attribute.back())) attribute.remove_suffix(1);
    const size_t open = tag.find_first_of("\"'", equals);
    if (open == std::string_view::npos) break;
    const size_t close = tag.find(tag[open], open + 1);
    if (close == std::string_view::npos) break;
    if (attribute == name) {
      const std::string_view raw = tag.substr(open + 1, close - open - 1);
      if (raw.find('&') != std::string_view::npos) return false;
      *value = std::string(raw);
      return true;
    }
    at = close + 1;
  }
  return true;
}

// One message as the audit sees it: its text and line, or passed over.
struct Message {
  std::string name;
  std::string text;
  long line = 0;
  bool passed_over = false;  // added by the fixer, or without a text
};

struct Section {
  std::string name;
  std::vector<Message> messages;
};

// Keeps the last item of each name, in the order of the kept ones.
template <typename Item>
void KeepLastOfEachName(std::vector<Item>* items) {
  std::unordered_set<std::string_view> seen;
  std::vector<bool> last(items->size(), false);
  for (size_t i = items->size(); i-- > 0;) last[i] = seen.insert((*items)[i].name).second;
  if (seen.size() == items->size()) return;
  size_t kept = 0;
  for (size_t i = 0; i < items->size(); ++i) {
    if (!last[i]) continue;
    if (kept != i) (*items)[kept] = std::move((*items)[i]);
    ++kept;
  }
  items->resize(kept);
}

// The messages of `lang` as the parsed document gives them: lang elements
// named `lang` under the root, their messages sections and the msg
// children of those, each section and message in file order.
void ParseSections(const std::string& bytes, const std::string& rel, const std::string& lang,
                   std::vector<Section>* sections) {
  pnl_xml::Xml doc;
  if (!doc.LoadQuietly(bytes, rel)) return;
  for (pnl_xml::XmlNode node = doc.GetRoot().FirstChild(); node; node = node.Next()) {
    if (node.Name() != "lang" || node.GetProp("name") != lang) continue;
    for (pnl_xml::XmlNode section = node.FirstChild(); section; section = section.Next()) {
      if (section.Name() != "messages") continue;
      Section& kept = sections->emplace_back();
      kept.name = section.GetProp("name");
      for (pnl_xml::XmlNode msg = section.FirstChild(); msg; msg = msg.Next()) {
        if (msg.Name() != "msg") continue;
        Message& message = kept.messages.emplace_back();
        message.name = msg.GetProp("name");
        message.text = msg.Str();
        message.line = msg.Line();
        message.passed_over = message.text.empty() || msg.GetProp("added") == "msglint-fix";
      }
    }
  }
}

// The same from the element scanner, which costs about half a parse: the
// text of a message is read from its bytes as the parser would give it.
// False for a file that the scanner cannot take, or whose start tags or
// texts hold what only the parser reads right (namespaces, a DTD, an
// "added" attribute written with a reference).
bool ScanSections(const std::string& bytes, const std::string& rel, const std::string& lang,
                  std::vector<Section>* sections) {
  std::vector<pnl_xml::ElementSpan> spans;
  if (!pnl_xml::ScanPlainElements(bytes, rel, &spans)) return false;
  const std::string_view text = bytes;
  // Whether each span is a lang element of `lang`, and which section a
  // messages element became.
  std::vector<bool> is_lang(spans.size(), false);
  std::vector<long> section_of(spans.size(), -1);
  for (size_t i = 1; i < spans.size(); ++i) {
    const pnl_xml::ElementSpan& span = spans[i];
    if (span.parent == 0) {
      is_lang[i] = span.name == "lang" && span.name_attr == lang;
    } else if (span.parent > 0 && is_lang[span.parent]) {
      if (span.name != "messages") continue;
      section_of[i] = static_cast<long>(sections->size());
      sections->push_back({span.name_attr, {}});
    } else if (span.parent > 0 && section_of[span.parent] >= 0 && span.name == "msg") {
      std::string added;
      if (!Attribute(text.substr(span.begin, span.content_begin - span.begin), "added", &added))
        return false;
      Message message;
      message.name = span.name_attr;
      message.text = ContentText(text.substr(span.content_begin, span.content_end - span.content_begin));
      message.line = span.line;
      message.passed_over = message.text.empty() || added == "msglint-fix";
      (*sections)[section_of[span.parent]].messages.push_back(std::move(message));
    }
  }
  return true;
}

// The sections of language `lang` in its message file, in file order:
// the last section of each name, and in it the last message of each name.
// Only the messages written in a section count, not those it includes.
std::vector<Section> ReadSections(const std::string& work_dir, const std::string& manager,
                                  const std::string& lang) {
  std::vector<Section> sections;
  const std::string rel = findings::MessageFile(manager, lang);
  std::string bytes;
  if (!pnl_file::ReadFile(work_dir + "/" + rel, bytes).ok()) return sections;
  if (!ScanSections(bytes, rel, lang, &sections)) {
    sections.clear();
    ParseSections(bytes, rel, lang, &sections);
  }
  KeepLastOfEachName(&sections);
  for (Section& section : sections) KeepLastOfEachName(&section.messages);
  return sections;
}

// The reference language's texts, by section and message name.
class ReferenceTexts {
 public:
  explicit ReferenceTexts(std::vector<Section> sections) : sections_(std::move(sections)) {
    for (const Section& section : sections_) {
      auto& messages = index_[section.name];
      for (const Message& message : section.messages)
        if (!message.passed_over) messages.emplace(message.name, &message);
    }
  }

  // The text of message `name` of section `section`; null when it has none.
  const std::string* Find(const std::string& section, const std::string& name) const {
    auto kept = index_.find(section);
    if (kept == index_.end()) return nullptr;
    auto message = kept->second.find(name);
    return message == kept->second.end() ? nullptr : &message->second->text;
  }

 private:
  std::vector<Section> sections_;
  std::unordered_map<std::string, std::unordered_map<std::string, const Message*>> index_;
};

}  // namespace

void CheckTexts(FindingsRecorder& recorder, const std::string& work_dir,
                const std::string& manager, const std::vector<std::string>& langs) {
  const std::string reference_lang = ReferenceLanguage(langs);
  if (langs.size() < 2) return;
  const ReferenceTexts reference(ReadSections(work_dir, manager, reference_lang));
  std::set<std::string> done = {reference_lang};
  for (const std::string& lang : langs) {
    if (!done.insert(lang).second) continue;
    for (const Section& section : ReadSections(work_dir, manager, lang)) {
      for (const Message& message : section.messages) {
        if (message.passed_over) continue;
        const std::string* original = reference.Find(section.name, message.name);
        if (original == nullptr) continue;
        for (const Difference& difference : Compare(*original, message.text, reference_lang, lang)) {
          Finding finding;
          finding.kind = difference.kind;
          finding.audit = kAudit;
          finding.object = section.name;
          finding.language = lang;
          finding.message_name = message.name;
          finding.section = section.name;
          finding.file = findings::MessageFile(manager, lang);
          finding.line = message.line;
          finding.reference_language = reference_lang;
          finding.reference_text = *original;
          finding.text = message.text;
          finding.difference = difference.words;
          recorder.Add(finding);
        }
      }
    }
  }
}

}  // namespace texts
