#include "findings/source_lines.h"

#include <unordered_map>
#include <vector>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/xml.h"

namespace findings {

// The lines of a message file's sections and messages, the first of each
// name at every level; the parsed document, many times the file's bytes,
// goes once they are taken.
struct SourceLines::File {
  struct Section {
    long line = 0;
    std::unordered_map<std::string, long> messages;
  };
  using Sections = std::unordered_map<std::string, Section>;
  std::unordered_map<std::string, Sections> languages;

  // From the element scanner, which builds no document; false for a file
  // that only the parser reads right.
  bool ScanLines(const std::string& text, const std::string& path) {
    std::vector<pnl_xml::ElementSpan> spans;
    if (!pnl_xml::ScanPlainElements(text, path, &spans)) return false;
    // The sections of each span that is a lang or messages element kept.
    std::vector<Sections*> lang_of(spans.size(), nullptr);
    std::vector<Section*> section_of(spans.size(), nullptr);
    for (size_t i = 1; i < spans.size(); ++i) {
      const pnl_xml::ElementSpan& span = spans[i];
      if (span.parent == 0) {
        if (span.name != "lang") continue;
        auto [sections, new_lang] = languages.try_emplace(span.name_attr);
        if (new_lang) lang_of[i] = &sections->second;
      } else if (span.parent > 0 && lang_of[span.parent] != nullptr) {
        if (span.name != "messages") continue;
        auto [kept, new_section] = lang_of[span.parent]->try_emplace(span.name_attr);
        if (!new_section) continue;
        kept->second.line = span.line;
        section_of[i] = &kept->second;
      } else if (span.parent > 0 && section_of[span.parent] != nullptr && span.name == "msg") {
        section_of[span.parent]->messages.emplace(span.name_attr, span.line);
      }
    }
    return true;
  }

  void TakeLines(const pnl_xml::Xml& doc) {
    for (pnl_xml::XmlNode lang = doc.GetRoot().FirstChild(); lang; lang = lang.Next()) {
      if (lang.Name() != "lang") continue;
      auto [sections, new_lang] = languages.try_emplace(lang.GetProp("name"));
      if (!new_lang) continue;
      for (pnl_xml::XmlNode section = lang.FirstChild(); section; section = section.Next()) {
        if (section.Name() != "messages") continue;
        auto [kept, new_section] = sections->second.try_emplace(section.GetProp("name"));
        if (!new_section) continue;
        kept->second.line = section.Line();
        for (pnl_xml::XmlNode msg = section.FirstChild(); msg; msg = msg.Next())
          if (msg.Name() == "msg") kept->second.messages.emplace(msg.GetProp("name"), msg.Line());
      }
    }
  }
};

SourceLines::File& SourceLines::Load(const std::string& rel) {
  std::shared_ptr<File>& file = files_[rel];
  if (file) return *file;
  const std::string path = work_dir_ + "/" + rel;
  const std::string stamp = pnl_file::Stamp(path);
  if (!stamp.empty() && last_.file && last_.path == path && last_.stamp == stamp) {
    file = last_.file;
    return *file;
  }
  file = std::make_shared<File>();
  std::string text;
  if (pnl_file::ReadFile(path, text).ok() && !file->ScanLines(text, path)) {
    pnl_xml::Xml doc;
    doc.LoadQuietly(text, path);
    file->TakeLines(doc);
  }
  last_.path = path;
  last_.stamp = stamp;
  last_.file = file;
  return *file;
}

long SourceLines::Message(const std::string& manager, const std::string& lang,
                          const std::string& section, const std::string& name) {
  File& file = Load(findings::MessageFile(manager, lang));
  auto sections = file.languages.find(lang);
  if (sections == file.languages.end()) return 0;
  auto kept = sections->second.find(section);
  if (kept == sections->second.end()) return 0;
  if (name.empty()) return kept->second.line;
  auto message = kept->second.messages.find(name);
  return message != kept->second.messages.end() ? message->second : 0;
}

}  // namespace findings
