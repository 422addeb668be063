#include "fix/po_catalog.h"

#include <algorithm>
#include <map>

#include "findings/paths.h"

namespace fix {

namespace {

// What a message of each kind of finding is for; %E stands for the
// element, %O for the form or list.
struct Purpose {
  const char* kind;  // the kind without "missing-" or "empty-"
  const char* text;
};

constexpr Purpose kPurposes[] = {
    {"hint", "hint of field \"%E\" in form \"%O\""},
    {"label", "label of field \"%E\" in form \"%O\""},
    {"checkbox-description", "description of check box \"%E\" in form \"%O\""},
    {"title", "title of form \"%O\""},
    {"column-description", "description of column \"%E\" in list \"%O\""},
    {"column-hint", "hint of column \"%E\" in list \"%O\""},
    {"button-short-name", "short name of button \"%E\" in list \"%O\""},
    {"button-hint", "hint of button \"%E\" in list \"%O\""},
    {"menu-item-description", "menu item \"%E\""},
};

std::string Replace(std::string text, const std::string& what, const std::string& by) {
  std::size_t at = text.find(what);
  if (at != std::string::npos) text.replace(at, what.size(), by);
  return text;
}

// The records of the messages in their order, with an index by section
// and name.
class Needed {
 public:
  // The record of `name` in section `section`, added at the end when new.
  NeededMessage& Slot(const std::string& section, const std::string& name) {
    auto [at, added] = index_.emplace(std::make_pair(section, name), list_.size());
    if (added) list_.push_back(NeededMessage{section, name, {}, {}, false});
    return list_[at->second];
  }
  std::vector<NeededMessage>& list() { return list_; }

 private:
  std::vector<NeededMessage> list_;
  std::map<std::pair<std::string, std::string>, std::size_t> index_;
};

template <typename T>
void AddOnce(std::vector<T>& list, const T& item) {
  if (std::find(list.begin(), list.end(), item) == list.end()) list.push_back(item);
}

}  // namespace

std::string PurposeOf(const findings::Entry& f) {
  std::string kind;
  if (f.kind.rfind("missing-", 0) == 0) kind = f.kind.substr(8);
  else if (f.kind.rfind("empty-", 0) == 0) kind = f.kind.substr(6);
  else return "";
  for (const Purpose& p : kPurposes)
    if (kind == p.kind) return Replace(Replace(p.text, "%E", f.element), "%O", f.object);
  return "";
}

bool IsMissingOrEmpty(const findings::Entry& f) {
  return f.has_message && !f.message.empty() && !f.section.empty() &&
         !PurposeOf(f).empty();
}

std::vector<NeededMessage> NeededMessages(const findings::Document& doc,
                                          const std::string& manager,
                                          const std::string& lang,
                                          const MessageTexts& texts,
                                          std::size_t* doubtful) {
  *doubtful = 0;
  const std::string file = findings::MessageFile(manager, lang);
  Needed needed;
  // The findings of every language by message, for what the messages
  // marked todo are for.
  std::map<std::pair<std::string, std::string>, std::vector<const findings::Entry*>> by_message;
  for (const findings::Entry& f : doc.findings) {
    if (f.manager != manager || !IsMissingOrEmpty(f)) continue;
    by_message[std::make_pair(f.section, f.message)].push_back(&f);
    if (f.language != lang) continue;
    if (f.input_problem || f.message_file != file) {
      ++*doubtful;
      continue;
    }
    NeededMessage& m = needed.Slot(f.section, f.message);
    AddOnce(m.purposes, PurposeOf(f));
    if (!f.file.empty() && f.line > 0)
      AddOnce(m.places, std::make_pair(f.file, static_cast<std::size_t>(f.line)));
  }
  for (const FoundMessage& t : texts.ToTranslate()) {
    NeededMessage& m = needed.Slot(t.section, t.name);
    if (!m.purposes.empty()) continue;
    // What the other languages' findings say the message is for.
    for (const findings::Entry* f : by_message[std::make_pair(t.section, t.name)]) {
      AddOnce(m.purposes, PurposeOf(*f));
      if (!f->file.empty() && f->line > 0)
        AddOnce(m.places, std::make_pair(f->file, static_cast<std::size_t>(f->line)));
    }
    if (m.purposes.empty())
      m.purposes.push_back("message \"" + t.name + "\" of section \"" + t.section + "\"");
    AddOnce(m.places, std::make_pair(t.file, static_cast<std::size_t>(t.line)));
  }
  for (NeededMessage& m : needed.list()) m.in_file = texts.Find(m.section, m.name).has_value();
  return needed.list();
}

}  // namespace fix
