// sbin/msglint-report: reads the findings file of an msglint run and writes
// it as JSON, SARIF or HTML, or checks it for CI (see msglint-report(1)).
#include <iostream>
#include <string>

#include "pnl/file.h"
#include "report/report.h"
#include "version/version.h"

namespace {

int Usage() {
  std::cerr << "usage: msglint-report [--format json|sarif|html] [findings.json]\n"
               "       msglint-report --check [--fail-on error|warning|note] [findings.json]"
            << std::endl;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--help") {
    std::cout << "usage: msglint-report [--format json|sarif|html] [findings.json]\n"
                 "       msglint-report --check [--fail-on error|warning|note] [findings.json]\n"
                 "Reads the findings file of an msglint run (var/msglint/findings.json of the\n"
                 "installation that is the current directory). Manual: man msglint-report.\n";
    return 0;
  }
  if (argc == 2 && std::string(argv[1]) == "--version") {
    std::cout << "msglint-report (msglint) " << MSGLINT_VERSION << "\n";
    return 0;
  }
  std::string format = "json";
  std::string fail_on = "error";
  bool check = false;
  std::string path;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--format" && i + 1 < argc) {
      format = argv[++i];
      if (format != "json" && format != "sarif" && format != "html") return Usage();
    } else if (arg == "--check") {
      check = true;
    } else if (arg == "--fail-on" && i + 1 < argc) {
      fail_on = argv[++i];
      if (report::LevelRank(fail_on) == 0) return Usage();
    } else if (!arg.empty() && arg[0] != '-' && path.empty()) {
      path = arg;
    } else {
      return Usage();
    }
  }
  if (path.empty()) path = "var/msglint/findings.json";

  std::string text;
  if (!pnl_file::ReadFile(path, text)) {
    std::cerr << "msglint-report: cannot read " << path << std::endl;
    return 2;
  }
  const report::Json doc = report::Json::parse(text, nullptr, false);
  std::string why = doc.is_discarded() ? "not JSON" : "";
  if (why.empty()) report::IsFindingsDocument(doc, why);
  if (!why.empty()) {
    std::cerr << "msglint-report: " << path << ": " << why << std::endl;
    return 2;
  }

  if (check) {
    std::string out;
    const bool passed = report::Check(doc, fail_on, out);
    std::cout << out << std::flush;
    return passed ? 0 : 1;
  }
  if (format == "sarif")
    std::cout << report::ToSarif(doc).dump(2) << "\n";
  else if (format == "html")
    std::cout << report::ToHtml(doc);
  else
    std::cout << doc.dump(2) << "\n";
  std::cout.flush();
  return 0;
}
