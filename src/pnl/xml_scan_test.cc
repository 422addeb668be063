#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "pnl/xml.h"

namespace {

using pnl_xml::ElementSpan;

// The scan as these tests read it: whether it went through, with its
// message in `error` ("" when it did).
bool ScanElements(const std::string& text, const std::string& origin,
                  std::vector<ElementSpan>* spans, std::string* error) {
  const pnl::Status scanned = pnl_xml::ScanElements(text, origin, spans);
  *error = scanned.message();
  return scanned.ok();
}

// The text of an element and of its content, cut from the scanned bytes.
std::string Whole(const std::string& text, const ElementSpan& s) {
  return text.substr(s.begin, s.end - s.begin);
}
std::string Content(const std::string& text, const ElementSpan& s) {
  return text.substr(s.content_begin, s.content_end - s.content_begin);
}

TEST(ScanElementsTest, ElementsInDocumentOrderWithParentsAndNames) {
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"a\" ><msg name=\"x\">X</msg></messages>\n"
      "    <messages name=\"b\"/>\n"
      "  </lang >\n"
      "</pnldata>\n";
  std::vector<ElementSpan> spans;
  std::string error;
  ASSERT_TRUE(ScanElements(text, "m.xml", &spans, &error)) << error;
  EXPECT_EQ("", error);
  ASSERT_EQ(5u, spans.size());
  EXPECT_EQ("pnldata", spans[0].name);
  EXPECT_EQ(-1, spans[0].parent);
  EXPECT_EQ("lang", spans[1].name);
  EXPECT_EQ("en", spans[1].name_attr);
  EXPECT_EQ(0, spans[1].parent);
  EXPECT_EQ("<messages name=\"a\" ><msg name=\"x\">X</msg></messages>",
            Whole(text, spans[2]));
  EXPECT_EQ("<msg name=\"x\">X</msg>", Content(text, spans[2]));
  EXPECT_EQ(1, spans[2].parent);
  EXPECT_EQ("x", spans[3].name_attr);
  EXPECT_EQ(2, spans[3].parent);
  EXPECT_EQ("X", Content(text, spans[3]));
  EXPECT_TRUE(spans[4].empty_tag);
  EXPECT_EQ("<messages name=\"b\"/>", Whole(text, spans[4]));
  EXPECT_EQ("/>", text.substr(spans[4].content_begin, 2));
  EXPECT_EQ(spans[4].content_begin, spans[4].content_end);
  EXPECT_EQ(std::string::npos, Whole(text, spans[1]).find("</pnldata>"));
  EXPECT_EQ("</lang >", text.substr(spans[1].content_end, spans[1].end - spans[1].content_end));
}

TEST(ScanElementsTest, OffsetsAreThoseOfTheBytesWithBomCommentsCdataAndEntities) {
  const std::string text =
      "\xef\xbb\xbf<?xml version=\"1.0\"?>\n"
      "<!DOCTYPE pnldata [<!ENTITY e \"x y\">]>\n"
      "<pnldata><!-- <msg name=\"no\"/> -->"
      "<m name='\xd0\x96 &amp; &e;' a=\"&gt;\">&e;<![CDATA[</m><x>]]>\xd0\x96</m>"
      "<?pi <m/>?></pnldata>";
  std::vector<ElementSpan> spans;
  std::string error;
  ASSERT_TRUE(ScanElements(text, "m.xml", &spans, &error)) << error;
  ASSERT_EQ(2u, spans.size());
  EXPECT_EQ("m", spans[1].name);
  EXPECT_EQ("<![CDATA[</m><x>]]>\xd0\x96", Content(text, spans[1]).substr(3));
  EXPECT_EQ("</m>", text.substr(spans[1].content_end, 4));
  EXPECT_EQ(text.size(), spans[0].end);
}

TEST(ScanElementsTest, MalformedTextGivesTheParsersLineAndMessage) {
  std::vector<ElementSpan> spans;
  std::string error;
  EXPECT_FALSE(ScanElements("<pnldata>\n<lang>\n</pnldata>\n", "m.xml", &spans, &error));
  EXPECT_EQ("m.xml:3: Opening and ending tag mismatch: lang line 2 and pnldata",
            error);
  EXPECT_TRUE(spans.empty());
  EXPECT_FALSE(ScanElements("", "e.xml", &spans, &error));
  EXPECT_EQ(0u, error.find("e.xml:"));
  EXPECT_FALSE(ScanElements("<a>&u;</a>", "u.xml", &spans, &error));
  EXPECT_EQ("u.xml:1: Entity 'u' not defined", error);
}

TEST(ScanElementsTest, OtherEncodingsAreRefused) {
  std::vector<ElementSpan> spans;
  std::string error;
  EXPECT_FALSE(ScanElements(
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\xe9</a>", "l.xml",
      &spans, &error));
  EXPECT_EQ("l.xml: not in UTF-8; only UTF-8 files are handled", error);
  std::string utf16("\xff\xfe<\0a\0/\0>\0", 10);
  EXPECT_FALSE(ScanElements(utf16, "w.xml", &spans, &error));
  EXPECT_EQ("w.xml: not in UTF-8; only UTF-8 files are handled", error);
  EXPECT_TRUE(ScanElements(
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xc3\xa9</a>", "u.xml",
      &spans, &error)) << error;
}

TEST(ScanElementsTest, LargeTextKeepsExactOffsets) {
  std::string text = "<pnldata>\n";
  for (int i = 0; i < 40000; ++i)
    text += "  <msg name=\"m" + std::to_string(i) + "\">\xd0\x96 text " +
            std::to_string(i) + "</msg>\n";
  text += "</pnldata>\n";
  std::vector<ElementSpan> spans;
  std::string error;
  ASSERT_TRUE(ScanElements(text, "big.xml", &spans, &error)) << error;
  ASSERT_EQ(40001u, spans.size());
  EXPECT_EQ("<msg name=\"m39999\">\xd0\x96 text 39999</msg>",
            Whole(text, spans[40000]));
  EXPECT_EQ("m39999", spans[40000].name_attr);
}

// The "name" of every element is the value the parsed document holds and a
// query compares: references replaced (an "&" too), literal blanks
// normalised, references to blanks kept. Spans still stand at their bytes.
TEST(ScanElementsTest, NamesAreThoseTheDocumentHolds) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"a&amp;b", "a&b"},   {"a&lt;b", "a<b"},     {"a&quot;b", "a\"b"},
      {"a&#9;b", "a\tb"},   {"a&#10;b", "a\nb"},   {"a\tb", "a b"},
      {"a\nb", "a b"},      {"a\r\nb", "a b"},    {"a&#38;b", "a&b"},
      {"&#x26;&amp;", "&&"}, {"&amp;#38;", "&#38;"}, {"&apos;&gt;", "'>"},
      {"\xd0\x96&amp;", "\xd0\x96&"}, {"&#13;", "\r"}, {"", ""},
  };
  for (const auto& [written, held] : names) {
    const std::string text = "<pnldata><lang name=\"" + written +
                             "\"><messages name='" + written + "'><msg name=\"" +
                             written + "\">T</msg><include name=\"" + written +
                             "\"/></messages></lang></pnldata>";
    std::vector<ElementSpan> spans;
    std::string error;
    ASSERT_TRUE(ScanElements(text, "h.xml", &spans, &error)) << error;
    ASSERT_EQ(5u, spans.size());
    pnl_xml::Xml doc;
    ASSERT_TRUE(doc.LoadFromString(text, "h.xml"));
    pnl_xml::XPath elements(doc, "//*");
    ASSERT_EQ(5u, elements.size());
    for (size_t i = 1; i < spans.size(); ++i) {
      EXPECT_EQ(held, spans[i].name_attr) << written << " in " << spans[i].name;
      std::string queried;
      ASSERT_TRUE(elements[i].GetNoNsProp("name", &queried));
      EXPECT_EQ(queried, spans[i].name_attr) << written << " in " << spans[i].name;
    }
    EXPECT_EQ("<msg name=\"" + written + "\">T</msg>", Whole(text, spans[3]));
  }
}

