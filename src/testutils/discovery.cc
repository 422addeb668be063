// XML file discovery: which cached files of the checked manager the audits
// read for a language.
#include "testutils/discovery.h"

#include <algorithm>

#include "pnl/file.h"

namespace {

// The name part of a path (the second part of SplitPath).
std::string BaseName(const std::string& path) { return pnl_file::SplitPath(path).second; }

}  // namespace

bool fileIsNotForLang::operator()(const std::string& path) const {
  return path.find("." + lang + ".xml") == std::string::npos;
}

bool fileIsForKern::operator()(const std::string& path) const {
  const std::string base = BaseName(path);
  for (const std::string& name : names)
    if (name == base) return true;
  return false;
}

bool skipFile::operator()(const std::string& path) const {
  return path.find(text) != std::string::npos;
}

void getDirContent(const std::string& dir, std::vector<std::string>& out) {
  out.clear();
  pnl_file::Dir reader(dir);
  while (reader.Read()) out.push_back(reader.FullName());
}

namespace {

template <typename Predicate>
void RemoveIf(std::vector<std::string>& files, Predicate predicate) {
  files.erase(std::remove_if(files.begin(), files.end(), predicate), files.end());
}

}  // namespace

void getXmlFiles(const RunContext& run, std::vector<std::string>& files,
                 const std::string& lang) {
  files.clear();
  const std::string cache_root = run.work_dir + "/var/.xmlcache/";
  getDirContent(cache_root + run.manager, files);
  RemoveIf(files, fileIsNotForLang(lang));
  // The base manager's own list is complete as it stands: its filter files
  // stay in it on purpose.
  if (run.manager == "kern") return;

  std::vector<std::string> kern_files;
  getDirContent(cache_root + "kern", kern_files);
  RemoveIf(kern_files, fileIsNotForLang(lang));
  for (std::string& path : kern_files) path = BaseName(path);

  RemoveIf(files, fileIsForKern(kern_files));
  RemoveIf(files, skipFile(".filter"));
}

void split(const std::string& text, char separator, std::vector<std::string>& out) {
  std::string rest = text;
  for (std::string::size_type pos; (pos = rest.find(separator)) != std::string::npos;) {
    out.push_back(rest.substr(0, pos));
    rest.erase(0, pos + 1);
  }
  out.push_back(rest);
}

void ForEachCacheFile(const RunContext& run, const std::string& lang,
                      const std::function<void(const std::string&, pnl_xml::Xml&)>& use) {
  std::vector<std::string> files;
  getXmlFiles(run, files, lang);
  for (const std::string& path : files) {
    pnl_xml::Xml doc;
    doc.LoadFromFile(path);
    use(path, doc);
  }
}
