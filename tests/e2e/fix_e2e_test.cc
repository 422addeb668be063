// The fixer on the example installation, as a user runs it: the audit, the
// fix, the audit again. The second run must report exactly what the first
// did, less the findings that the fixer fixed; the findings whose audit
// also wants a text come back as empty messages instead of missing ones.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "pnl/file.h"
#include "pnl/proc.h"
#include "support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing_support::ScratchDir;

// Runs an installed program from the installation directory, with long
// sleeps skipped; its exit status, and what it printed in `output`.
int Run(const std::vector<std::string>& argv, std::string* output) {
  setenv("LD_PRELOAD", testing_support::NoSleepLibrary().c_str(), 1);
  pnl_proc::Execute run(argv);
  run.CaptureOutput();
  int status = run.Result();
  unsetenv("LD_PRELOAD");
  *output = run.Output();
  return status;
}

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
  EXPECT_TRUE(pnl_file::ReadFile("var/msglint/findings.json", text));
  return json::parse(text, nullptr, false);
}

// Installs the example installation with every program in a scratch
// directory.
void InstallExample(const ScratchDir& scratch) {
  const fs::path prefix(E2E_PREFIX);
  for (const char* program : {"bin/kern", "sbin/pnlctl", "sbin/msglint",
                              "sbin/msglint-fix", "lib/modules/msglint.so"}) {
    ASSERT_TRUE(fs::exists(prefix / program)) << program;
    fs::create_directories((fs::path(scratch.path()) / program).parent_path());
    fs::create_symlink(prefix / program, fs::path(scratch.path()) / program);
  }
  fs::copy(fs::path(E2E_SOURCE_DIR) / "examples/install", scratch.path(),
           fs::copy_options::recursive);
  scratch.AddManagerLink("mailpnl");
}

void FixThenRunAgain(const std::string& mode) {
  ScratchDir scratch;
  InstallExample(scratch);
  std::string output;
  Run({"sbin/msglint", "mailpnl", mode, "en", "ru"}, &output);
  // The fixer works from the findings file of the run; a module that
  // writes none leaves nothing to fix from.
  if (!pnl_file::Exists("var/msglint/findings.json"))
    GTEST_SKIP() << "the run wrote no findings file";
  json before = ReadFindings();
  ASSERT_FALSE(before.is_discarded());

  // The findings that the fixer takes, and what each becomes.
  const std::set<std::string> fixed_alone = {
      "missing-title", "missing-column-description",
      "missing-menu-item-description", "missing-column-hint"};
  const std::set<std::string> need_text = {
      "missing-hint", "missing-label", "missing-checkbox-description",
      "missing-button-short-name", "missing-button-hint"};
  std::multiset<std::string> expected;
  int fixed = 0;
  for (const json& f : before["findings"]) {
    std::string kind = f["kind"].get<std::string>();
    bool fixable = (fixed_alone.count(kind) || need_text.count(kind)) &&
                   f["message"].is_object() && f["input_problem"] == false;
    if (!fixable) {
      expected.insert(Key(f, kind));
    } else {
      ++fixed;
      if (need_text.count(kind)) {
        expected.insert(Key(f, "empty-" + kind.substr(std::string("missing-").size())));
      }
    }
  }
  ASSERT_GT(fixed, 10);

  EXPECT_EQ(0, Run({"sbin/msglint-fix", "mailpnl", "en", "ru"}, &output)) << output;
  Run({"sbin/msglint", "mailpnl", mode, "en", "ru"}, &output);
  json after = ReadFindings();
  ASSERT_FALSE(after.is_discarded());
  EXPECT_EQ(expected, Keys(after));

  // A second fix finds nothing to add: the messages still reported as
  // empty are in place.
  EXPECT_EQ(0, Run({"sbin/msglint-fix", "mailpnl", "en", "ru", "--dry-run"}, &output));
  EXPECT_EQ("", output);
}

TEST(FixEndToEndTest, FullReportLosesExactlyTheFixedFindings) { FixThenRunAgain("-f"); }

TEST(FixEndToEndTest, ShortReportLosesExactlyTheFixedFindings) { FixThenRunAgain("-s"); }

}  // namespace
