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

// Every line of `text`, without its line break.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

// The translator's work: every entry of the exported PO file gets a text
// of its own ("Перевод N", translation N), so that no two messages share
// one and none is the English text. Gives the contexts of the entries.
std::set<std::string> Translate(const std::string& exported, std::string* filled) {
  std::set<std::string> contexts;
  std::vector<std::string> lines = Lines(exported);
  int n = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (line.rfind("msgctxt \"", 0) == 0) contexts.insert(line.substr(9, line.size() - 10));
    bool last = i + 1 == lines.size() || lines[i + 1].empty();
    if (line == "msgstr \"\"" && last && !contexts.empty())
      *filled += "msgstr \"\xd0\x9f\xd0\xb5\xd1\x80\xd0\xb5\xd0\xb2\xd0\xbe\xd0\xb4 " +
                 std::to_string(++n) + "\"\n";
    else
      *filled += line + "\n";
  }
  return contexts;
}

// The lines of a message file without those of the messages named in
// `contexts` (SECTION/NAME) that are empty or hold a translation of
// Translate().
std::string WithoutTranslatedMessages(const std::string& file,
                                      const std::set<std::string>& contexts) {
  std::set<std::string> names;
  for (const std::string& c : contexts) names.insert(c.substr(c.rfind('/') + 1));
  std::string out;
  for (const std::string& line : Lines(file)) {
    bool drop = false;
    for (const std::string& name : names) {
      std::string open = "<msg name=\"" + name + "\"";
      if (line.find(open) == std::string::npos) continue;
      drop = line.find("></msg>") != std::string::npos ||
             line.find("\xd0\x9f\xd0\xb5\xd1\x80\xd0\xb5\xd0\xb2\xd0\xbe\xd0\xb4 ") != std::string::npos;
    }
    if (!drop) out += line + "\n";
  }
  return out;
}

// The translators' round trip: the audit, the export of what Russian
// needs, the translation, the import, the audit again. The second run
// reports what the first did, less the missing and empty Russian messages
// that the PO file held (and the repeats of the empty text that they
// shared); the file stays well-formed and changes only in those messages.
TEST(FixEndToEndTest, TranslatorsRoundTripFillsExactlyTheExportedMessages) {
  ScratchDir scratch;
  InstallExample(scratch);
  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru"}, kInstalled);
  if (!pnl_file::Exists(findings::FindingsFile()))
    GTEST_SKIP() << "the run wrote no findings file";
  json before = ReadFindings();
  ASSERT_FALSE(before.is_discarded());
  const std::string ru_before = scratch.Read("etc/xml/mailpnl_msg_ru.xml");

  RunResult run = RunProgram(
      {"sbin/msglint-fix", "mailpnl", "ru", "--export", "ru.po", "--source", "en"}, kInstalled);
  ASSERT_EQ(0, run.status) << run.out;
  EXPECT_EQ("ru.po: 10 messages of language ru to translate\n", run.out);
  run = RunProgram({"msgfmt", "--check", "-o", "/dev/null", "ru.po"});
  EXPECT_EQ(0, run.status) << run.err;
  std::string filled;
  std::set<std::string> contexts = Translate(scratch.Read("ru.po"), &filled);
  ASSERT_EQ(10u, contexts.size());
  scratch.Write("ru-filled.po", filled);
  run = RunProgram({"msgfmt", "--check", "-o", "/dev/null", "ru-filled.po"});
  EXPECT_EQ(0, run.status) << run.err;

  run = RunProgram({"sbin/msglint-fix", "mailpnl", "ru", "--import", "ru-filled.po"}, kInstalled);
  EXPECT_EQ(0, run.status) << run.out;
  EXPECT_EQ(
      "etc/xml/mailpnl_msg_ru.xml: 2 messages filled, 8 added; the file as it was is "
      "etc/xml/mailpnl_msg_ru.xml.orig\n",
      run.out);
  const std::string ru_after = scratch.Read("etc/xml/mailpnl_msg_ru.xml");
  run = RunProgram({"xmllint", "--noout", "etc/xml/mailpnl_msg_ru.xml"});
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_EQ(WithoutTranslatedMessages(ru_before, contexts),
            WithoutTranslatedMessages(ru_after, contexts));

  std::multiset<std::string> expected;
  int gone = 0;
  for (const json& f : before["findings"]) {
    std::string kind = f["kind"].get<std::string>();
    bool ru = f["language"] == "ru";
    bool exported = ru && f["message"].is_object() &&
                    contexts.count(f["message"]["section"].get<std::string>() + "/" +
                                   f["message"]["name"].get<std::string>()) > 0 &&
                    (kind.rfind("missing-", 0) == 0 || kind.rfind("empty-", 0) == 0);
    bool empty_repeat = ru && kind == "repeated-message" && f["element"]["name"] == "";
    if (exported || empty_repeat)
      ++gone;
    else
      expected.insert(Key(f, kind));
  }
  // Eleven findings of ten messages (the title of the autoreply form is
  // missing for both of its forms), and the repeat of the empty text.
  EXPECT_EQ(12, gone);
  RunProgram({"sbin/msglint", "mailpnl", "-f", "en", "ru"}, kInstalled);
  json after = ReadFindings();
  ASSERT_FALSE(after.is_discarded());
  EXPECT_EQ(expected, Keys(after));

  // Nothing is left to export but what the run still reports.
  run = RunProgram({"sbin/msglint-fix", "mailpnl", "ru", "--export", "again.po"}, kInstalled);
  EXPECT_EQ("again.po: 0 messages of language ru to translate\n", run.out);
}

}  // namespace
