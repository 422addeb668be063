// What the panel knows of one manager, read from the installation's XML
// files under the current directory, and the cache files it writes from
// them under var/.xmlcache/M/.
//
// The sources of M are the base manager kern's files, then M's own (only
// kern's for kern itself). No operating system call is made here: files are
// read and written through the panel library.
#ifndef PANEL_CACHE_H_
#define PANEL_CACHE_H_

#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "pnl/xml.h"

namespace panel {

// What it reads of the installation's files is read once and kept, with
// the sections of each language grouped by name and the set of known names,
// so that a checked-file request costs what its function's own sections
// cost. The panel keeps one between requests and makes a new one when
// Fresh() says a source file changed.
class ManagerCache {
 public:
  explicit ManagerCache(const std::string& manager);

  // The managers whose files make up this manager: "kern", then the manager
  // itself unless it is kern.
  std::vector<std::string> Sources() const;
  // The languages of the manager: the codes L of its regular files (or
  // links to regular files) etc/xml/M_msg_L.xml, in byte order of the file
  // names. Codes that are not plain names ("", ".", "..") are left out.
  std::vector<std::string> Languages() const;
  // The names of the "/pnldata/metadata" elements of every source's main
  // description, source by source in document order (repeats kept).
  const std::vector<std::string>& MetadataNames() const;
  // The known names for `lang`, in order of first appearance: section
  // names, then metadata names. Unsafe names are left out (logged).
  const std::vector<std::string>& KnownNames(const std::string& lang) const;
  // The actions: metadata names, each once.
  std::vector<std::string> Actions() const;
  // True when `name` is a known name for at least one language.
  bool IsKnownFunction(const std::string& name) const;

  // Writes S.msg.L.xml for every known name S, desktop.L.xml and
  // common.L.xml. `lang` must be a plain name. False, with the reason in
  // `error`, when a file could not be written.
  bool WriteSession(const std::string& lang, std::string* error) const;
  // Writes checked/F.msg.L.xml for every language L, except a file that
  // this cache wrote and that is unchanged since (same size, modification
  // time and inode): it already holds what would be written. False, with
  // the reason in `error`, when a file could not be written.
  bool WriteChecked(const std::string& function, std::string* error) const;

  // var/.xmlcache/M, relative to the installation directory.
  std::string CacheDir() const;

  // False when a file read so far (or found missing) is no longer what it
  // was when it was read: same size, modification time and inode.
  bool Fresh() const;

  // A message section (a "messages" element of a "lang" element) as the
  // cache files need it: its element children, each with its name, the
  // name it includes (for an include element) and its text as a copy of it
  // writes itself in a cache file.
  struct Section {
    struct Child {
      std::string name;
      std::string include;
      std::string text;
    };
    std::vector<Child> children;
  };
  // The sections of one language grouped by name, each group in the order
  // of the sections (source by source, in document order).
  using SectionsByName = std::map<std::string, std::vector<Section>>;

 private:
  // What is kept of one language's message files.
  struct Language {
    // The name of every section, source by source in document order.
    std::vector<std::string> section_names;
    SectionsByName by_name;
  };

  // Loads a source file of the installation, noting its stamp.
  pnl_xml::Xml Load(const std::string& path) const;
  // The message sections of language `lang`: the "messages" elements of
  // every "lang" element named `lang`, source by source in document order.
  const Language& Read(const std::string& lang) const;
  const std::unordered_set<std::string>& KnownSet(const std::string& lang) const;

  std::string manager_;
  // What has been read so far, by language.
  mutable std::map<std::string, Language> languages_;
  mutable std::map<std::string, std::vector<std::string>> known_names_;
  mutable std::map<std::string, std::unordered_set<std::string>> known_sets_;
  // The stamp of every file read, "" for a file that was missing.
  mutable std::map<std::string, std::string> stamps_;
  mutable std::vector<std::string> metadata_names_;
  // The stamp of each checked file just after it was written from the
  // sources above.
  mutable std::map<std::string, std::string> written_;
  mutable bool metadata_read_ = false;
};

}  // namespace panel

#endif  // PANEL_CACHE_H_
