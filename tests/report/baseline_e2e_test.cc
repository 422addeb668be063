// Baselines as a CI job uses them, on the example installation: the audit,
// a baseline written and kept, the manager changed as people change it
// (lines added, objects reordered, a language added, one finding fixed, one
// made), the audit again and the check against the baseline. And the
// baselines that must be refused, each with its message and status.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "findings/paths.h"
#include "pnl/file.h"
#include "support/example_install.h"
#include "support/run_program.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::InstallExample;
using testing_support::RunOptions;
using testing_support::RunProgram;
using testing_support::RunResult;
using testing_support::ScratchDir;

// The installed programs run from the installation directory with long
// sleeps skipped; what they print is taken as one text.
const RunOptions kInstalled = {.no_sleep = true, .merge_stderr = true};

// `text` with the first occurrence of `from` replaced by `to`; fails the
// test when there is none.
std::string Replace(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(std::string::npos, at) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

// The element <metadata name="NAME" ...> ... </metadata> of `text`, with
// the blank lines and comment before it up to the previous element.
std::string Metadata(const std::string& text, const std::string& name) {
  const size_t start = text.find("  <metadata name=\"" + name + "\"");
  const size_t end = text.find("</metadata>\n", start) + std::string("</metadata>\n").size();
  return text.substr(start, end - start);
}

std::set<std::string> Lines(const std::string& text) {
  std::set<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.insert(line.back() == ',' ? line.substr(0, line.size() - 1) : line);
  return lines;
}

std::vector<std::string> Only(const std::set<std::string>& a, const std::set<std::string>& b) {
  std::vector<std::string> only;
  for (const std::string& line : a)
    if (!b.count(line)) only.push_back(line);
  return only;
}

TEST(BaselineEndToEndTest, CheckFailsOnlyOnTheNewFinding) {
  ScratchDir scratch;
  InstallExample(scratch);
  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru"}, kInstalled);
  ASSERT_TRUE(pnl_file::Exists(findings::FindingsFile()));
  RunResult run = RunProgram({"sbin/msglint-report", "--write-baseline", "msglint-baseline.json"}, kInstalled);
  ASSERT_EQ(0, run.status);
  EXPECT_EQ("", run.out);
  const std::string baseline = scratch.Read("msglint-baseline.json");
  EXPECT_EQ(0u, baseline.find("{\n  \"format\": \"msglint-baseline\",\n  \"version\": 1,\n"
                              "  \"manager\": \"mailpnl\",\n  \"findings\": [\n"));
  // One line per finding (the untranslated Russian DKIM among them), and
  // the lines around them.
  EXPECT_EQ(63 + 7, std::count(baseline.begin(), baseline.end(), '\n'));

  // The same run checked against its own baseline: nothing new.
  run = RunProgram({"sbin/msglint-report", "--check", "--baseline", "msglint-baseline.json"}, kInstalled);
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("en: 39 required, 33 present, 4 missing, 2 empty (84.6%)\n"
            "ru: 39 required, 29 present, 8 missing, 2 empty (74.4%)\n"
            "error: 24 findings: empty-hint 2, missing-button-hint 2, missing-button-short-name 2, "
            "missing-menu-item-description 2, missing-title 2 and 14 more kinds\n"
            "warning: 6 findings: include-not-found 2, missing-column-hint 2, input-without-validator 1, "
            "self-included-condition 1\n"
            "note: 33 findings: unused-message 25, repeated-message 4, no-such-action 2, "
            "textdata-named-like-field 1, untranslated 1\n"
            "baseline en: 0 new, 24 unchanged, 0 fixed\n"
            "baseline ru: 0 new, 28 unchanged, 0 fixed\n"
            "baseline (no language): 0 new, 11 unchanged, 0 fixed\n"
            "0 new findings at or above error\n",
            run.out);

  // Ten lines at the top of the description, the lists mailbox and
  // maildomain swapped, a German message file that the run does not audit.
  std::string description = scratch.Read("etc/xml/mailpnl.xml");
  description = Replace(description, "?>\n", "?>\n<!-- ten lines added\n" + std::string(8, '\n') + "-->\n");
  const std::string mailbox = Metadata(description, "mailbox");
  const std::string maildomain = Metadata(description, "maildomain");
  description = Replace(description, maildomain, "@MAILDOMAIN@");
  description = Replace(description, mailbox, maildomain);
  description = Replace(description, "@MAILDOMAIN@", mailbox);
  ASSERT_LT(description.find("<metadata name=\"maildomain\""), description.find("<metadata name=\"mailbox\""));
  scratch.Write("etc/xml/mailpnl.xml", description);
  scratch.Write("etc/xml/mailpnl_msg_de.xml",
                Replace(scratch.Read("etc/xml/mailpnl_msg_en.xml"), "<lang name=\"en\">", "<lang name=\"de\">"));
  // The English hint of the mailbox list's column state written: one
  // finding fixed. (A field's hint would do too, but the unused-message
  // audit does not know fields' hints and reports a new one as unused.)
  const std::string english = scratch.Read("etc/xml/mailpnl_msg_en.xml");
  const std::string hinted = Replace(english, "<msg name=\"state\">State</msg>\n",
                                     "<msg name=\"state\">State</msg>\n      <msg name=\"hint_state\">What the mailbox is doing now</msg>\n");
  // The English label of the mailbox's domain gone: one new finding (its
  // text "Domain" is still repeated by two other messages).
  scratch.Write("etc/xml/mailpnl_msg_en.xml",
                Replace(hinted, "      <msg name=\"domain\">Domain</msg>\n      <msg name=\"hint_domain\">", "      <msg name=\"hint_domain\">"));

  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru"}, kInstalled);
  run = RunProgram({"sbin/msglint-report", "--check", "--baseline", "msglint-baseline.json"}, kInstalled);
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("en: 39 required, 32 present, 5 missing, 2 empty (82.1%)\n"
            "ru: 39 required, 29 present, 8 missing, 2 empty (74.4%)\n"
            "error: 25 findings: empty-hint 2, missing-button-hint 2, missing-button-short-name 2, "
            "missing-label 2, missing-menu-item-description 2 and 14 more kinds\n"
            "warning: 5 findings: include-not-found 2, input-without-validator 1, missing-column-hint 1, "
            "self-included-condition 1\n"
            "note: 33 findings: unused-message 25, repeated-message 4, no-such-action 2, "
            "textdata-named-like-field 1, untranslated 1\n"
            "baseline en: 1 new, 23 unchanged, 1 fixed\n"
            "baseline ru: 0 new, 28 unchanged, 0 fixed\n"
            "baseline (no language): 0 new, 11 unchanged, 0 fixed\n"
            "1 new findings at or above error\n",
            run.out);

  // A baseline written now differs from the old one by the finding fixed
  // and the finding made, one line each.
  ASSERT_EQ(0, RunProgram({"sbin/msglint-report", "--write-baseline", "msglint-baseline-2.json"}, kInstalled).status);
  const std::set<std::string> before = Lines(baseline);
  const std::set<std::string> after = Lines(scratch.Read("msglint-baseline-2.json"));
  EXPECT_EQ(std::vector<std::string>{"    {\"kind\":\"missing-column-hint\",\"object\":\"mailbox\",\"element\":"
                                     "{\"type\":\"column\",\"name\":\"state\"},\"message\":\"hint_state\","
                                     "\"language\":\"en\",\"occurrence\":1}"},
            Only(before, after));
  EXPECT_EQ(std::vector<std::string>{"    {\"kind\":\"missing-label\",\"object\":\"mailbox.edit\",\"element\":"
                                     "{\"type\":\"field\",\"name\":\"domain\"},\"message\":\"domain\","
                                     "\"language\":\"en\",\"occurrence\":1}"},
            Only(after, before));


  // Without the new missing label the check passes.
  scratch.Write("etc/xml/mailpnl_msg_en.xml", hinted);
  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru"}, kInstalled);
  run = RunProgram({"sbin/msglint-report", "--check", "--baseline", "msglint-baseline.json"}, kInstalled);
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("en: 39 required, 33 present, 4 missing, 2 empty (84.6%)\n"
            "ru: 39 required, 29 present, 8 missing, 2 empty (74.4%)\n"
            "error: 24 findings: empty-hint 2, missing-button-hint 2, missing-button-short-name 2, "
            "missing-menu-item-description 2, missing-title 2 and 14 more kinds\n"
            "warning: 5 findings: include-not-found 2, input-without-validator 1, missing-column-hint 1, "
            "self-included-condition 1\n"
            "note: 33 findings: unused-message 25, repeated-message 4, no-such-action 2, "
            "textdata-named-like-field 1, untranslated 1\n"
            "baseline en: 0 new, 23 unchanged, 1 fixed\n"
            "baseline ru: 0 new, 28 unchanged, 0 fixed\n"
            "baseline (no language): 0 new, 11 unchanged, 0 fixed\n"
            "0 new findings at or above error\n",
            run.out);
  // Without the baseline the check still fails on every finding.
  EXPECT_EQ(1, RunProgram({"sbin/msglint-report", "--check"}, kInstalled).status);
}

// A findings file of the example installation in a scratch directory, and
// the report of it against the baseline `text`.
RunResult CheckAgainst(const std::string& text, const std::vector<std::string>& options = {"--check"}) {
  ScratchDir scratch;
  scratch.Write("findings.json", [] {
    std::string findings;
    pnl_file::ReadFile(std::string(E2E_SOURCE_DIR) + "/tests/report/data/example_findings.json", findings);
    return findings;
  }());
  scratch.Write("baseline.json", text);
  std::vector<std::string> argv = {std::string(E2E_PREFIX) + "/sbin/msglint-report"};
  argv.insert(argv.end(), options.begin(), options.end());
  argv.insert(argv.end(), {"--baseline", "baseline.json", "findings.json"});
  return RunProgram(argv, kInstalled);
}

TEST(BaselineEndToEndTest, RefusesABaselineOfAnotherManager) {
  const RunResult r = CheckAgainst(
      "{\n  \"format\": \"msglint-baseline\",\n  \"version\": 1,\n  \"manager\": \"kern\",\n"
      "  \"findings\": []\n}\n");
  EXPECT_EQ(7, r.status);
  EXPECT_EQ("msglint-report: the baseline baseline.json is of manager kern, the findings of manager "
            "mailpnl; nothing compared\n",
            r.out);
}

TEST(BaselineEndToEndTest, RefusesAMalformedBaseline) {
  RunResult r = CheckAgainst("{\n  \"format\": \"msglint-baseline\",\n  \"version\": 1,\n");
  EXPECT_EQ(4, r.status);
  EXPECT_EQ("msglint-report: the baseline baseline.json is malformed: not JSON; nothing compared\n", r.out);
  r = CheckAgainst("");
  EXPECT_EQ(4, r.status);
  EXPECT_EQ("msglint-report: the baseline baseline.json is malformed: not JSON; nothing compared\n", r.out);
  r = CheckAgainst(
      "{\"format\": \"msglint-baseline\", \"version\": 1, \"manager\": \"mailpnl\", \"findings\": [\n"
      "  {\"kind\": \"missing-hint\", \"object\": \"mailbox.edit\"}]}\n",
      {"--format", "sarif"});
  EXPECT_EQ(4, r.status);
  EXPECT_EQ("msglint-report: the baseline baseline.json is malformed: finding 1 lacks a part of its "
            "identity or has one of the wrong type; nothing compared\n",
            r.out);
}

TEST(BaselineEndToEndTest, RefusesForeignJson) {
  RunResult r = CheckAgainst("{\"name\": \"mailpnl\", \"version\": \"1.0.0\"}\n");
  EXPECT_EQ(5, r.status);
  EXPECT_EQ("msglint-report: baseline.json is not a baseline of msglint: JSON without \"format\": "
            "\"msglint-baseline\"; nothing compared\n",
            r.out);
  std::string findings;
  pnl_file::ReadFile(std::string(E2E_SOURCE_DIR) + "/tests/report/data/example_findings.json", findings);
  r = CheckAgainst(findings, {"--format", "html"});
  EXPECT_EQ(5, r.status);
  EXPECT_EQ("msglint-report: baseline.json is not a baseline of msglint: a findings file, not a baseline "
            "(msglint-report --write-baseline makes one); nothing compared\n",
            r.out);
}

TEST(BaselineEndToEndTest, RefusesABaselineOfANewerVersion) {
  const RunResult r = CheckAgainst(
      "{\n  \"format\": \"msglint-baseline\",\n  \"version\": 2,\n  \"manager\": \"mailpnl\",\n"
      "  \"findings\": [\"missing-hint|mailpnl|...\"]\n}\n");
  EXPECT_EQ(6, r.status);
  EXPECT_EQ("msglint-report: the baseline baseline.json has format version 2, written by a newer msglint; "
            "this one reads version 1; nothing compared\n",
            r.out);
}

TEST(BaselineEndToEndTest, RefusesAMissingBaseline) {
  ScratchDir scratch;
  const RunResult run =
      RunProgram({std::string(E2E_PREFIX) + "/sbin/msglint-report", "--check", "--baseline", "nothing.json",
                  std::string(E2E_SOURCE_DIR) + "/tests/report/data/example_findings.json"},
                 kInstalled);
  EXPECT_EQ(3, run.status);
  EXPECT_EQ("msglint-report: cannot read the baseline nothing.json; nothing compared\n", run.out);
}

TEST(BaselineEndToEndTest, WritesABaselineOfARunWithInputProblemsAndSaysWhatItLacks) {
  ScratchDir scratch;
  InstallExample(scratch);
  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru"}, kInstalled);
  ASSERT_EQ(0, RunProgram({"sbin/msglint-report", "--write-baseline", "without-de.json"}, kInstalled).status);
  // German has no message file: the run drops it and says so in the
  // findings file.
  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru", "de"}, kInstalled);
  const RunResult run = RunProgram({"sbin/msglint-report", "--write-baseline", "msglint-baseline.json"},
                                   {.no_sleep = true});
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ("msglint-report: warning: the run had input problems; the findings they hid are not in the "
            "baseline msglint-baseline.json:\n"
            "input problem: dropped-language etc/xml/mailpnl_msg_de.xml [de]: no message file: the "
            "language is not audited\n",
            run.err);
  // What the run saw is all there: the same bytes as without the dropped
  // language.
  EXPECT_EQ(scratch.Read("without-de.json"), scratch.Read("msglint-baseline.json"));
}

TEST(BaselineEndToEndTest, NeverWritesABaselineThroughALink) {
  ScratchDir scratch;
  scratch.Write("target.json", "kept\n");
  scratch.Link("target.json", "baseline.json");
  const RunResult run =
      RunProgram({std::string(E2E_PREFIX) + "/sbin/msglint-report", "--write-baseline", "baseline.json",
                  std::string(E2E_SOURCE_DIR) + "/tests/report/data/example_findings.json"},
                 kInstalled);
  EXPECT_EQ(2, run.status);
  EXPECT_EQ("msglint-report: cannot write the baseline baseline.json: is a symbolic link\n", run.out);
  EXPECT_EQ("kept\n", scratch.Read("target.json"));
}

}  // namespace
