#include "findings/source_lines.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pnl/xml.h"
#include "support/scratch_dir.h"

namespace {

using findings::SourceLines;
using testing_support::ScratchDir;

TEST(SourceLinesTest, FindsMessagesByWalking) {
  ScratchDir dir;
  dir.Write("etc/xml/m_msg_en.xml",
            "<pnldata>\n<lang name=\"en\">\n<messages name=\"user\">\n"
            "<msg name=\"a'b\">x</msg>\n</messages>\n</lang>\n</pnldata>\n");
  SourceLines::LastFile last;
  SourceLines lines(dir.path(), last);
  EXPECT_EQ(4, lines.Message("m", "en", "user", "a'b"));
  EXPECT_EQ(3, lines.Message("m", "en", "user", ""));
  EXPECT_EQ(0, lines.Message("m", "en", "none", "x"));
}

// Names written with references and blanks are found by the names the
// document holds, the ones the audits report.
TEST(SourceLinesTest, NamesWrittenWithReferencesAreTheNamesTheyStandFor) {
  ScratchDir dir;
  dir.Write("etc/xml/m_msg_a&b.xml",
            "<pnldata>\n<lang name=\"a&amp;b\">\n<messages name=\"u&lt;&#9;\">\n"
            "<msg name=\"m&quot;&#10;\">x</msg>\n<msg name=\"t\tn\nl\">y</msg>\n"
            "</messages>\n</lang>\n</pnldata>\n");
  SourceLines::LastFile last;
  SourceLines lines(dir.path(), last);
  EXPECT_EQ(3, lines.Message("m", "a&b", "u<\t", ""));
  EXPECT_EQ(4, lines.Message("m", "a&b", "u<\t", "m\"\n"));
  // The parser counts the line where the start tag ends.
  EXPECT_EQ(6, lines.Message("m", "a&b", "u<\t", "t n l"));
  EXPECT_EQ(0, lines.Message("m", "a&b", "u&lt;&#9;", ""));
}

TEST(SourceLinesTest, TheFirstOfEachNameGivesTheLine) {
  ScratchDir dir;
  dir.Write("etc/xml/m_msg_en.xml",
            "<pnldata>\n"
            "<lang name=\"ru\">\n<messages name=\"user\">\n<msg name=\"a\"/>\n</messages>\n</lang>\n"
            "<lang name=\"en\">\n<messages name=\"user\">\n<msg name=\"a\"/>\n<msg name=\"a\"/>\n"
            "<include name=\"b\"/>\n</messages>\n<messages name=\"user\">\n<msg name=\"b\"/>\n"
            "</messages>\n<x:messages xmlns:x=\"urn:x\" name=\"other\">\n<msg name=\"c\"/>\n"
            "</x:messages>\n</lang>\n"
            "<lang name=\"en\">\n<messages name=\"late\">\n<msg name=\"d\"/>\n</messages>\n</lang>\n"
            "</pnldata>\n");
  SourceLines::LastFile last;
  SourceLines lines(dir.path(), last);
  // The file's "ru" element is no part of the en messages.
  EXPECT_EQ(8, lines.Message("m", "en", "user", ""));
  EXPECT_EQ(9, lines.Message("m", "en", "user", "a"));
  EXPECT_EQ(0, lines.Message("m", "en", "user", "b"));  // in the second section of the name
  EXPECT_EQ(0, lines.Message("m", "en", "user", "include"));
  EXPECT_EQ(17, lines.Message("m", "en", "other", "c"));  // elements go by local name
  EXPECT_EQ(0, lines.Message("m", "en", "late", "d"));   // in the second lang of the name
  EXPECT_EQ(0, lines.Message("m", "fr", "user", ""));
}

TEST(SourceLinesTest, AMalformedFileGivesNoLinesAndNoWord) {
  ScratchDir dir;
  dir.Write("etc/xml/m_msg_en.xml", "<pnldata>\n<lang name=\"en\">\n");
  SourceLines::LastFile last;
  SourceLines lines(dir.path(), last);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, lines.Message("m", "en", "user", "x"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

// Lines are found without a parsed document where the file allows it; they
// are those that walking the parsed document gives, on every kind of file.
TEST(SourceLinesTest, ScannedLinesAreThoseOfTheParsedDocument) {
  std::string many = "<pnldata>\n<lang name=\"en\">\n<messages name=\"s\">\n";
  for (int i = 0; i < 70000; ++i) many += "<msg name=\"m" + std::to_string(i) + "\"/>\n";
  many += "</messages>\n</lang>\n</pnldata>\n";
  const std::vector<std::string> files = {
      "<pnldata>\r\n<lang\n name=\"en\">\r\n<!-- <msg name=\"x\"/> -->\n"
      "<messages name=\"s\"><![CDATA[\n]]><msg\nname=\"a\">T\n</msg>\n<msg name=\"a\"/>\n"
      "<msg name=\"b&amp;&#9;c\"/><msg name=\"d\te\"/></messages></lang></pnldata>\n",
      "<!DOCTYPE pnldata [<!ATTLIST msg name CDATA \"dflt\">]>\n<pnldata>\n<lang name=\"en\">\n"
      "<messages name=\"s\">\n<msg/>\n<msg name=\"a\"/>\n</messages></lang></pnldata>\n",
      "<pnldata xmlns:x=\"urn:x\">\n<lang name=\"en\">\n<x:messages name=\"s\">\n"
      "<msg name=\"a\"/>\n</x:messages></lang></pnldata>\n",
      many,
  };
  const std::vector<std::pair<std::string, std::string>> asked = {
      {"s", ""}, {"s", "a"}, {"s", "b&\tc"}, {"s", "d e"}, {"s", "x"}, {"s", "dflt"},
      {"s", "m69999"}, {"s", "m10"}, {"t", ""}};
  for (const std::string& text : files) {
    ScratchDir dir;
    dir.Write("etc/xml/m_msg_en.xml", text);
    std::vector<long> fast, literal;
    for (bool as_written : {false, true}) {
      pnl_xml::SetLiteralEvaluation(as_written);
      SourceLines::LastFile last;
      SourceLines lines(dir.path(), last);
      for (const auto& [section, name] : asked)
        (as_written ? literal : fast).push_back(lines.Message("m", "en", section, name));
    }
    pnl_xml::SetLiteralEvaluation(false);
    EXPECT_EQ(fast, literal) << text.substr(0, 80);
    // Every file has the section, as the parser reads it.
    EXPECT_NE(0, fast[0]) << text.substr(0, 80);
  }
}

}  // namespace
