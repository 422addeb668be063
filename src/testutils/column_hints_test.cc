// The column hint check: ColumnList, ColumnList::HintList and the report.
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scratch_dir.h"
#include "testutils/column_hints.h"
#include "testutils/run_context.h"

namespace {

using msglint_private::ColumnList;
using testing_support::ScratchDir;
using Table = std::map<std::string, std::vector<std::string>>;

class ColumnHintsTest : public testing::Test {
 protected:
  void Description(const std::string& metadata) {
    dir_.Write("etc/xml/sab.xml", "<pnldata>" + metadata + "</pnldata>");
  }
  void Messages(const std::string& langs) {
    dir_.Write("etc/xml/sab_msg_en.xml", "<pnldata>" + langs + "</pnldata>");
  }
  static std::string List(const std::string& name, const std::string& cols) {
    return "<metadata name=\"" + name + "\" type=\"list\"><coldata>" + cols +
           "</coldata></metadata>";
  }
  static std::string En(const std::string& sections) {
    return "<lang name=\"en\">" + sections + "</lang>";
  }
  std::string Run() {
    out_.str("");
    report_column_hints(run_, "en");
    return out_.str();
  }
  static std::string Line(const std::string& list, const std::string& column) {
    return "В таблице '" + list + "' отстутствет хинт для столбца '" + column + "'\n";
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
};

TEST_F(ColumnHintsTest, ColumnWithoutHintIsReported) {
  Description(List("user", "<col name=\"name\"/><col name=\"size\"/>"));
  Messages(En("<messages name=\"user\"><msg name=\"hint_name\">N</msg></messages>"));
  EXPECT_EQ(Run(), Line("user", "size"));
}

TEST_F(ColumnHintsTest, HintThroughAnIncludeDoesNotCount) {
  Description(List("user", "<col name=\"name\"/><col name=\"size\"/>"));
  Messages(En("<messages name=\"shared\"><msg name=\"hint_size\">S</msg></messages>"
              "<messages name=\"user\"><msg name=\"hint_name\">N</msg>"
              "<include name=\"shared\"/></messages>"));
  EXPECT_EQ(Run(), Line("user", "size"));
}

TEST_F(ColumnHintsTest, IncludeBeforeItsSectionDoesNotCountEither) {
  Description(List("user", "<col name=\"size\"/>"));
  Messages(En("<messages name=\"user\"><include name=\"shared\"/></messages>"
              "<messages name=\"shared\"><msg name=\"hint_size\">S</msg>"
              "<include name=\"user\"/></messages>"));
  EXPECT_EQ(Run(), Line("user", "size"));
}

TEST_F(ColumnHintsTest, LaterListOfTheSameNameWins) {
  Description(List("user", "<col name=\"first\"/>") + List("user", "<col name=\"second\"/>"));
  Messages(En("<messages name=\"user\"/>"));
  EXPECT_EQ(Run(), Line("user", "second"));
}

TEST_F(ColumnHintsTest, LaterListWithoutColdataKeepsTheEarlierColumns) {
  Description(List("user", "<col name=\"first\"/>") +
              "<metadata name=\"user\" type=\"list\"/>");
  Messages(En("<messages name=\"user\"/>"));
  EXPECT_EQ(Run(), Line("user", "first"));
}

TEST_F(ColumnHintsTest, ColdataChildWithoutNameAddsNoColumn) {
  Description(List("user", "<col/><col name=\"\"/><prop name=\"p\"/><col name=\"size\"/>"));
  Messages(En("<messages name=\"user\"/>"));
  EXPECT_EQ(Run(), Line("user", "p") + Line("user", "size"));
}

TEST_F(ColumnHintsTest, HintOutsideTheLanguagesSectionsDoesNotCount) {
  Description(List("user", "<col name=\"size\"/>"));
  Messages("<msg name=\"hint_size\">S</msg>" + En("<msg name=\"hint_size\">S</msg>") +
           "<lang name=\"ru\"><messages name=\"user\"><msg name=\"hint_size\">S</msg>"
           "</messages></lang>" +
           En("<messages name=\"user\"><group><msg name=\"hint_size\">S</msg></group>"
              "</messages>"));
  EXPECT_EQ(Run(), Line("user", "size"));
}

TEST_F(ColumnHintsTest, ReportFollowsListNamesThenColumnOrder) {
  Description(List("zeta", "<col name=\"b\"/><col name=\"a\"/>") +
              List("alpha", "<col name=\"y\"/><col name=\"x\"/>") +
              List("Mid", "<col name=\"m\"/>"));
  Messages(En("<messages name=\"other\"/>"));
  EXPECT_EQ(Run(), Line("Mid", "m") + Line("alpha", "y") + Line("alpha", "x") +
                       Line("zeta", "b") + Line("zeta", "a"));
}

TEST_F(ColumnHintsTest, ListWithoutSectionHasEveryColumnReported) {
  Description(List("user", "<col name=\"a\"/><col name=\"b\"/>") +
              List("group", "<col name=\"c\"/>"));
  Messages(En("<messages name=\"group\"><msg name=\"hint_c\">C</msg></messages>"));
  EXPECT_EQ(Run(), Line("user", "a") + Line("user", "b"));
}

TEST_F(ColumnHintsTest, HintNameIsCaseSensitive) {
  Description(List("user", "<col name=\"size\"/>"));
  Messages(En("<messages name=\"user\"><msg name=\"hint_Size\">S</msg>"
              "<msg name=\"Hint_size\">S</msg></messages>"));
  EXPECT_EQ(Run(), Line("user", "size"));
}

TEST_F(ColumnHintsTest, MissingDescriptionReportsNothing) {
  Messages(En("<messages name=\"user\"/>"));
  EXPECT_EQ(Run(), "");
}

TEST_F(ColumnHintsTest, MissingMessageFileReportsEveryColumn) {
  Description(List("user", "<col name=\"a\"/><col name=\"b\"/>"));
  EXPECT_EQ(Run(), Line("user", "a") + Line("user", "b"));
}

TEST_F(ColumnHintsTest, OnlyMetadataUnderTheRootCounts) {
  Description(List("user", "<col name=\"a\"/>") + "<group>" + List("deep", "<col name=\"b\"/>") +
              "</group>");
  EXPECT_EQ(Run(), Line("user", "a"));
}

TEST_F(ColumnHintsTest, ColumnListHoldsColumnsInDescriptionOrder) {
  Description(List("user", "<col name=\"b\"/><col name=\"a\"/>") +
              "<metadata name=\"form\" type=\"form\"/>" + List("empty", ""));
  ColumnList columns(run_, "en");
  EXPECT_EQ(columns.manager, "sab");
  EXPECT_EQ(columns.lang, "en");
  EXPECT_EQ(columns.table, (Table{{"empty", {}}, {"user", {"b", "a"}}}));
}

// The line of a column is that of the first column of its name in the last
// list of its name, as the parser counts it.
TEST_F(ColumnHintsTest, ColumnListGivesTheLinesOfTheLastListsColumns) {
  dir_.Write("etc/xml/sab.xml",
             "<pnldata>\n<metadata name=\"user\" type=\"list\">\n<coldata>\n"
             "<col name=\"id\"/>\n</coldata>\n</metadata>\n"
             "<metadata name=\"user\" type=\"list\">\n<coldata>\n"
             "<col name=\"x\"/>\n<col name=\"id\"/>\n<col name=\"id\"/>\n"
             "</coldata>\n</metadata>\n"
             "<metadata name=\"bare\" type=\"list\">\n<coldata>\n<col name=\"a\"/>\n"
             "</coldata>\n</metadata>\n<metadata name=\"bare\" type=\"list\"/>\n"
             "</pnldata>\n");
  ColumnList columns(run_, "en");
  EXPECT_EQ(9, columns.Line("user", "x"));
  EXPECT_EQ(10, columns.Line("user", "id"));
  EXPECT_EQ(0, columns.Line("user", "other"));
  EXPECT_EQ(0, columns.Line("none", "id"));
  // A later list without columns keeps its namesake's columns, not their lines.
  EXPECT_EQ(columns.table.at("bare"), std::vector<std::string>{"a"});
  EXPECT_EQ(0, columns.Line("bare", "a"));
}

// Names written with references and blanks are found by the names the
// document holds, the ones the check reports.
TEST_F(ColumnHintsTest, ColumnLinesAreFoundByTheNamesReferencesStandFor) {
  dir_.Write("etc/xml/sab.xml",
             "<pnldata>\n<metadata name=\"l&amp;&#38;\" type=\"list\">\n<coldata>\n"
             "<col name=\"c&#9;\"/>\n<col name=\"d\te\"/>\n</coldata>\n</metadata>\n"
             "</pnldata>\n");
  ColumnList columns(run_, "en");
  EXPECT_EQ(4, columns.Line("l&&", "c\t"));
  EXPECT_EQ(5, columns.Line("l&&", "d e"));
  EXPECT_EQ(0, columns.Line("l&amp;&#38;", "c&#9;"));
}

TEST_F(ColumnHintsTest, HintListHoldsEachSectionsOwnHintsAscending) {
  Messages(En("<messages name=\"user\"><msg name=\"hint_z\"/><msg name=\"hint_a\"/>"
              "<msg name=\"title\"/><msg name=\"hint_a\"/><include name=\"other\"/></messages>"
              "<messages name=\"other\"><msg name=\"hint_o\"/></messages>"
              "<messages name=\"again\"><msg name=\"hint_1\"/></messages>"
              "<messages name=\"again\"><msg name=\"hint_2\"/></messages>"));
  ColumnList::HintList hints(run_, "en");
  EXPECT_TRUE(hints.table.empty());
  hints.Parse();
  EXPECT_EQ(hints.table, (Table{{"again", {"hint_2"}},
                                {"other", {"hint_o"}},
                                {"user", {"hint_a", "hint_z"}}}));
}

}  // namespace

namespace {

// The hint table read by the element scanner is the one the parsed document
// and its query give (literal evaluation), also for files that the scanner
// leaves to the parser: namespaces, prefixes, a DTD, other encodings,
// malformed text, sections at other depths, nested and odd elements.
TEST_F(ColumnHintsTest, ScannedHintsAreTheQueriedHints) {
  const std::string sections =
      "<messages name=\"user\"><msg name=\"hint_b\">B</msg><!-- c --><msg name=\"hint_a\"/>"
      "<include name=\"other\"/><msg name=\"title\"/><deep><msg name=\"hint_deep\"/></deep>"
      "</messages><messages name=\"other\"><msg name=\"hint_o\">&amp;</msg></messages>"
      "<messages><msg name=\"hint_anon\"/></messages>";
  const std::vector<std::string> files = {
      "<pnldata>" + En(sections) + "<lang name=\"ru\">" + sections + "</lang></pnldata>",
      "<pnldata><group>" + En(sections) + "</group>" + En(sections) + "</pnldata>",
      "<other>" + En(sections) + "</other>",
      "<pnldata xmlns=\"urn:x\">" + En(sections) + "</pnldata>",
      "<pnldata xmlns:p=\"urn:p\"><p:lang name=\"en\">" + sections + "</p:lang>" +
          En("<messages p:name=\"x\"><msg name=\"hint_x\"/></messages>") + "</pnldata>",
      "<!DOCTYPE pnldata [<!ATTLIST msg name CDATA \"hint_default\">]><pnldata>" +
          En("<messages name=\"d\"><msg/></messages>") + "</pnldata>",
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><pnldata>" + En(sections) + "</pnldata>",
      "<pnldata>" + En(sections),
      "",
  };
  for (const std::string& file : files) {
    dir_.Write("etc/xml/sab_msg_en.xml", file);
    ColumnList::HintList scanned(run_, "en");
    scanned.Parse();
    pnl_xml::SetLiteralEvaluation(true);
    ColumnList::HintList queried(run_, "en");
    queried.Parse();
    pnl_xml::SetLiteralEvaluation(false);
    EXPECT_EQ(queried.table, scanned.table) << file;
  }
}

}  // namespace

namespace {

// A name written with a reference or a blank that the parser replaces or
// normalises, and the name the document holds.
struct HostileName {
  std::string written;
  std::string held;
};

const std::vector<HostileName>& HostileNames() {
  static const std::vector<HostileName> names = {
      {"a&amp;b", "a&b"},  {"a&lt;b", "a<b"},  {"a&quot;b", "a\"b"},
      {"a&#9;b", "a\tb"},  {"a&#10;b", "a\nb"}, {"a\tb", "a b"},
      {"a\nb", "a b"},     {"a&#38;b", "a&b"}, {"&amp;#38;", "&#38;"},
  };
  return names;
}

// Language, section, list, column and message names written with
// references and blanks: the scanner reads each as the document holds it,
// so every hint is found, and the report is the one the literal evaluation
// gives.
TEST_F(ColumnHintsTest, HostileNamesAreReadAsTheDocumentHoldsThem) {
  for (const HostileName& name : HostileNames()) {
    const std::string lang = "l" + name.held;
    dir_.Write("etc/xml/sab.xml",
               "<pnldata><metadata name=\"u" + name.written +
                   "\" type=\"list\"><coldata><col name=\"c" + name.written +
                   "\"/><col name=\"plain\"/></coldata></metadata></pnldata>");
    dir_.Write("etc/xml/sab_msg_" + lang + ".xml",
               "<pnldata><lang name=\"l" + name.written + "\"><messages name=\"u" +
                   name.written + "\"><msg name=\"hint_c" + name.written +
                   "\">H</msg><msg name=\"hint_plain\">P</msg></messages></lang></pnldata>");
    ColumnList::HintList scanned(run_, lang);
    scanned.Parse();
    EXPECT_EQ(scanned.table, (Table{{"u" + name.held, {"hint_c" + name.held, "hint_plain"}}}))
        << name.written;
    pnl_xml::SetLiteralEvaluation(true);
    ColumnList::HintList queried(run_, lang);
    queried.Parse();
    out_.str("");
    report_column_hints(run_, lang);
    const std::string literal = out_.str();
    pnl_xml::SetLiteralEvaluation(false);
    EXPECT_EQ(queried.table, scanned.table) << name.written;
    out_.str("");
    report_column_hints(run_, lang);
    EXPECT_EQ(out_.str(), literal) << name.written;
    EXPECT_EQ(literal, "") << name.written;
  }
}

}  // namespace
