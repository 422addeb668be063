// File discovery and include merging for a fuzz target that names its
// manager once for the whole process: each call makes a run of that
// manager in the current directory and calls the module with it. The
// calls write no report; a run's report would go to standard output.
#include <filesystem>
#include <iostream>

#include "fuzz_support.h"
#include "testutils/discovery.h"
#include "testutils/includes.h"
#include "testutils/run_context.h"

std::string& PNL_NAME() {
  static std::string name;
  return name;
}

void getXmlFiles(std::vector<std::string>& files, const std::string& lang) {
  RunContext run(PNL_NAME(), std::filesystem::current_path().string(), std::cout);
  getXmlFiles(run, files, lang);
}

void MergeIncludes(pnl_xml::Xml& doc, const pnl_xml::XPath& includes, const std::string& lang,
                   std::ostringstream& out) {
  RunContext run(PNL_NAME(), std::filesystem::current_path().string(), std::cout);
  MergeIncludes(run, doc, includes, lang, out);
}
