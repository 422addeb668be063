#include "panel/cache.h"

#include <map>
#include <set>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/str.h"

namespace panel {

namespace {

const pnl_log::Module kLog("cache", "panel");
const char kBase[] = "kern";

using Section = ManagerCache::Section;
using SectionsByName = ManagerCache::SectionsByName;

const std::vector<Section>& SectionsNamed(const SectionsByName& groups, const std::string& name) {
  static const std::vector<Section> kNone;
  auto it = groups.find(name);
  return it != groups.end() ? it->second : kNone;
}

// The text of a cache file <messages name="name"> holding `children`, as
// the document made of copies of them writes itself.
std::string MessagesFile(const std::string& name, const std::vector<const std::string*>& children) {
  pnl_xml::Xml doc("messages");
  pnl_xml::XmlNode root = doc.GetRoot();
  root.SetProp("name", name);
  if (children.empty()) return doc.ToString(true);
  // The start and end tags as the document writes them, around a mark.
  root.AppendChild("x");
  const std::string whole = doc.ToString(true);
  const std::size_t mark = whole.rfind("<x/>");
  std::string text = whole.substr(0, mark);
  for (const std::string* child : children) text += *child;
  text += whole.substr(mark + 4);
  return text;
}

// The element children of every section called `name`, in order.
std::vector<const std::string*> CollectSections(const std::string& name,
                                                const SectionsByName& groups) {
  std::vector<const std::string*> children;
  for (const Section& section : SectionsNamed(groups, name))
    for (const Section::Child& child : section.children) children.push_back(&child.text);
  return children;
}

// Appends to `out` the messages that resolve for section `name`: the msg
// children of its sections, then, depth first, those of the sections its
// include children name. `resolved` holds the names already taken.
void Resolve(const std::string& name, const SectionsByName& groups,
             std::set<std::string>& resolved, std::vector<const std::string*>& out) {
  const std::vector<Section>& sections = SectionsNamed(groups, name);
  for (const Section& section : sections)
    for (const Section::Child& child : section.children)
      if (child.name == "msg") out.push_back(&child.text);
  for (const Section& section : sections) {
    for (const Section::Child& child : section.children) {
      if (child.name != "include") continue;
      const std::string& included = child.include;
      if (included.empty() || !resolved.insert(included).second) continue;
      Resolve(included, groups, resolved, out);
    }
  }
}

// Why a file operation on `path` failed. Its message often starts with the
// path itself ("PATH: Permission denied", "PATH is a directory"); the reply
// names it once.
std::string Reason(const std::string& path, const pnl::Status& failed) {
  const std::string& last = failed.message();
  if (last.compare(0, path.size() + 2, path + ": ") == 0) return last.substr(path.size() + 2);
  if (last.compare(0, path.size() + 4, path + " is ") == 0) return "it" + last.substr(path.size());
  return last;
}

bool SaveTo(const std::string& text, const std::string& path, std::string* error) {
  const pnl::Status written = pnl_file::WriteFile(path, text);
  if (written.ok()) return true;
  *error = "cannot write " + path + ": " + Reason(path, written);
  kLog.Write(3, "%s", error->c_str());
  return false;
}

}  // namespace

ManagerCache::ManagerCache(const std::string& manager) : manager_(manager) {}

// Loads an XML file of the installation; a missing one loads empty. The
// stamp is taken before the file is read, so a change while it is read
// shows at the next check.
pnl_xml::Xml ManagerCache::Load(const std::string& path) const {
  stamps_[path] = pnl_file::Stamp(path);
  pnl_xml::Xml doc;
  if (!pnl_file::Exists(path)) {
    kLog.Write(5, "no file %s", path.c_str());
    return doc;
  }
  if (!doc.LoadFromFile(path)) kLog.Write(3, "cannot load %s", path.c_str());
  return doc;
}

bool ManagerCache::Fresh() const {
  for (const auto& [path, stamp] : stamps_)
    if (pnl_file::Stamp(path) != stamp) return false;
  return true;
}

const std::unordered_set<std::string>& ManagerCache::KnownSet(
    const std::string& lang) const {
  auto kept = known_sets_.find(lang);
  if (kept != known_sets_.end()) return kept->second;
  const std::vector<std::string>& known = KnownNames(lang);
  return known_sets_[lang] =
             std::unordered_set<std::string>(known.begin(), known.end());
}

std::vector<std::string> ManagerCache::Sources() const {
  if (manager_ == kBase) return {kBase};
  return {kBase, manager_};
}

std::vector<std::string> ManagerCache::Languages() const {
  std::vector<std::string> langs;
  const std::string prefix = manager_ + "_msg_";
  const std::string suffix = ".xml";
  pnl_file::Dir dir("etc/xml");
  while (dir.Read()) {
    std::string name = dir.Name();
    if (name.size() < prefix.size() + suffix.size()) continue;
    if (!str::StartsWith(name, prefix)) continue;
    if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0)
      continue;
    std::string lang = name.substr(
        prefix.size(), name.size() - prefix.size() - suffix.size());
    // Only a regular file (or a link to one) holds messages: a directory or
    // a FIFO named like a message file is no language.
    if (!pnl_file::IsRegularFile(dir.FullName())) {
      kLog.Write(4, "skipping %s: not a regular file", name.c_str());
      continue;
    }
    if (!pnl_file::IsPlainName(lang)) {
      kLog.Write(4, "skipping the language \"%s\" of %s", lang.c_str(),
                 name.c_str());
      continue;
    }
    langs.push_back(lang);
  }
  return langs;
}

