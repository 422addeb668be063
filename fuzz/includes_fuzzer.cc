// Fuzz target: include resolution of message files. The input holds the
// message file of a manager "m" in language "en", then (after a line
// "====") that of the base manager kern, then m's main description. The
// panel writes m's session cache and the checked file of each of its first
// names, as it does for a request; the module then merges the includes of
// every cached file as its unused-message audit does. Neither may crash or
// hang. A checked file holds copies of the messages that resolve, each
// whole with whatever it holds (an include inside a message too), so no
// include may be left among its messages; the module's merge removes every
// include, at any depth.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "fuzz_support.h"
#include "panel/cache.h"
#include "pnl/xml.h"
#include "testutils/discovery.h"
#include "testutils/includes.h"
#include "testutils/run_context.h"

namespace {

// No include among the messages of a checked file: every one was resolved.
void ExpectNoSectionInclude(const pnl_xml::Xml& doc) {
  if (!pnl_xml::XPath(doc, "/*/include").empty()) abort();
}

// No include anywhere in a cached file after the module merged them.
void ExpectNoInclude(const pnl_xml::Xml& doc) {
  if (!pnl_xml::XPath(doc, "//include").empty()) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string scratch = fuzz_support::EnterScratchDir();
  static unsigned long counter = 0;
  // A new installation directory for every input: the XML layer keeps
  // parses by path.
  const std::string dir = "i" + std::to_string(++counter);
  const std::vector<std::string> parts = fuzz_support::SplitParts(data, size, 3);
  fuzz_support::WriteFile(dir + "/etc/xml/m_msg_en.xml", parts[0]);
  fuzz_support::WriteFile(dir + "/etc/xml/kern_msg_en.xml", parts[1]);
  fuzz_support::WriteFile(dir + "/etc/xml/m.xml", parts[2]);
  std::filesystem::current_path(scratch + "/" + dir);

  const panel::ManagerCache cache("m");
  std::string error;
  cache.WriteSession("en", &error);
  int checked = 0;
  for (const std::string& name : cache.KnownNames("en")) {
    if (++checked > 16) break;
    cache.WriteChecked(name, &error);
    pnl_xml::Xml doc;
    doc.LoadFromFile("var/.xmlcache/m/checked/" + name + ".msg.en.xml");
    ExpectNoSectionInclude(doc);
  }

  // A run of the module in the installation, its report kept apart.
  std::ostringstream report;
  RunContext run("m", std::filesystem::current_path().string(), report);
  std::vector<std::string> files;
  getXmlFiles(run, files, "en");
  for (const std::string& file : files) {
    pnl_xml::Xml doc;
    doc.LoadFromFile(file);
    pnl_xml::XPath includes(doc, "//include");
    std::ostringstream out;
    if (!includes.empty()) MergeIncludes(run, doc, includes, "en", out);
    ExpectNoInclude(doc);
  }

  std::filesystem::current_path(scratch);
  fuzz_support::EmptyScratchDir();
  return 0;
}
