#include "report/report.h"

#include <gtest/gtest.h>

#include "report/report_testdata.h"

namespace {

using report::Json;

using report_testdata::Doc;
using report_testdata::kDoc;

TEST(ReportTest, RecognisesFindingsDocuments) {
  std::string why;
  EXPECT_TRUE(report::IsFindingsDocument(Doc(), why));
  EXPECT_FALSE(report::IsFindingsDocument(Json::parse(R"({"schema": "other"})"), why));
  EXPECT_EQ("not a findings document of msglint", why);
  EXPECT_FALSE(report::IsFindingsDocument(Json::parse("[1]"), why));
}

TEST(ReportTest, CheckCountsFindingsAtOrAboveTheLevel) {
  std::string out;
  EXPECT_FALSE(report::Check(Doc(), "error", out));
  EXPECT_EQ("en: 4 required, 3 present, 1 missing, 0 empty (75.0%)\n"
            "error: 1 findings: missing-hint 1\n"
            "note: 1 findings: unused-message 1\n"
            "1 findings at or above error\n",
            out);
  out.clear();
  EXPECT_FALSE(report::Check(Doc(), "note", out));
  EXPECT_EQ("2 findings at or above note\n", out.substr(out.rfind('\n', out.size() - 2) + 1));

  Json clean = Doc();
  clean["findings"] = Json::array();
  out.clear();
  EXPECT_TRUE(report::Check(clean, "note", out));
}

TEST(ReportTest, CheckFailsOnAnInputProblemAndNamesIt) {
  Json doc = Doc();
  doc["findings"] = Json::array();
  doc["input_problems"] = Json::parse(
      R"([{"kind": "malformed-file", "file": "etc/xml/m.xml", "line": 3,
           "message": "Opening and ending tag mismatch", "language": null}])");
  std::string out;
  EXPECT_FALSE(report::Check(doc, "error", out));
  EXPECT_NE(std::string::npos,
            out.find("input problem: malformed-file etc/xml/m.xml:3: "
                     "Opening and ending tag mismatch\n"));
}

TEST(ReportTest, InputProblemLinesNameEveryPartThatIsThere) {
  Json doc = Doc();
  EXPECT_EQ("", report::InputProblemLines(doc));
  doc["input_problems"] = Json::parse(
      R"([{"kind": "malformed-file", "file": "etc/xml/m.xml", "line": 3,
           "message": "Opening and ending tag mismatch", "language": null},
          {"kind": "dropped-language", "file": "etc/xml/m_msg_de.xml", "line": 0,
           "message": "no message file: the language is not audited", "language": "de"},
          {"kind": "panel-query-failed", "file": null, "line": 0,
           "message": "no answer", "language": null}])");
  EXPECT_EQ(
      "input problem: malformed-file etc/xml/m.xml:3: Opening and ending tag mismatch\n"
      "input problem: dropped-language etc/xml/m_msg_de.xml [de]: no message file: the language "
      "is not audited\n"
      "input problem: panel-query-failed: no answer\n",
      report::InputProblemLines(doc));
}

TEST(ReportTest, SarifHasOneRulePerKindAndFingerprintsWithoutLines) {
  const Json sarif = report::ToSarif(Doc());
  EXPECT_EQ("2.1.0", sarif["version"]);
  const Json& run = sarif["runs"][0];
  ASSERT_EQ(2u, run["tool"]["driver"]["rules"].size());
  EXPECT_EQ("missing-hint", run["tool"]["driver"]["rules"][0]["id"]);
  const Json& result = run["results"][0];
  EXPECT_EQ("error", result["level"]);
  EXPECT_EQ("etc/xml/m.xml", result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]);
  EXPECT_EQ(7, result["locations"][0]["physicalLocation"]["region"]["startLine"]);
  EXPECT_EQ("etc/xml/m_msg_en.xml",
            result["relatedLocations"][0]["physicalLocation"]["artifactLocation"]["uri"]);
  EXPECT_EQ("missing-hint|m|user.edit|field:name|hint_name|en|1",
            result["partialFingerprints"]["msglintFinding/v2"]);
  EXPECT_FALSE(result.contains("baselineState"));

  Json moved = Doc();
  moved["findings"][0]["location"]["line"] = 70;
  EXPECT_EQ(result["partialFingerprints"],
            report::ToSarif(moved)["runs"][0]["results"][0]["partialFingerprints"]);
}

