// XML file discovery: which cached files of the checked manager the audits
// read for a language (the manager's own, not those it shares with the base
// manager, and no filter files).
#ifndef TESTUTILS_DISCOVERY_H_
#define TESTUTILS_DISCOVERY_H_

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "pnl/xml.h"
#include "testutils/run_context.h"

// True for a path that does not contain "." + lang + ".xml".
struct fileIsNotForLang {
  explicit fileIsNotForLang(std::string lang) : lang(std::move(lang)) {}
  bool operator()(const std::string& path) const;
  std::string lang;
};

// True for a path whose base name is one of `names`.
struct fileIsForKern {
  explicit fileIsForKern(std::vector<std::string> names) : names(std::move(names)) {}
  bool operator()(const std::string& path) const;
  std::vector<std::string> names;
};

// True for a path that contains `text` anywhere.
struct skipFile {
  explicit skipFile(std::string text) : text(std::move(text)) {}
  bool operator()(const std::string& path) const;
  std::string text;
};

// Replaces `out` with the full paths of the entries of `dir`.
void getDirContent(const std::string& dir, std::vector<std::string>& out);
// Replaces `files` with the checked manager's own cached XML files for `lang`.
void getXmlFiles(const RunContext& run, std::vector<std::string>& files,
                 const std::string& lang);
// Loads each cache file of language `lang` (as getXmlFiles lists them) and
// hands it to `use`.
void ForEachCacheFile(const RunContext& run, const std::string& lang,
                      const std::function<void(const std::string&, pnl_xml::Xml&)>& use);

// Appends to `out` the pieces of `text` between separators.
void split(const std::string& text, char separator, std::vector<std::string>& out);

#endif  // TESTUTILS_DISCOVERY_H_
