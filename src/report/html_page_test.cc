#include "report/html_page.h"

#include <gtest/gtest.h>

#include "report/report_testdata.h"

namespace {

using report::Json;

using report_testdata::Doc;
using report_testdata::kDoc;

// The text between the page's data element's tags.
std::string DataBlock(const std::string& page) {
  const std::string open = "<script type=\"application/json\" id=\"findings-data\">";
  const size_t start = page.find(open);
  if (start == std::string::npos) return "";
  const size_t end = page.find("</script>", start);
  return page.substr(start + open.size(), end - start - open.size());
}

size_t Count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

// The texts used most have the smallest indexes: "en" and the message file
// three times each, then those used twice, then the rest, each group in the
// order first used.
TEST(HtmlPageTest, DataBlockOfASmallRun) {
  EXPECT_EQ(
      "{\"manager\":\"m\",\"command\":\"sbin/msglint m -s en\",\"baseline\":false,"
      "\"statistics\":[[1,4,3,1,0,75.0,[]]],\"problems\":[],"
      "\"help\":[[3,\"A form field has no hint_FIELD message in the form's section.\"],"
      "[4,\"A message that nothing in its form or list uses.\"]],"
      "\"findings\":["
      "[0,8,3,5,9,10,1,11,5,2,12,13,7,"
      "\"There is no hint for field \\\"name\\\" from \\\"user.edit\\\" on en language.\"],"
      "[0,14,4,6,15,7,1,7,6,2,0,2,12,\"\\tx - column is not found. \\t\\t msgtext: X\"]],"
      "\"strings\":[\"\",\"en\",\"etc/xml/m_msg_en.xml\",\"missing-hint\",\"unused-message\","
      "\"user.edit\",\"user\",\"x\",\"error\",\"field\",\"name\",\"hint_name\","
      "\"\\u003cmsg name=\\\"hint_name\\\">\\u003c/msg>\",\"etc/xml/m.xml\",\"note\",\"message\"]}",
      DataBlock(report::ToHtml(Doc())));
}

TEST(HtmlPageTest, HostileNamesCannotBreakThePage) {
  const std::string hostile = "a\"b</script><!--&amp;\tc\nd'e</SCRIPT >";
  Json doc = Doc();
  doc["run"]["manager"] = hostile;
  doc["findings"][0]["object"] = hostile;
  doc["findings"][0]["element"]["name"] = hostile;
  doc["findings"][0]["report"] = hostile + "\n";
  doc["statistics"][0]["language"] = hostile;
  const std::string page = report::ToHtml(doc);
  const std::string block = DataBlock(page);

  // Only the page's own two script elements end, and nothing opens a comment.
  EXPECT_EQ(2u, Count(page, "</script>"));
  EXPECT_EQ(0u, Count(page, "<!--"));
  EXPECT_EQ(std::string::npos, block.find_first_of("<\t\n"));
  EXPECT_NE(std::string::npos, block.find("\"a\\\"b\\u003c/script>\\u003c!--&amp;\\tc\\nd'e\\u003c/SCRIPT >\""));
  // Read back, the data holds the names as they were.
  const Json data = Json::parse(block);
  EXPECT_EQ(hostile, data["manager"]);
  EXPECT_EQ(hostile, data["strings"][data["findings"][0][3].get<int>()]);
  EXPECT_EQ(hostile, data["strings"][data["findings"][0][5].get<int>()]);
  EXPECT_EQ(hostile, data["findings"][0][13]);
  // In the title and heading the name is text.
  EXPECT_NE(std::string::npos,
            page.find("<title>msglint findings: a&quot;b&lt;/script&gt;&lt;!--&amp;amp;\tc\nd'e&lt;/SCRIPT "
                      "&gt;</title>"));
}

TEST(HtmlPageTest, BytesThatAreNotUtf8AreReplaced) {
  Json data = Json::object();
  data["name"] = std::string("a\xff<b");
  EXPECT_EQ("{\"name\":\"a\xef\xbf\xbd\\u003cb\"}", report::ScriptJson(data));
}

TEST(HtmlPageTest, PageIsSelfContained) {
  const std::string page = report::ToHtml(Doc());
  EXPECT_EQ(0u, page.find("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                          "<title>msglint findings: m</title>\n<style>\n"));
  EXPECT_EQ(std::string::npos, page.find("http://"));
  EXPECT_EQ(std::string::npos, page.find("https://"));
  EXPECT_EQ(std::string::npos, page.find(" src="));
  EXPECT_EQ(std::string::npos, page.find("<link"));
  EXPECT_EQ(page, report::ToHtml(Doc()));
  const std::string end = "})();\n</script>\n</body>\n</html>\n";
  EXPECT_EQ(end, page.substr(page.size() - end.size()));
}

// A baseline that holds the unused message and a missing label that is
// gone: the missing hint is new.
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

TEST(HtmlPageTest, WithABaselineNewFindingsComeFirstThenUnchangedThenFixed) {
  const report::Comparison comparison = Compared();
  const Json data = report::PageData(Doc(), &comparison);
  EXPECT_EQ(true, data["baseline"]);
  const Json& rows = data["findings"];
  ASSERT_EQ(3u, rows.size());
  const Json& s = data["strings"];
  EXPECT_EQ(0, rows[0][0]);
  EXPECT_EQ("missing-hint", s[rows[0][2].get<int>()]);
  EXPECT_EQ(1, rows[1][0]);
  EXPECT_EQ("unused-message", s[rows[1][2].get<int>()]);
  // The fixed finding: its identity, the level of its kind, nothing else.
  auto text = [&](int field) { return s[rows[2][field].get<int>()].get<std::string>(); };
  EXPECT_EQ(2, rows[2][0]);
  EXPECT_EQ("error", text(1));
  EXPECT_EQ("missing-label", text(2));
  EXPECT_EQ("user.edit", text(3));
  EXPECT_EQ("field", text(4));
  EXPECT_EQ("mail", text(5));
  EXPECT_EQ("en", text(6));
  EXPECT_EQ("mail", text(7));
  EXPECT_EQ(Json::parse(R"([0, 0, 0, 0, 0, ""])"), Json(rows[2].begin() + 8, rows[2].end()));
  EXPECT_EQ(false, report::PageData(Doc())["baseline"]);
}

TEST(HtmlPageTest, TextsFindingCarriesBothTexts) {
  Json doc = Doc();
  Json& f = doc["findings"][1];
  f["kind"] = "placeholder-mismatch";
  f["report"] = "";
  f["comparison"] = Json::parse(R"({"reference_language": "en", "reference": "%s of <%d>",
                                    "text": "%d из\n<%s>", "difference": "en has %s, %d; ru has %d, %s"})");
  const Json data = report::PageData(doc);
  EXPECT_EQ(Json::parse(R"([1, "%s of <%d>", "%d из\n<%s>", "en has %s, %d; ru has %d, %s"])"),
            data["findings"][1][14]);
  EXPECT_EQ("", data["findings"][1][13]);
  EXPECT_EQ(14u, data["findings"][0].size()) << "no comparison, no last field";
}

TEST(HtmlPageTest, InputProblemsAreLinesOfText) {
  Json doc = Doc();
  doc["input_problems"] = Json::parse(R"([{"kind": "malformed-file", "file": "etc/xml/m_msg_en.xml",
                                           "line": 3, "language": "en", "message": "bad"}])");
  EXPECT_EQ(Json::parse(R"(["input problem: malformed-file etc/xml/m_msg_en.xml:3 [en]: bad"])"),
            report::PageData(doc)["problems"]);
}

}  // namespace