// A finding of the texts audit in section user.edit of Russian: it
// printed nothing, and the SARIF log and the check tell it by
// what differs and by its two texts.
Json TextsFinding(int id, const std::string& kind, const std::string& level,
                  const std::string& name, int line, const std::string& reference,
                  const std::string& text, const std::string& difference) {
  Json f = Json::parse(R"({"audit": "texts", "manager": "m", "object": "user.edit",
     "element": null, "language": "ru", "result_bit": null,
     "message": {"section": "user.edit", "file": "etc/xml/m_msg_ru.xml", "add": null},
     "location": {"file": "etc/xml/m_msg_ru.xml"}, "report": "", "audit_line": null,
     "comparison": {"reference_language": "en"}, "input_problem": false})");
  f["id"] = id;
  f["kind"] = kind;
  f["level"] = level;
  f["message"]["name"] = name;
  f["location"]["line"] = line;
  f["comparison"]["reference"] = reference;
  f["comparison"]["text"] = text;
  f["comparison"]["difference"] = difference;
  return f;
}

Json TextsDoc() {
  Json doc = Doc();
  doc["run"]["languages"] = Json::array({"en", "ru"});
  doc["findings"] = Json::array(
      {TextsFinding(1, "placeholder-mismatch", "error", "hint_name", 9, "%s of <%d>",
                    "%d из\n<%s>", "en has %s, %d; ru has %d, %s"),
       TextsFinding(2, "untranslated", "note", "title", 4, "User", "User", "ru has the en text")});
  return doc;
}

TEST(ReportTest, TextsFindingsTellWhatDiffersAndBothTexts) {
  const Json sarif = report::ToSarif(TextsDoc());
  const Json& run = sarif["runs"][0];
  ASSERT_EQ(2u, run["tool"]["driver"]["rules"].size());
  EXPECT_EQ("note", run["tool"]["driver"]["rules"][1]["defaultConfiguration"]["level"]);
  const Json& result = run["results"][0];
  EXPECT_EQ("en has %s, %d; ru has %d, %s\nen: \"%s of <%d>\"\nru: \"%d из\n<%s>\"",
            result["message"]["text"]);
  EXPECT_EQ("etc/xml/m_msg_ru.xml",
            result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]);
  EXPECT_EQ(9, result["locations"][0]["physicalLocation"]["region"]["startLine"]);
  EXPECT_FALSE(result.contains("relatedLocations"));
  EXPECT_EQ("placeholder-mismatch|m|user.edit||hint_name|ru|1",
            result["partialFingerprints"]["msglintFinding/v2"]);

  std::string out;
  EXPECT_FALSE(report::Check(TextsDoc(), "error", out));
  EXPECT_NE(std::string::npos, out.find("1 findings at or above error\n"));
  out.clear();
  EXPECT_FALSE(report::Check(TextsDoc(), "note", out));
  EXPECT_NE(std::string::npos, out.find("2 findings at or above note\n"));
}

TEST(ReportTest, TextsFindingsKeepTheirIdentityInABaseline) {
  Json before = TextsDoc();
  before["findings"][0]["location"]["line"] = 90;
  before["findings"][0]["comparison"]["text"] = "%d из %s";
  const report::Comparison comparison = report::Compare(TextsDoc(), report::Baseline::Of(before));
  ASSERT_EQ(2u, comparison.states.size());
  EXPECT_EQ(report::BaselineState::kUnchanged, comparison.states[0]);
  EXPECT_EQ(report::BaselineState::kUnchanged, comparison.states[1]);
  EXPECT_TRUE(comparison.absent.empty());
}

// The example document compared with a baseline that holds its unused
// message and a missing label that is gone; its missing hint is new.
report::Comparison Compared() {
  Json before = Doc();
  before["findings"].erase(0);
  Json label = Doc()["findings"][0];
  label["kind"] = "missing-label";
  label["element"]["name"] = "mail";
  label["message"]["name"] = "mail";
  before["findings"].push_back(label);
  return report::Compare(Doc(), report::Baseline::Of(before));
}

TEST(ReportTest, SarifWithBaselineGivesEveryResultItsState) {
  const report::Comparison comparison = Compared();
  const Json sarif = report::ToSarif(Doc(), &comparison);
  const Json& results = sarif["runs"][0]["results"];
  ASSERT_EQ(3u, results.size());
  EXPECT_EQ("new", results[0]["baselineState"]);
  EXPECT_EQ("unchanged", results[1]["baselineState"]);
  EXPECT_EQ("absent", results[2]["baselineState"]);
  EXPECT_EQ("missing-label", results[2]["ruleId"]);
  EXPECT_EQ(2, results[2]["ruleIndex"]);
  EXPECT_EQ("missing-label", sarif["runs"][0]["tool"]["driver"]["rules"][2]["id"]);
  EXPECT_EQ("none", results[2]["level"]);
  EXPECT_EQ("Fixed since the baseline: missing-label field mail in user.edit, message mail [en].",
            results[2]["message"]["text"]);
  EXPECT_EQ("missing-label|m|user.edit|field:mail|mail|en|1",
            results[2]["partialFingerprints"]["msglintFinding/v2"]);
  // Where it was is not kept: the manager's description stands for it.
  EXPECT_EQ(Json::parse(R"([{"physicalLocation": {"artifactLocation": {"uri": "etc/xml/m.xml"}}}])"),
            results[2]["locations"]);
}

