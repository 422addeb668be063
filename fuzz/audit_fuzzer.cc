// Fuzz target: one whole audit of a small installation built from the
// input. The input holds, separated by lines "====", the main description
// of a manager "m", its message files in English and Russian and the base
// manager's English message file. The panel's cache is written in-process
// (as the panel does for a session request), then every audit that a full
// run makes is run twice, once with the XML layer evaluating every query as
// written and once the fast way: the two reports and audit files must be
// the same byte for byte.
//
// The audits run through RunAudits, not kelmain, with the cache as written
// here, so that the run never stops panels or starts one: the scratch
// installation has no bin/ and no sbin/, so no program of it can be
// started. The action-list audit, which asks the manager's running panel,
// is left out.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "panel/cache.h"
#include "findings/paths.h"
#include "pnl/log.h"
#include "pnl/xml.h"
#include "testutils/msglint.h"
#include "testutils/run_context.h"

namespace {

// The report, the audit file and the findings file (where the texts audit
// says what it found) of a full run in the current directory.
std::string Report(bool literal) {
  pnl_xml::SetLiteralEvaluation(literal);
  std::ostringstream report;
  RunContext run("m", std::filesystem::current_path().string(), report);
  run.langs = {"en", "ru"};
  run.check_actions = false;
  drop_languages(run.manager, run.langs, run.work_dir + "/etc/xml/");
  const int result = RunAudits(run, CacheIsReady);
  pnl_xml::SetLiteralEvaluation(false);
  const std::string installation = std::filesystem::current_path().filename().string();
  return report.str() + "result " + std::to_string(result) + "\n" +
         fuzz_support::ReadFile(installation + "/var/test_msgs") +
         fuzz_support::ReadFile(installation + "/" + findings::FindingsFile());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string scratch = fuzz_support::EnterScratchDir();
  static unsigned long counter = 0;
  // A new installation directory for every input: the XML layer keeps
  // parses by path.
  const std::string dir = "i" + std::to_string(++counter);
  const std::vector<std::string> parts = fuzz_support::SplitParts(data, size, 4);
  fuzz_support::WriteFile(dir + "/etc/xml/m.xml", parts[0]);
  fuzz_support::WriteFile(dir + "/etc/xml/m_msg_en.xml", parts[1]);
  fuzz_support::WriteFile(dir + "/etc/xml/m_msg_ru.xml", parts[2]);
  fuzz_support::WriteFile(dir + "/etc/xml/kern_msg_en.xml", parts[3]);
  std::filesystem::current_path(scratch + "/" + dir);
  pnl_log::Init("msglint", 5);

  std::string error;
  for (const char* manager : {"m", "kern"}) {
    const panel::ManagerCache cache(manager);
    for (const char* lang : {"en", "ru"}) cache.WriteSession(lang, &error);
  }

  const std::string literal = Report(true);
  const std::string fast = Report(false);
  if (literal != fast) {
    fprintf(stderr, "the fast report differs from the literal one\n--- literal\n%s--- fast\n%s",
            literal.c_str(), fast.c_str());
    abort();
  }

  pnl_log::Close();
  std::filesystem::current_path(scratch);
  fuzz_support::EmptyScratchDir();
  return 0;
}
