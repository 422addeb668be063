#include "testutils/findings.h"

#include <sys/stat.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "findings/paths.h"
#include "support/scratch_dir.h"

namespace {

using nlohmann::json;
using testing_support::ScratchDir;

Finding MissingHint() {
  Finding f;
  f.kind = "missing-hint";
  f.audit = "missing-messages";
  f.object = "user.edit";
  f.element_type = "field";
  f.element = "name";
  f.language = "en";
  f.result_bit = 2;
  f.message_name = "hint_name";
  f.section = "user.edit";
  f.file = "etc/xml/m.xml";
  f.line = 7;
  f.report = "There is no hint ...\n";
  f.audit_line = "HINT user.edit.name en";
  return f;
}

TEST(FindingsRecorderTest, WritesTheWholeDocument) {
  FindingsRecorder recorder;
  recorder.SetRun("m", "-s", {"-s", "en", "fr"});
  recorder.SetLanguages({"en"});
  recorder.Present("en", "user.edit");
  recorder.Present("en", "user.edit");
  recorder.Present("en", "user.edit");
  recorder.Add(MissingHint());
  InputProblem dropped;
  dropped.kind = "dropped-language";
  dropped.file = "etc/xml/m_msg_fr.xml";
  dropped.language = "fr";
  dropped.message = "no message file: the language is not audited";
  recorder.AddProblem(dropped);

  const json expected = json::parse(R"({
    "schema": "msglint-findings", "version": 1,
    "run": {"manager": "m", "mode": "short", "arguments": ["-s", "en", "fr"],
            "languages": ["en"]},
    "statistics": [
      {"language": "en", "required": 4, "present": 3, "missing": 1, "empty": 0,
       "percent": 75.0,
       "objects": [{"object": "user.edit", "required": 4, "present": 3, "missing": 1,
                    "empty": 0, "percent": 75.0}]}],
    "findings": [
      {"id": 1, "kind": "missing-hint", "level": "error", "audit": "missing-messages",
       "manager": "m", "object": "user.edit", "element": {"type": "field", "name": "name"},
       "language": "en", "result_bit": 2,
       "message": {"name": "hint_name", "section": "user.edit", "file": "etc/xml/m_msg_en.xml",
                   "add": "<msg name=\"hint_name\"></msg>"},
       "location": {"file": "etc/xml/m.xml", "line": 7},
       "report": "There is no hint ...\n", "audit_line": "HINT user.edit.name en",
       "input_problem": false}],
    "input_problems": [
      {"kind": "dropped-language", "file": "etc/xml/m_msg_fr.xml", "line": null,
       "message": "no message file: the language is not audited", "language": "fr"}]
  })");
  EXPECT_EQ(expected, json::parse(recorder.ToJson()));
  // The keys keep the order in which the document lists them.
  EXPECT_EQ(0u, recorder.ToJson().find("{\n  \"schema\": \"msglint-findings\",\n  \"version\": 1,"));
}

// The document written piece by piece is byte for byte the one dumped whole
// from the findings as given: with no finding, one, several, problems of one
// language and of all, texts that need escaping and bytes that are not
// UTF-8.
TEST(FindingsRecorderTest, PiecesMakeTheLiteralDocument) {
  auto check = [](FindingsRecorder& recorder) {
    EXPECT_EQ(recorder.LiteralJson(), recorder.ToJson());
  };
  FindingsRecorder recorder;
  recorder.KeepFindings();
  check(recorder);
  recorder.SetRun("m", "-f", {"-f", "en", "fr"});
  recorder.SetLanguages({"en", "ru"});
  check(recorder);
  recorder.Add(MissingHint());
  check(recorder);
  Finding other = MissingHint();
  other.kind = "unused-message";
  other.audit = "unused";
  other.language = "ru";
  other.report = "line \"one\"\n\ttab \\ back\n";
  other.message_name = "";
  other.file = "";
  recorder.Add(other);
  Finding bare;
  bare.kind = "self-included-condition";
  bare.report = "bad \xff byte\n";
  recorder.Add(bare);
  recorder.Present("en", "user.edit");
  check(recorder);
  InputProblem ru;
  ru.kind = "malformed-file";
  ru.language = "ru";
  recorder.AddProblem(ru);
  check(recorder);
  InputProblem all;
  all.kind = "missing-file";
  all.file = "etc/xml/m.xml";
  recorder.AddProblem(all);
  check(recorder);
  EXPECT_EQ(3, recorder.finding_count());
}

