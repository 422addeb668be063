#include "testutils/msglint.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <algorithm>
#include <iostream>

#include "pnl/str.h"

const pnl_log::Module msglint_log("msglint", "kern");

std::string& PNL_NAME() {
  static std::string name;
  return name;
}

void usage(const std::string& program) {
  std::cout << "Usage: " << program << " pnl_name report_type languagelist" << std::endl;
  std::cout << " pnl_name - name of checked manager, e.g.: kern, sabpnl" << std::endl;
  std::cout << " report_type : -s print short report, -f print full report (default)"
            << std::endl;
  std::cout << " languagelist - comma separated list of lanugages, e.g.: en,ru,fr" << std::endl;
}

void print_msg(const std::string& object, const std::string& text,
               const std::string& problem, std::ostringstream& out) {
  out << "\t" << object << " - " << problem << ". \t\t msgtext: " << text << "\n";
  out.flush();
}

namespace {

// The leading decimal number of `text` as base-10 strtol reads it, cut to a
// signed 32-bit integer.
int32_t LeadingNumber(const std::string& text) {
  long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned long>(value)));
}

}  // namespace

bool order(const std::string& a, const std::string& b) {
  return LeadingNumber(a) > LeadingNumber(b);
}

std::string get_prefix(std::string name) {
  std::string word = str::GetWord(name, '_');
  return name.empty() ? std::string() : word;
}

std::string cut_prefix(std::string name) {
  std::string word = str::GetWord(name, '_');
  return name.empty() ? word : name;
}

// ---- XML file discovery -------------------------------------------------

bool fileIsNotForLang::operator()(const std::string& path) const {
  return path.find("." + lang + ".xml") == std::string::npos;
}

bool fileIsForKern::operator()(const std::string& path) const {
  const std::string base = pnl_file::Name(path);
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

void getXmlFiles(std::vector<std::string>& files, const std::string& lang) {
  files.clear();
  const std::string cache_root = pnl_file::GetCurrentDir() + "/var/.xmlcache/";
  getDirContent(cache_root + PNL_NAME(), files);
  RemoveIf(files, fileIsNotForLang(lang));
  // The base manager's own list is complete as it stands: its filter files
  // stay in it on purpose.
  if (PNL_NAME() == "kern") return;

  std::vector<std::string> kern_files;
  getDirContent(cache_root + "kern", kern_files);
  RemoveIf(kern_files, fileIsNotForLang(lang));
  for (std::string& path : kern_files) path = pnl_file::Name(path);

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

// ---- Include merging ----------------------------------------------------

void MergeIncludes(pnl_xml::Xml& doc, const pnl_xml::XPath& includes,
                   const std::string& lang, std::ostringstream& out) {
  const std::string cache_dir =
      pnl_file::GetCurrentDir() + "/var/.xmlcache/" + PNL_NAME();
  for (pnl_xml::XmlNode include : includes) {
    const std::string file = include.GetProp("name") + ".msg." + lang + ".xml";
    const std::string path = pnl_file::ConcatPath(cache_dir, file);
    if (!pnl_file::Exists(path)) {
      print_msg("include", include.Str(), "include is not found", out);
      continue;
    }
    pnl_xml::Xml included;
    included.LoadFromFile(path);
    pnl_xml::XmlNode root = doc.GetRoot();
    for (pnl_xml::XmlNode msg : pnl_xml::XPath(included, "//msg")) root.AppendChild(msg);
  }
  doc.RemoveNodes("//include");
}