TEST(ReportTest, CheckWithBaselineFailsOnlyOnNewFindings) {
  const report::Comparison comparison = Compared();
  std::string out;
  EXPECT_FALSE(report::Check(Doc(), "error", out, &comparison));
  EXPECT_EQ("en: 4 required, 3 present, 1 missing, 0 empty (75.0%)\n"
            "error: 1 findings: missing-hint 1\n"
            "note: 1 findings: unused-message 1\n"
            "baseline en: 1 new, 1 unchanged, 1 fixed\n"
            "1 new findings at or above error\n",
            out);

  // The hint in the baseline too: nothing new.
  const report::Comparison same = report::Compare(Doc(), report::Baseline::Of(Doc()));
  out.clear();
  EXPECT_TRUE(report::Check(Doc(), "note", out, &same));
  EXPECT_EQ("en: 4 required, 3 present, 1 missing, 0 empty (75.0%)\n"
            "error: 1 findings: missing-hint 1\n"
            "note: 1 findings: unused-message 1\n"
            "baseline en: 0 new, 2 unchanged, 0 fixed\n"
            "0 new findings at or above note\n",
            out);

  // Only the unused message new: a note, below the level.
  Json before = Doc();
  before["findings"].erase(1);
  const report::Comparison note = report::Compare(Doc(), report::Baseline::Of(before));
  out.clear();
  EXPECT_TRUE(report::Check(Doc(), "warning", out, &note));
  EXPECT_EQ("0 new findings at or above warning\n", out.substr(out.rfind('\n', out.size() - 2) + 1));
}

TEST(ReportTest, CheckWithBaselineCountsFindingsOfNoLanguageAndOtherLanguages) {
  Json doc = Doc();
  doc["findings"][1]["language"] = nullptr;
  Json before = Doc();
  before["findings"][0]["language"] = "de";
  const report::Comparison comparison = report::Compare(doc, report::Baseline::Of(before));
  std::string out;
  EXPECT_FALSE(report::Check(doc, "error", out, &comparison));
  EXPECT_EQ("en: 4 required, 3 present, 1 missing, 0 empty (75.0%)\n"
            "error: 1 findings: missing-hint 1\n"
            "note: 1 findings: unused-message 1\n"
            "baseline en: 1 new, 0 unchanged, 1 fixed\n"
            "baseline de: 0 new, 0 unchanged, 1 fixed\n"
            "baseline (no language): 1 new, 0 unchanged, 0 fixed\n"
            "1 new findings at or above error\n",
            out);
}

}  // namespace

