// sbin/msglint-report: reads the findings file of an msglint run and writes
// it as JSON, SARIF or HTML, or checks it for CI, optionally against a
// baseline of earlier findings; or writes such a baseline (see
// msglint-report(1)).
#include <iomanip>
#include <iostream>
#include <string>

#include "findings/json.h"
#include "findings/paths.h"
#include "findings/reader.h"
#include "pnl/file.h"
#include "report/baseline.h"
#include "report/html_page.h"
#include "report/report.h"
#include "report/selection.h"
#include "version/version.h"

namespace {

const char kUsage[] =
    "usage: msglint-report [--format json|sarif|html] [--baseline FILE] [SELECTION] [findings.json]\n"
    "       msglint-report --format sarif [--max-results N] [--baseline FILE] [SELECTION] [findings.json]\n"
    "       msglint-report --check [--fail-on error|warning|note] [--baseline FILE] [SELECTION] [findings.json]\n"
    "       msglint-report --write-baseline FILE [SELECTION] [findings.json]\n"
    "SELECTION: [--min-level error|warning|note] [--language L[,L...]] [--kind K[,K...]]\n"
    "           [--object NAME] [--new-only (with --baseline)]\n";

// Exit statuses; msglint-report(1) lists them.
constexpr int kUsageOrInput = 2;
constexpr int kBaselineUnreadable = 3;
constexpr int kBaselineMalformed = 4;
constexpr int kBaselineForeign = 5;
constexpr int kBaselineNewer = 6;
constexpr int kBaselineOtherManager = 7;

int Usage() {
  std::cerr << kUsage << std::flush;
  return kUsageOrInput;
}

// A value of an option that cannot be used: one line naming it, then the
// usage.
int BadValue(const std::string& option, const std::string& why) {
  std::cerr << "msglint-report: " << option << ": " << why << "\n";
  return Usage();
}

// The number of --max-results: digits only, at most a billion.
bool ParseCount(const std::string& text, long& count) {
  if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  count = std::stol(text);
  return count <= 1000000000;
}

// Reads the baseline at `path` for a comparison with the findings of
// `manager`; 0, or the exit
// status after a line on standard error.
int ReadBaseline(const std::string& path, const std::string& manager, report::Baseline& baseline) {
  std::string text;
  if (!pnl_file::ReadFile(path, text).ok()) {
    std::cerr << "msglint-report: cannot read the baseline " << path << "; nothing compared" << std::endl;
    return kBaselineUnreadable;
  }
  std::string why;
  switch (report::Baseline::Parse(text, baseline, why)) {
    case report::Baseline::Fault::kNone:
      break;
    case report::Baseline::Fault::kMalformed:
      std::cerr << "msglint-report: the baseline " << path << " is malformed: " << why
                << "; nothing compared" << std::endl;
      return kBaselineMalformed;
    case report::Baseline::Fault::kForeign:
      std::cerr << "msglint-report: " << path << " is not a baseline of msglint: " << why
                << "; nothing compared" << std::endl;
      return kBaselineForeign;
    case report::Baseline::Fault::kNewerVersion:
      std::cerr << "msglint-report: the baseline " << path << " has " << why << "; nothing compared"
                << std::endl;
      return kBaselineNewer;
  }
  if (baseline.manager() != manager) {
    std::cerr << "msglint-report: the baseline " << path << " is of manager " << baseline.manager()
              << ", the findings of manager " << manager << "; nothing compared" << std::endl;
    return kBaselineOtherManager;
  }
  return 0;
}

// The installation directory of the findings file at `path`: the
// directory that holds var/msglint/findings.json, or the current one for a
// file elsewhere.
std::string InstallationOf(const std::string& path) {
  const std::string tail = findings::FindingsFile();
  if (path == tail) return ".";
  if (path.size() > tail.size() && path.compare(path.size() - tail.size(), tail.size(), tail) == 0 &&
      path[path.size() - tail.size() - 1] == '/')
    return path.substr(0, path.size() - tail.size() - 1);
  return ".";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--help") {
    std::cout << kUsage << "Reads the findings file of an msglint run (" << findings::FindingsFile()
              << " of the\n"
                 "installation that is the current directory). Manual: man msglint-report.\n";
    return 0;
  }
  if (argc == 2 && std::string(argv[1]) == "--version") {
    std::cout << "msglint-report (msglint) " << MSGLINT_VERSION << "\n";
    return 0;
  }
  std::string format = "json";
  bool format_given = false;
  std::string fail_on = "error";
  bool fail_on_given = false;
  bool check = false;
  std::string baseline_path;
  std::string write_baseline_path;
  std::string path;
  report::Selection selection;
  bool selected = false;
  long max_results = report::kSarifMaxResults;
  bool max_results_given = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--format" && i + 1 < argc) {
      format = argv[++i];
      format_given = true;
      if (format != "json" && format != "sarif" && format != "html") return Usage();
    } else if (arg == "--check") {
      check = true;
    } else if (arg == "--fail-on" && i + 1 < argc) {
      fail_on = argv[++i];
      fail_on_given = true;
      if (report::LevelRank(fail_on) == 0) return Usage();
    } else if (arg == "--baseline" && i + 1 < argc && baseline_path.empty() && argv[i + 1][0] != '\0') {
      baseline_path = argv[++i];
    } else if (arg == "--write-baseline" && i + 1 < argc && write_baseline_path.empty() &&
               argv[i + 1][0] != '\0') {
      write_baseline_path = argv[++i];
    } else if (arg == "--min-level" && i + 1 < argc) {
      if (std::string why = selection.SetMinLevel(argv[++i]); !why.empty()) return BadValue(arg, why);
      selected = true;
    } else if (arg == "--language" && i + 1 < argc) {
      if (std::string why = selection.SetLanguages(argv[++i]); !why.empty()) return BadValue(arg, why);
      selected = true;
    } else if (arg == "--kind" && i + 1 < argc) {
      if (std::string why = selection.SetKinds(argv[++i]); !why.empty()) return BadValue(arg, why);
      selected = true;
    } else if (arg == "--object" && i + 1 < argc && argv[i + 1][0] != '\0') {
      selection.SetObject(argv[++i]);
      selected = true;
    } else if (arg == "--new-only") {
      selection.SetNewOnly();
      selected = true;
    } else if (arg == "--max-results" && i + 1 < argc) {
      if (!ParseCount(argv[++i], max_results))
        return BadValue(arg, std::string("not a count of results: '") + argv[i] + "' (0 for no limit)");
      max_results_given = true;
    } else if (!arg.empty() && arg[0] != '-' && path.empty()) {
      path = arg;
    } else {
      return Usage();
    }
  }
  // A baseline is written from the findings alone; the JSON output is the
  // findings file as it stands.
  if (!write_baseline_path.empty() && (check || format_given || fail_on_given || !baseline_path.empty()))
    return Usage();
  if (!baseline_path.empty() && !check && format == "json") return Usage();
  if (selection.new_only() && baseline_path.empty())
    return BadValue("--new-only", "needs --baseline FILE, the findings it calls new");
  if (max_results_given && (check || format != "sarif")) return Usage();
  if (path.empty()) path = findings::FindingsFile();

  // The outputs read the document's members themselves; it is held once,
  // and the selection narrows it in place.
  report::Json doc;
  {
    std::string text;
    if (!pnl_file::ReadFile(path, text).ok()) {
      std::cerr << "msglint-report: cannot read " << path << std::endl;
      return kUsageOrInput;
    }
    std::string why = report::Refusal(findings::Parse(text, &doc));
    if (why.empty()) report::IsFindingsDocument(doc, why);
    if (!why.empty()) {
      std::cerr << "msglint-report: " << path << ": " << why << std::endl;
      return kUsageOrInput;
    }
  }
  if (std::string why = selection.CheckLanguages(doc); !why.empty()) return BadValue("--language", why);
  const std::string manager = findings::Str(findings::At(findings::At(doc, "run"), "manager"));

  if (!write_baseline_path.empty()) {
    if (selected) doc = selection.Apply(std::move(doc), nullptr, nullptr);
    const report::Baseline baseline = report::Baseline::Of(doc);
    if (baseline.manager().empty()) {
      std::cerr << "msglint-report: " << path << ": findings of no manager; no baseline written" << std::endl;
      return kUsageOrInput;
    }
    if (pnl::Status written = pnl_file::ReplaceFile(write_baseline_path, baseline.ToText());
        !written.ok()) {
      std::cerr << "msglint-report: cannot write the baseline " << write_baseline_path << ": "
                << written.message()
                << std::endl;
      return kUsageOrInput;
    }
    // The baseline is written all the same: it holds what the run could
    // see. What it could not see is said, since those findings will show
    // as new once the problem is fixed.
    const std::string problems = report::InputProblemLines(doc);
    if (!problems.empty())
      std::cerr << "msglint-report: warning: the run had input problems; the findings they hid are "
                   "not in the baseline "
                << write_baseline_path << ":\n"
                << problems << std::flush;
    return 0;
  }

  report::Baseline baseline;
  report::Comparison comparison;
  const report::Comparison* compared = nullptr;
  if (!baseline_path.empty()) {
    if (int status = ReadBaseline(baseline_path, manager, baseline)) return status;
    comparison = report::Compare(doc, baseline);
    compared = &comparison;
  }
  // With a baseline, each finding is compared in the whole document, then
  // the comparison is narrowed with it.
  if (selected && compared) {
    report::Comparison all = std::move(comparison);
    comparison = report::Comparison();
    doc = selection.Apply(std::move(doc), &all, &comparison);
  } else if (selected) {
    doc = selection.Apply(std::move(doc), nullptr, nullptr);
  }

  if (check) {
    std::string out;
    const bool passed = report::Check(doc, fail_on, out, compared);
    std::cout << out << std::flush;
    return passed ? 0 : 1;
  }
  if (format == "sarif") {
    report::SarifLimits limits;
    limits.max_results = max_results;
    if (max_results == 0) limits.max_gzip_bytes = 0;
    report::SarifLeftOut left_out;
    findings::SourceLines::LastFile last_file;
    findings::SourceLines messages(InstallationOf(path), last_file);
    report::WriteSarif(std::cout, doc, compared, limits, &left_out, &messages);
    std::cout << "\n";
    if (left_out.Total() > 0)
      std::cerr << "msglint-report: " << left_out.Describe() << std::endl;
  }
  else if (format == "html")
    report::WriteHtml(std::cout, doc, compared);
  else
    std::cout << std::setw(2) << doc << "\n";
  std::cout.flush();
  return 0;
}
