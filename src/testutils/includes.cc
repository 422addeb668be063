// Include merging: the messages of the files that a cached message file
// includes, copied into it.
#include "testutils/includes.h"

#include "pnl/file.h"

void print_msg(const std::string& object, const std::string& text,
               const std::string& problem, std::ostringstream& out) {
  out << "\t" << object << " - " << problem << ". \t\t msgtext: " << text << "\n";
  out.flush();
}

void MergeIncludes(const RunContext& run, pnl_xml::Xml& doc, const pnl_xml::XPath& includes,
                   const std::string& lang, std::ostringstream& out) {
  const std::string cache_dir = run.CacheDir();
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