TEST(FindingsRecorderTest, FindingsKeptOutOfMemoryMakeTheSameDocument) {
  // Several megabytes of findings: the full blocks go to a scratch file.
  ScratchDir dir;
  FindingsRecorder recorder;
  recorder.KeepFindings();
  recorder.SetRun("m", "-f", {"-f", "en", "ru"});
  recorder.SetLanguages({"en", "ru"});
  for (int i = 0; i < 6000; ++i) {
    Finding finding = MissingHint();
    finding.language = i % 3 == 0 ? "ru" : "en";
    finding.element = "field" + std::to_string(i);
    finding.report = std::string(600 + i % 500, 'a' + i % 26) + "\n";
    recorder.Add(finding);
  }
  InputProblem ru;
  ru.kind = "malformed-file";
  ru.language = "ru";
  recorder.AddProblem(ru);
  const std::string literal = recorder.LiteralJson();
  EXPECT_GT(literal.size(), 5000000u);
  EXPECT_EQ(literal, recorder.ToJson());
  EXPECT_TRUE(recorder.Write(dir.path()));
  EXPECT_EQ(literal, dir.Read(findings::FindingsFile()));
}

TEST(FindingsRecorderTest, AProblemOfAllLanguagesMarksEveryFinding) {
  FindingsRecorder recorder;
  recorder.Add(MissingHint());
  InputProblem problem;
  problem.kind = "malformed-file";
  problem.file = "etc/xml/m.xml";
  problem.line = 3;
  recorder.AddProblem(problem);
  EXPECT_EQ(true, json::parse(recorder.ToJson())["findings"][0]["input_problem"]);
}

TEST(FindingsRecorderTest, WritesUnderVarAndRefusesLinks) {
  ScratchDir dir;
  FindingsRecorder recorder;
  EXPECT_TRUE(recorder.Write(dir.path()));
  EXPECT_EQ(recorder.ToJson(), dir.Read(findings::FindingsFile()));

  ScratchDir other;
  other.MakeDir("elsewhere");
  other.MakeDir("var");
  other.Link(other.path() + "/elsewhere", "var/msglint");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(recorder.Write(other.path()));
  EXPECT_EQ("msglint: cannot write var/msglint/findings.json: refusing a symbolic link\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ("", other.Read("elsewhere/findings.json"));
}

TEST(InputProblemsTest, DroppedUnexaminedMalformedAndMissing) {
  ScratchDir dir;
  dir.Write("etc/xml/m.xml", "<pnldata>\n<metadata>\n</pnldata>\n");
  dir.Write("etc/xml/m_msg_en.xml", "<pnldata/>\n");
  FindingsRecorder recorder;
  // "fr" has no file: dropped; "de", moved into its place, is kept unexamined.
  RecordInputProblems(recorder, dir.path(), "m", {"en", "fr", "de"}, {"en", "de"});
  const json problems = json::parse(recorder.ToJson())["input_problems"];
  ASSERT_EQ(3u, problems.size());
  EXPECT_EQ("malformed-file", problems[0]["kind"]);
  EXPECT_EQ("etc/xml/m.xml", problems[0]["file"]);
  EXPECT_EQ(3, problems[0]["line"]);
  EXPECT_EQ("dropped-language", problems[1]["kind"]);
  EXPECT_EQ("fr", problems[1]["language"]);
  EXPECT_EQ("language-not-checked", problems[2]["kind"]);
  EXPECT_EQ("de", problems[2]["language"]);
}

TEST(InputProblemsTest, DirectoryAndFifoAreNamedAsSuch) {
  ScratchDir dir;
  dir.Write("etc/xml/m.xml", "<pnldata/>\n");
  dir.MakeDir("etc/xml/m_msg_en.xml");
  ASSERT_EQ(0, mkfifo((dir.path() + "/etc/xml/m_msg_ru.xml").c_str(), 0644));
  FindingsRecorder recorder;
  RecordInputProblems(recorder, dir.path(), "m", {"en", "ru"}, {"en", "ru"});
  const json problems = json::parse(recorder.ToJson())["input_problems"];
  ASSERT_EQ(2u, problems.size());
  EXPECT_EQ("unreadable-file", problems[0]["kind"]);
  EXPECT_EQ("a directory, not a regular file", problems[0]["message"]);
  EXPECT_EQ("unreadable-file", problems[1]["kind"]);
  EXPECT_EQ("a FIFO, not a regular file", problems[1]["message"]);
}

TEST(InputProblemsTest, MissingDescription) {
  ScratchDir dir;
  dir.Write("etc/xml/m_msg_en.xml", "<pnldata/>\n");
  FindingsRecorder recorder;
  RecordInputProblems(recorder, dir.path(), "m", {"en"}, {"en"});
  const json problems = json::parse(recorder.ToJson())["input_problems"];
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ("missing-file", problems[0]["kind"]);
  EXPECT_EQ("etc/xml/m.xml", problems[0]["file"]);
}

}  // namespace