namespace {

// A document of `count` findings of `kind` at `level`, each of its own
// field.
Json Many(Json doc, const std::string& kind, const std::string& level, int count) {
  Json finding = doc["findings"][0];
  for (int i = 0; i < count; ++i) {
    finding["kind"] = kind;
    finding["level"] = level;
    finding["element"]["name"] = kind + std::to_string(i);
    doc["findings"].push_back(finding);
  }
  return doc;
}

TEST(ReportTest, KindCountsShowTheFiveMostFrequentOfEachLevel) {
  Json doc = Doc();
  doc["findings"] = Json::array({Doc()["findings"][0]});
  doc = Many(doc, "empty-hint", "error", 3);
  doc = Many(doc, "missing-label", "error", 5);
  doc = Many(doc, "missing-title", "error", 2);
  doc = Many(doc, "wrong-convert", "error", 1);
  doc = Many(doc, "missing-convert", "error", 1);
  doc = Many(doc, "empty-label", "error", 1);
  doc = Many(doc, "missing-column-hint", "warning", 2);
  // missing-hint, missing-convert, wrong-convert and empty-label once each:
  // the first two names of those.
  EXPECT_EQ("error: 14 findings: missing-label 5, empty-hint 3, missing-title 2, empty-label 1, "
            "missing-convert 1 and 2 more kinds\n"
            "warning: 2 findings: missing-column-hint 2\n",
            report::KindCountLines(doc));
}

TEST(ReportTest, SarifWithinTheLimitKeepsErrorsFirstAndCountsWhatIsLeftOut) {
  Json doc = Many(Doc(), "unused-message", "note", 4);
  doc = Many(doc, "missing-column-hint", "warning", 2);
  doc = Many(doc, "missing-label", "error", 2);
  report::SarifLimits limits;
  limits.max_results = 4;
  report::SarifLeftOut left_out;
  const Json sarif = report::ToSarif(doc, nullptr, limits, &left_out);
  const Json& results = sarif["runs"][0]["results"];
  ASSERT_EQ(4u, results.size());
  // The three errors, then the first warning, in report order.
  EXPECT_EQ("missing-hint", results[0]["ruleId"]);
  EXPECT_EQ("missing-column-hint", results[1]["ruleId"]);
  EXPECT_EQ("missing-label", results[2]["ruleId"]);
  EXPECT_EQ("missing-label", results[3]["ruleId"]);
  EXPECT_EQ(4, left_out.written);
  EXPECT_EQ(0, left_out.errors);
  EXPECT_EQ(1, left_out.warnings);
  EXPECT_EQ(5, left_out.notes);
  EXPECT_EQ("the SARIF log holds 4 of 10 results; left out: 0 errors, 1 warnings, 5 notes, 0 fixed "
            "findings (--max-results 0 writes them all)",
            left_out.Describe());

  limits.max_results = 0;
  EXPECT_EQ(10u, report::ToSarif(doc, nullptr, limits, &left_out)["runs"][0]["results"].size());
  EXPECT_EQ(0, left_out.Total());
}

TEST(ReportTest, SarifWithinTheCompressedSizeLeavesOutTheLowestLevelsFirst) {
  Json doc = Many(Doc(), "unused-message", "note", 200);
  doc = Many(doc, "missing-label", "error", 5);
  report::SarifLimits limits;
  limits.max_gzip_bytes = 1500;
  report::SarifLeftOut left_out;
  const Json sarif = report::ToSarif(doc, nullptr, limits, &left_out);
  EXPECT_LE(report::GzipSize(sarif.dump()), 1500u);
  const Json& results = sarif["runs"][0]["results"];
  EXPECT_GT(left_out.notes, 0);
  EXPECT_EQ(0, left_out.errors);
  EXPECT_EQ(static_cast<long>(results.size()), left_out.written);
  EXPECT_EQ(207, left_out.written + left_out.Total());
  long errors = 0;
  for (const Json& r : results) errors += r["level"] == "error";
  EXPECT_EQ(6, errors);
  // Without the limit the log is larger.
  EXPECT_GT(report::GzipSize(report::ToSarif(doc, nullptr, report::SarifLimits{0, 0}).dump()), 1500u);
}

TEST(ReportTest, SarifRulesDriverAndRunCarryWhatServicesRequire) {
  const Json sarif = report::ToSarif(Doc());
  const Json& run = sarif["runs"][0];
  EXPECT_EQ("msglint/m/en/", run["automationDetails"]["id"]);
  EXPECT_TRUE(run["tool"]["driver"]["fullName"].is_string());
  EXPECT_TRUE(run["tool"]["driver"]["semanticVersion"].is_string());
  EXPECT_EQ(run["tool"]["driver"]["version"], run["tool"]["driver"]["semanticVersion"]);
  const Json& rule = run["tool"]["driver"]["rules"][0];
  EXPECT_EQ("missing-hint", rule["id"]);
  EXPECT_EQ("MissingHint", rule["name"]);
  EXPECT_EQ("A form field has no hint_FIELD message in the form's section.", rule["shortDescription"]["text"]);
  EXPECT_EQ("A form field has no hint_FIELD message in the form's section. Reported by the "
            "missing-messages audit, which sets bit 2 of the run's status.",
            rule["fullDescription"]["text"]);
  EXPECT_TRUE(rule["help"]["text"].is_string());
}

TEST(ReportTest, SarifRepeatedTextPointsAtEachMessage) {
  Json doc = Doc();
  Json& f = doc["findings"][1];
  f["kind"] = "repeated-message";
  f["object"] = nullptr;
  f["element"] = Json::parse(R"({"type": "text", "name": "Name"})");
  f["message"] = nullptr;
  f["location"] = nullptr;
  f["report"] = "2 - 'Name'\n\tuser.msg.en.xml name\n\tuser.edit.msg.en.xml title\n";
  const Json result = report::ToSarif(doc)["runs"][0]["results"][1];
  EXPECT_EQ(Json::parse(R"([{"physicalLocation": {"artifactLocation": {"uri": "etc/xml/m_msg_en.xml"}},
                             "message": {"text": "Message name of section user."}}])"),
            result["locations"]);
  EXPECT_EQ(Json::parse(R"([{"physicalLocation": {"artifactLocation": {"uri": "etc/xml/m_msg_en.xml"}},
                             "message": {"text": "Message title of section user.edit."}, "id": 1}])"),
            result["relatedLocations"]);
}

}  // namespace