const ManagerCache::Language& ManagerCache::Read(const std::string& lang) const {
  auto kept = languages_.find(lang);
  if (kept != languages_.end()) return kept->second;
  Language& language = languages_[lang];
  std::vector<Section> sections;  // in document order, grouped below
  // Only what the cache files need is kept of the parsed documents, which
  // go when this returns: a large manager's messages in every language
  // would take many times their size as documents.
  for (const std::string& source : Sources()) {
    pnl_xml::Xml doc = Load(findings::MessageFile(source, lang));
    // The language is compared here rather than pasted into the
    // expression, so that no code can change what is selected.
    for (pnl_xml::XmlNode lang_node : doc.GetNodes("/pnldata/lang")) {
      if (lang_node.GetProp("name") != lang) continue;
      for (pnl_xml::XmlNode child = lang_node.FirstChild(); child; child = child.Next()) {
        if (child.Name() != "messages") continue;
        const std::string name = child.GetProp("name");
        language.section_names.push_back(name);
        Section& section = sections.emplace_back();
        // Each child is written as its copy in a cache file writes itself.
        pnl_xml::Xml copies("messages");
        pnl_xml::XmlNode root = copies.GetRoot();
        for (pnl_xml::XmlNode element = child.FirstChild(); element; element = element.Next()) {
          Section::Child& kept_child = section.children.emplace_back();
          kept_child.name = element.Name();
          if (kept_child.name == "include") kept_child.include = element.GetProp("name");
          kept_child.text = root.AppendChild(element).ToString();
        }
      }
    }
  }
  // Grouped by name once all are read (moving them earlier would leave the
  // grouped ones behind).
  for (std::size_t i = 0; i < sections.size(); ++i)
    language.by_name[language.section_names[i]].push_back(std::move(sections[i]));
  return language;
}

const std::vector<std::string>& ManagerCache::MetadataNames() const {
  std::vector<std::string>& names = metadata_names_;
  if (metadata_read_) return names;
  metadata_read_ = true;
  for (const std::string& source : Sources()) {
    pnl_xml::Xml doc = Load(findings::DescriptionFile(source));
    for (pnl_xml::XmlNode node : doc.GetNodes("/pnldata/metadata"))
      names.push_back(node.GetProp("name"));
  }
  return names;
}

const std::vector<std::string>& ManagerCache::KnownNames(
    const std::string& lang) const {
  auto kept = known_names_.find(lang);
  if (kept != known_names_.end()) return kept->second;
  std::vector<std::string> all = Read(lang).section_names;
  for (const std::string& name : MetadataNames()) all.push_back(name);

  std::vector<std::string>& known = known_names_[lang];
  std::set<std::string> seen;
  for (const std::string& name : all) {
    if (!pnl_file::IsPlainName(name)) {
      kLog.Write(4, "skipping the unsafe name \"%s\"", name.c_str());
      continue;
    }
    if (seen.insert(name).second) known.push_back(name);
  }
  return known;
}

std::vector<std::string> ManagerCache::Actions() const {
  std::vector<std::string> actions;
  std::set<std::string> seen;
  for (const std::string& name : MetadataNames())
    if (seen.insert(name).second) actions.push_back(name);
  return actions;
}

bool ManagerCache::IsKnownFunction(const std::string& name) const {
  for (const std::string& lang : Languages())
    if (KnownSet(lang).count(name) != 0) return true;
  return false;
}

bool ManagerCache::WriteSession(const std::string& lang,
                                std::string* error) const {
  const std::string dir = CacheDir();
  if (pnl::Status made = pnl_file::MakeDirs(dir); !made.ok()) {
    *error = "cannot create " + dir + ": " + Reason(dir, made);
    kLog.Write(3, "%s", error->c_str());
    return false;
  }
  const SectionsByName& groups = Read(lang).by_name;
  bool ok = true;
  for (const std::string& name : KnownNames(lang)) {
    const std::string file = name + ".msg." + lang + ".xml";
    // No file can carry such a name; the module tells it when it audits.
    if (!pnl_file::FitsFileName(file)) {
      kLog.Write(4, "no cache file for a name of %zu bytes: too long for a file name",
                 name.size());
      continue;
    }
    ok = SaveTo(MessagesFile(name, CollectSections(name, groups)), dir + "/" + file, error) && ok;
  }
  for (const char* name : {"desktop", "common"}) {
    ok = SaveTo(MessagesFile(name, CollectSections(name, groups)),
                dir + "/" + name + "." + lang + ".xml", error) && ok;
  }
  return ok;
}

bool ManagerCache::WriteChecked(const std::string& function,
                                std::string* error) const {
  const std::string dir = CacheDir() + "/checked";
  if (pnl::Status made = pnl_file::MakeDirs(dir); !made.ok()) {
    *error = "cannot create " + dir + ": " + Reason(dir, made);
    kLog.Write(3, "%s", error->c_str());
    return false;
  }
  bool ok = true;
  for (const std::string& lang : Languages()) {
    const std::string path = dir + "/" + function + ".msg." + lang + ".xml";
    // The sources are those this file was written from, and the file is
    // still the one written: writing it again would give the same bytes.
    auto written = written_.find(path);
    if (written != written_.end() && written->second == pnl_file::Stamp(path))
      continue;
    // The function itself counts as resolved, so an include cycle back to
    // it ends there.
    std::set<std::string> resolved = {function};
    std::vector<const std::string*> messages;
    Resolve(function, Read(lang).by_name, resolved, messages);
    if (SaveTo(MessagesFile(function, messages), path, error)) {
      const std::string stamp = pnl_file::Stamp(path);
      if (!stamp.empty()) written_[path] = stamp;
    } else {
      written_.erase(path);
      ok = false;
    }
  }
  return ok;
}

std::string ManagerCache::CacheDir() const {
  return "var/.xmlcache/" + manager_;
}

}  // namespace panel
