#include "fix/message_texts.h"

#include "findings/paths.h"
#include "pnl/file.h"

namespace fix {

namespace {

// The attribute, and its value, that marks a text for the translator.
const char kTodoAttribute[] = "todo";
const char kTodoValue[] = "translate";

}  // namespace

template <typename Visit>
void MessageTexts::Each(Visit visit) const {
  for (std::size_t d = 0; d < docs_.size(); ++d) {
    pnl_xml::XmlNode root = docs_[d].GetRoot();
    if (!root || root.Name() != "pnldata") continue;
    for (pnl_xml::XmlNode l = root.FirstChild(); l; l = l.Next()) {
      if (l.Name() != "lang" || l.GetProp("name") != lang_) continue;
      for (pnl_xml::XmlNode s = l.FirstChild(); s; s = s.Next()) {
        if (s.Name() != "messages") continue;
        for (pnl_xml::XmlNode m = s.FirstChild(); m; m = m.Next()) {
          if (m.Name() != "msg") continue;
          FoundMessage found{s.GetProp("name"), m.GetProp("name"), m.Str(),
                             files_[d], m.Line(),
                             m.GetProp(kTodoAttribute) == kTodoValue};
          if (visit(found)) return;
        }
      }
    }
  }
}

MessageTexts::MessageTexts(const std::string& manager, const std::string& lang,
                           bool with_base)
    : lang_(lang) {
  std::vector<std::string> sources;
  if (with_base) sources.push_back("kern");
  if (!with_base || manager != "kern") sources.push_back(manager);
  for (const std::string& m : sources) {
    std::string path = findings::MessageFile(m, lang);
    std::string bytes;
    if (!pnl_file::Exists(path) || !pnl_file::ReadFile(path, bytes).ok()) continue;
    docs_.emplace_back();
    if (!docs_.back().LoadQuietly(bytes, path)) {
      docs_.pop_back();
      continue;
    }
    files_.push_back(path);
  }
  Each([this](const FoundMessage& m) {
    first_.emplace(std::make_pair(m.section, m.name), m);
    return false;
  });
}

std::optional<FoundMessage> MessageTexts::Find(const std::string& section,
                                               const std::string& name) const {
  auto found = first_.find(std::make_pair(section, name));
  if (found == first_.end()) return std::nullopt;
  return found->second;
}

std::vector<FoundMessage> MessageTexts::ToTranslate() const {
  std::vector<FoundMessage> result;
  Each([&](const FoundMessage& m) {
    if (m.to_translate) result.push_back(m);
    return false;
  });
  return result;
}

}  // namespace fix
