#include "report/report.h"

#include <gtest/gtest.h>

namespace {

using report::Json;

const char kDoc[] = R"({
  "schema": "msglint-findings", "version": 1,
  "run": {"manager": "m", "mode": "short", "arguments": ["-s", "en"], "languages": ["en"]},
  "statistics": [{"language": "en", "required": 4, "present": 3, "missing": 1, "empty": 0,
                  "percent": 75.0, "objects": []}],
  "findings": [
    {"id": 1, "kind": "missing-hint", "level": "error", "audit": "missing-messages",
     "manager": "m", "object": "user.edit", "element": {"type": "field", "name": "name"},
     "language": "en", "result_bit": 2,
     "message": {"name": "hint_name", "section": "user.edit", "file": "etc/xml/m_msg_en.xml",
                 "add": "<msg name=\"hint_name\"></msg>"},
     "location": {"file": "etc/xml/m.xml", "line": 7},
     "report": "There is no hint for field \"name\" from \"user.edit\" on en language.\n",
     "audit_line": "HINT user.edit.name en", "input_problem": false},
    {"id": 2, "kind": "unused-message", "level": "note", "audit": "unused",
     "manager": "m", "object": "user", "element": {"type": "message", "name": "x"},
     "language": "en", "result_bit": null,
     "message": {"name": "x", "section": "user", "file": "etc/xml/m_msg_en.xml", "add": null},
     "location": {"file": "etc/xml/m_msg_en.xml", "line": 12},
     "report": "\tx - column is not found. \t\t msgtext: X\n", "audit_line": null,
     "input_problem": false}],
  "input_problems": []
})";

Json Doc() { return Json::parse(kDoc); }

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
            "1 findings at or above error\n",
            out);
  out.clear();
  EXPECT_FALSE(report::Check(Doc(), "note", out));
  EXPECT_EQ("2 findings at or above note\n", out.substr(out.find('\n') + 1));

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
  EXPECT_EQ("missing-hint|m|user.edit|field:name|hint_name|en",
            result["partialFingerprints"]["msglintFinding/v1"]);

  Json moved = Doc();
  moved["findings"][0]["location"]["line"] = 70;
  EXPECT_EQ(result["partialFingerprints"],
            report::ToSarif(moved)["runs"][0]["results"][0]["partialFingerprints"]);
}

TEST(ReportTest, HtmlShowsCoverageLocationsAndWhatToAdd) {
  const std::string html = report::ToHtml(Doc());
  EXPECT_NE(std::string::npos, html.find("75.0%"));
  EXPECT_NE(std::string::npos, html.find("etc/xml/m.xml:7"));
  EXPECT_NE(std::string::npos, html.find("&lt;msg name=&quot;hint_name&quot;&gt;&lt;/msg&gt;"));
  EXPECT_EQ(std::string::npos, html.find("http://"));
  EXPECT_EQ(std::string::npos, html.find("<script"));
}

}  // namespace