// Each element's line is the one the parsed document gives it: that of the
// ">" ending its start tag, whatever lies between (comments, CDATA, a start
// tag over several lines, CR LF line ends), and 65535 for every line past it.
TEST(ScanElementsTest, LinesAreThoseOfTheParsedDocument) {
  std::string text = "<?xml version=\"1.0\"?>\r\n<pnldata>\n<!-- a\nb -->\n"
                     "<lang\n name=\"en\"\n>\n<![CDATA[x\ny]]><msg name=\"a\"/>"
                     "<msg name='b\nc'>T\n</msg>\r\n";
  for (int i = 0; i < 70000; ++i) text += "<m/>\n";
  text += "<msg name=\"far\"/></lang></pnldata>\n";
  std::vector<ElementSpan> spans;
  std::string error;
  ASSERT_TRUE(ScanElements(text, "l.xml", &spans, &error)) << error;
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(text, "l.xml"));
  pnl_xml::XPath elements(doc, "//*");
  ASSERT_EQ(elements.size(), spans.size());
  for (size_t i = 0; i < spans.size(); ++i)
    ASSERT_EQ(elements[i].Line(), spans[i].line) << i << " " << spans[i].name;
  EXPECT_EQ(2, spans[0].line);
  EXPECT_EQ(7, spans[1].line);
  EXPECT_EQ(9, spans[2].line);
  EXPECT_EQ(10, spans[3].line);
  EXPECT_EQ(65535, spans.back().line);
}

}  // namespace
