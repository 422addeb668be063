// The fixer on the example installation, as a user runs it: the audit, the
// fix, the audit again. The second run must report exactly what the first
// did, less the findings that the fixer fixed; the findings whose audit
// also wants a text come back as empty messages instead of missing ones.
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "findings/kinds.h"
#include "findings/paths.h"
#include "pnl/file.h"
#include "support/example_install.h"
#include "support/run_program.h"
#include "support/scratch_dir.h"

namespace {

using nlohmann::json;
using testing_support::InstallExample;
using testing_support::RunOptions;
using testing_support::RunProgram;
using testing_support::RunResult;
using testing_support::ScratchDir;

// The installed programs run from the installation directory with long
// sleeps skipped; what they print is taken as one text.
const RunOptions kInstalled = {.no_sleep = true, .merge_stderr = true};

// What identifies a finding from one run to the next (line numbers move
// when a message file grows).
std::string Key(const json& f, const std::string& kind) {
  auto str = [](const json& v) { return v.is_string() ? v.get<std::string>() : std::string(); };
  std::string element = f["element"].is_object() ? str(f["element"]["name"]) : "";
  std::string message = f["message"].is_object() ? str(f["message"]["name"]) : "";
  return kind + " " + str(f["object"]) + " " + element + " " +
         str(f["language"]) + " " + message;
}

std::multiset<std::string> Keys(const json& findings) {
  std::multiset<std::string> keys;
  for (const json& f : findings["findings"]) keys.insert(Key(f, f["kind"].get<std::string>()));
  return keys;
}

json ReadFindings() {
  std::string text;
  EXPECT_TRUE(pnl_file::ReadFile(findings::FindingsFile(), text).ok());
  return json::parse(text, nullptr, false);
}

void FixThenRunAgain(const std::string& mode) {
  ScratchDir scratch;
  InstallExample(scratch);
  RunProgram({"sbin/msglint", "mailpnl", mode, "en", "ru"}, kInstalled);
  // The fixer works from the findings file of the run; a module that
  // writes none leaves nothing to fix from.
  if (!pnl_file::Exists(findings::FindingsFile()))
    GTEST_SKIP() << "the run wrote no findings file";
  json before = ReadFindings();
  ASSERT_FALSE(before.is_discarded());

  // The findings that the fixer takes, and what each becomes.
  std::multiset<std::string> expected;
  int fixed = 0;
  for (const json& f : before["findings"]) {
    std::string kind = f["kind"].get<std::string>();
    const findings::Kind* of_kind = findings::FindKind(kind);
    bool fixable = of_kind != nullptr && of_kind->fixable &&
                   f["message"].is_object() && f["input_problem"] == false;
    if (!fixable) {
      expected.insert(Key(f, kind));
    } else {
      ++fixed;
      if (of_kind->needs_text) {
        expected.insert(Key(f, "empty-" + kind.substr(std::string("missing-").size())));
      }
    }
  }
  ASSERT_GT(fixed, 10);

  const RunResult fix = RunProgram({"sbin/msglint-fix", "mailpnl", "en", "ru"}, kInstalled);
  EXPECT_EQ(0, fix.status) << fix.out;
  RunProgram({"sbin/msglint", "mailpnl", mode, "en", "ru"}, kInstalled);
  json after = ReadFindings();
  ASSERT_FALSE(after.is_discarded());
  EXPECT_EQ(expected, Keys(after));

  // A second fix finds nothing to add: the messages still reported as
  // empty are in place.
  const RunResult again =
      RunProgram({"sbin/msglint-fix", "mailpnl", "en", "ru", "--dry-run"}, kInstalled);
  EXPECT_EQ(0, again.status);
  EXPECT_EQ("", again.out);
}

TEST(FixEndToEndTest, FullReportLosesExactlyTheFixedFindings) { FixThenRunAgain("-f"); }

TEST(FixEndToEndTest, ShortReportLosesExactlyTheFixedFindings) { FixThenRunAgain("-s"); }

}  // namespace
