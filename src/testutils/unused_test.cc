// The unused message check and its deciders.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scratch_dir.h"
#include "testutils/findings.h"
#include "testutils/repeats.h"
#include "testutils/run_context.h"
#include "testutils/unused.h"

namespace {

using testing_support::ScratchDir;

const char kHeader[] = "\nUnused for lang en\n";

// A form "user" with a field "size" (holding an input "size_in"), a page
// "extra" with a field "color", and a list "users" with columns, a column
// property and toolbar buttons.
const char kDescription[] =
    "<pnldata>"
    "<metadata name=\"user\" type=\"form\"><form>"
    "<field name=\"size\"><input name=\"size_in\" type=\"text\"/></field>"
    "<page name=\"extra\"><field name=\"color\"><select name=\"shade\"/></field>"
    "<label name=\"note\"/></page>"
    "</form></metadata>"
    "<metadata name=\"users\" type=\"list\">"
    "<coldata><col name=\"size\"><prop name=\"width\"/></col><col name=\"name\"/>"
    "<col name=\"full_name\"/></coldata>"
    "<toolbar><group><toolbtn name=\"edit\" func=\"user.edit\"/></group>"
    "<toolbtn name=\"delete\" func=\"delete\"/><toolbtn name=\"drop\" func=\"user.delete\"/>"
    "</toolbar></metadata>"
    "<metadata name=\"menu\" type=\"menu\"/>"
    "</pnldata>";

class UnusedTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_.Write("etc/xml/sab.xml", kDescription);
  }
  void Cache(const std::string& file, const std::string& root, const std::string& messages) {
    dir_.Write("var/.xmlcache/sab/" + file,
               "<messages name=\"" + root + "\">" + messages + "</messages>");
  }
  // One message document for `root` holding `messages`; returns the report.
  std::string Check(const std::string& root, const std::string& messages) {
    Cache(root + ".msg.en.xml", root, messages);
    return Run();
  }
  std::string Run() {
    out_.str("");
    check_unused(run_, "en");
    return out_.str();
  }
  static std::string Report(const std::string& file, const std::string& lines) {
    return std::string(kHeader) + "\n" + file + "\n" + lines;
  }
  static std::string Line(const std::string& name, const std::string& problem,
                          const std::string& text) {
    return "\t" + name + " - " + problem + ". \t\t msgtext: " + text + "\n";
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
};

TEST_F(UnusedTest, CleanDocumentsPrintOnlyTheHeader) {
  Cache("user.msg.en.xml", "user",
        "<msg name=\"title\">User</msg><msg name=\"size\">Size</msg>"
        "<msg name=\"size_in\">In</msg><msg name=\"note\">Note</msg>"
        "<msg name=\"color\">Color</msg><msg name=\"shade\">Shade</msg>");
  Cache("users.msg.en.xml", "users", "<msg name=\"size\">Size</msg>");
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(UnusedTest, NoDocumentsPrintOnlyTheHeader) {
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(UnusedTest, FormHintDefaultIsUsed) {
  EXPECT_EQ(Check("user", "<msg name=\"hint_default\">D</msg>"), kHeader);
}

TEST_F(UnusedTest, FormHintNeedsAnElementOfTheFullName) {
  EXPECT_EQ(Check("user", "<msg name=\"hint_size\">Hint</msg>"),
            Report("user.msg.en.xml", Line("hint_size", "field is not found", "Hint")));
}

TEST_F(UnusedTest, FormPlaceholderLooksForTheFieldOrItsChild) {
  EXPECT_EQ(Check("user",
                  "<msg name=\"placeholder_size\">P</msg>"
                  "<msg name=\"placeholder_size_in\">P</msg>"
                  "<msg name=\"placeholder_color\">P</msg>"
                  "<msg name=\"placeholder_shade\">P</msg>"
                  "<msg name=\"placeholder_gone\">Gone</msg>"),
            Report("user.msg.en.xml", Line("placeholder_gone", "field is not found", "Gone")));
}

TEST_F(UnusedTest, FormNameWithoutPrefixNeedsAFieldOrPageChild) {
  // The page's own name is no child of a page.
  EXPECT_EQ(Check("user",
                  "<msg name=\"color\">C</msg><msg name=\"note\">N</msg>"
                  "<msg name=\"extra\">E</msg>"
                  "<msg name=\"gone\">G</msg><msg name=\"gone_\">G_</msg>"),
            Report("user.msg.en.xml", Line("extra", "field is not found", "E") +
                                          Line("gone", "field is not found", "G") +
                                          Line("gone_", "field is not found", "G_")));
}

TEST_F(UnusedTest, FormMessageBelongsToTheMessageOfItsPrefix) {
  EXPECT_EQ(Check("user", "<msg name=\"size_max\">Max</msg><msg name=\"size\">S</msg>"),
            kHeader);
}

TEST_F(UnusedTest, FormMessageWithoutItsPrefixMessageIsUnrecognized) {
  EXPECT_EQ(Check("user", "<msg name=\"size_max\">Max</msg>"),
            Report("user.msg.en.xml", Line("size_max", "is unrecognized", "Max")));
}

TEST_F(UnusedTest, ListHintOfAColumnPropertyLooksForThePropName) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"hint_p_def_width\">A</msg><msg name=\"hint_p_width\">B</msg>"
                  "<msg name=\"hint_p_def_size\">C</msg><msg name=\"hint_p_size\">D</msg>"),
            Report("users.msg.en.xml", Line("hint_p_def_size", "column prop is not found", "C") +
                                           Line("hint_p_size", "column prop is not found", "D")));
}

TEST_F(UnusedTest, ListHintLooksForAButtonThenAColumn) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"hint_edit\">E</msg><msg name=\"hint_name\">N</msg>"
                  "<msg name=\"hint_gone\">G</msg>"),
            Report("users.msg.en.xml", Line("hint_gone", "toolbtn or column is not found", "G")));
}

TEST_F(UnusedTest, ListMsgLooksForTheButtonsFunction) {
  // msg_user_delete: key "delete"; msg_confirm_user_delete: key "user.delete".
  EXPECT_EQ(Check("users",
                  "<msg name=\"msg_user_delete\">D</msg>"
                  "<msg name=\"msg_confirm_user_delete\">C</msg>"
                  "<msg name=\"msg_user_edit\">E</msg>"),
            Report("users.msg.en.xml", Line("msg_user_edit", "is unrecognized", "E")));
}

TEST_F(UnusedTest, ListNameWithoutUnderscoreIsAColumn) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"size\">S</msg><msg name=\"name_\">N</msg>"
                  "<msg name=\"width\">W</msg>"),
            Report("users.msg.en.xml", Line("width", "column is not found", "W")));
}

TEST_F(UnusedTest, ListShortNameNeedsAToolbarButton) {
  EXPECT_EQ(Check("users", "<msg name=\"short_edit\">Ed</msg><msg name=\"short_view\">View</msg>"),
            Report("users.msg.en.xml", Line("short_view", "toolbtn is not found", "View")));
}

TEST_F(UnusedTest, ListOtherPrefixLooksForItsMessageThenTheColumn) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"size_wide\">SW</msg><msg name=\"size\">S</msg>"
                  "<msg name=\"full_name\">FN</msg><msg name=\"name_long\">NL</msg>"),
            Report("users.msg.en.xml", Line("name_long", "is unrecognized", "NL")));
}

TEST_F(UnusedTest, SkippedMessagesAreNeverReported) {
  EXPECT_EQ(Check("user",
                  "<msg name=\"title\">T</msg><msg name=\"msg_error_x\">E</msg>"
                  "<msg name=\"progress_y\">P</msg><msg name=\"gone\" added=\"1\">G</msg>"
                  "<msg name=\"Title\">T2</msg>"),
            Report("user.msg.en.xml", Line("Title", "field is not found", "T2")));
}

TEST_F(UnusedTest, DocumentWithoutMetadataIsSkippedSilently) {
  EXPECT_EQ(Check("nometa", "<msg name=\"gone\">G</msg><include name=\"missing\">M</include>"),
            kHeader);
}

TEST_F(UnusedTest, OtherMetadataTypeChecksNothingButPrintsMergeLines) {
  EXPECT_EQ(Check("menu", "<msg name=\"gone\">G</msg><include name=\"missing\">M</include>"),
            Report("menu.msg.en.xml", Line("include", "include is not found", "M")));
}

TEST_F(UnusedTest, MergedMessagesAreCheckedToo) {
  Cache("shared.msg.en.xml", "shared", "<msg name=\"size\">S</msg><msg name=\"lost\">L</msg>");
  Cache("user.msg.en.xml", "user",
        "<msg name=\"size_max\">Max</msg><include name=\"shared\">sh</include>");
  // shared.msg.en.xml has no metadata: silent. Its messages land in user's.
  EXPECT_EQ(Run(), Report("user.msg.en.xml", Line("lost", "field is not found", "L")));
}

TEST_F(UnusedTest, EachDocumentGetsItsOwnHeadingInListOrder) {
  Cache("users.msg.en.xml", "users", "<msg name=\"width\">W</msg>");
  Cache("user.msg.en.xml", "user", "<msg name=\"gone\">G</msg>");
  Cache("user.msg.ru.xml", "user", "<msg name=\"ru_gone\">R</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) + "\nuser.msg.en.xml\n" +
                       Line("gone", "field is not found", "G") + "\nusers.msg.en.xml\n" +
                       Line("width", "column is not found", "W"));
}

// ---- The lookups against their queries ------------------------------------

// Descriptions where what the queries select is easy to get wrong: elements
// and attributes in namespaces, nested forms and pages, several forms,
// fields and buttons outside the places the queries look, keys with quotes.
const char kTrickyDescription[] =
    "<pnldata xmlns:p=\"urn:p\">"
    "<metadata name=\"spaces\" type=\"form\"><form>"
    "<field name=\"plain\"><p:input name=\"child_in_ns\"/><input p:name=\"ns_attr\"/></field>"
    "<p:field name=\"field_in_ns\"><input name=\"under_ns_field\"/></p:field>"
    "<field p:name=\"field_ns_attr\" name=\"field_both\"/>"
    "<p:form><field name=\"under_ns_form\"/></p:form>"
    "<page name=\"pg\"><p:x name=\"page_child_in_ns\"/><field name=\"page_field\">"
    "<y name=\"page_field_child\"/></field></page>"
    "</form>"
    "<form xmlns=\"urn:d\"><field name=\"default_ns\"/><page><field name=\"default_ns_page\"/>"
    "</page></form></metadata>"
    "<metadata name=\"nested\" type=\"form\">"
    "<page><field name=\"page_outside_form\"/></page>"
    "<field name=\"field_outside_form\"/>"
    "<form><group><field name=\"grouped\"/></group>"
    "<field name=\"outer\"><form><field name=\"inner\"><x name=\"inner_child\"/></field>"
    "<page name=\"inner_page\"><page name=\"page_in_page\"><field name=\"deep\"/></page>"
    "<field name=\"inner_page_field\"><z name=\"inner_page_field_child\"/></field>"
    "</page></form></field>"
    "<field><field name=\"field_in_field\"><w name=\"below_field_in_field\"/></field></field>"
    "</form>"
    "<form><field name=\"second_form\"/><page name=\"second_page\"/></form>"
    "<x><form><field name=\"form_deeper\"/></form></x>"
    "</metadata>"
    "<metadata name=\"quotes\" type=\"form\"><form>"
    "<field name=\"it&apos;s\"/><field name='say \"hi\"'/><field name=\"\"/>"
    "<field name=\"a&amp;b\"/></form></metadata>"
    "<metadata name=\"lists\" type=\"list\">"
    "<coldata><col name=\"c1\"><prop name=\"p1\"/><x><prop name=\"p_deeper\"/></x>"
    "<p:prop name=\"p_in_ns\"/></col><group><col name=\"c_grouped\"/></group>"
    "<p:col name=\"c_in_ns\"><prop name=\"p_under_ns_col\"/></p:col>"
    "<col p:name=\"c_ns_attr\"/><col name=\"c2\"><coldata><col name=\"c_nested\"/></coldata>"
    "</col></coldata>"
    "<col name=\"c_outside\"/>"
    "<toolbar><group><toolbtn name=\"b1\" func=\"user.edit\"/></group>"
    "<toolbtn name=\"b2\" func=\"drop\" p:func=\"ns_func\"/>"
    "<p:toolbtn name=\"b_in_ns\" func=\"f_ns\"/>"
    "<toolbtn func=\"it's\"/><toolbtn><toolbtn name=\"b_in_b\"/></toolbtn></toolbar>"
    "<p:toolbar><toolbtn name=\"b_in_ns_bar\" func=\"f_ns_bar\"/></p:toolbar>"
    "<toolbtn name=\"b_outside\" func=\"f_outside\"/>"
    "<form><field name=\"list_field\"/></form>"
    "</metadata>"
    "</pnldata>";

// Every value of every attribute of the document, a few that stand in none,
// and keys with quotes.
std::vector<std::string> Keys(const pnl_xml::Xml& doc) {
  std::vector<std::string> keys = {"", "absent", "it's", "say \"hi\"", "'", "\"", "a&b",
                                   "p1' or '1'='1"};
  for (pnl_xml::XmlNode attr : doc.GetNodes("//@*")) keys.push_back(attr.Str());
  return keys;
}

// What the queries give on a copy of the metadata element, evaluated as
// written, against what the lookups give.
void ExpectLookupsAsQueries(const std::string& text, const std::string& metadata_name) {
  pnl_xml::Xml description;
  ASSERT_TRUE(description.LoadFromString(text, "description"));
  const std::string query = "//metadata[@name='" + metadata_name + "']";
  pnl_xml::XmlNode metadata = description.GetNodes(query)[0];
  ASSERT_TRUE(metadata);
  struct Answers {
    bool field, page, toolbtn, func, colprop, col;
  };
  std::vector<Answers> written;
  pnl_xml::SetLiteralEvaluation(true);
  pnl_xml::Xml copy;
  copy.SetRoot(metadata, false);
  for (const std::string& key : Keys(description))
    written.push_back({field_found(copy, key), page_found(copy, key), toolbtn_found(copy, key),
                       toolbtn_found_by_func_name(copy, key), colprop_found(copy, key),
                       col_found(copy, key)});
  pnl_xml::SetLiteralEvaluation(false);
  MetadataLookups lookups(metadata);
  size_t i = 0;
  for (const std::string& key : Keys(description)) {
    const Answers& expected = written[i++];
    EXPECT_EQ(expected.field, lookups.Field(key)) << metadata_name << " field " << key;
    EXPECT_EQ(expected.page, lookups.Page(key)) << metadata_name << " page " << key;
    EXPECT_EQ(expected.toolbtn, lookups.ToolbtnByName(key)) << metadata_name << " btn " << key;
    EXPECT_EQ(expected.func, lookups.ToolbtnByFunc(key)) << metadata_name << " func " << key;
    EXPECT_EQ(expected.colprop, lookups.ColProp(key)) << metadata_name << " prop " << key;
    EXPECT_EQ(expected.col, lookups.Col(key)) << metadata_name << " col " << key;
  }
}

TEST(MetadataLookupsTest, AnswerAsTheQueriesOnACopy) {
  for (const char* name : {"spaces", "nested", "quotes", "lists"})
    ExpectLookupsAsQueries(kTrickyDescription, name);
}

TEST(MetadataLookupsTest, SelectWhatTheQueriesSelect) {
  pnl_xml::Xml description;
  ASSERT_TRUE(description.LoadFromString(kTrickyDescription, "description"));
  MetadataLookups spaces(description.GetNodes("//metadata[@name='spaces']")[0]);
  EXPECT_TRUE(spaces.Field("plain"));
  EXPECT_TRUE(spaces.Field("child_in_ns"));
  EXPECT_TRUE(spaces.Field("field_both"));
  EXPECT_TRUE(spaces.Field("page_field"));
  EXPECT_TRUE(spaces.Field("page_field_child"));
  EXPECT_TRUE(spaces.Page("page_child_in_ns"));
  EXPECT_FALSE(spaces.Field("ns_attr"));
  EXPECT_FALSE(spaces.Field("field_in_ns"));
  EXPECT_FALSE(spaces.Field("under_ns_field"));
  EXPECT_FALSE(spaces.Field("under_ns_form"));
  EXPECT_FALSE(spaces.Field("default_ns"));
  EXPECT_FALSE(spaces.Field("default_ns_page"));
  MetadataLookups nested(description.GetNodes("//metadata[@name='nested']")[0]);
  EXPECT_TRUE(nested.Field("outer"));
  EXPECT_TRUE(nested.Field("inner"));
  EXPECT_TRUE(nested.Field("inner_child"));
  EXPECT_TRUE(nested.Field("inner_page_field_child"));
  EXPECT_TRUE(nested.Field("field_in_field"));
  EXPECT_TRUE(nested.Field("second_form"));
  EXPECT_TRUE(nested.Field("form_deeper"));
  EXPECT_TRUE(nested.Page("page_in_page"));
  EXPECT_FALSE(nested.Field("deep"));
  EXPECT_FALSE(nested.Field("below_field_in_field"));
  EXPECT_FALSE(nested.Field("grouped"));
  EXPECT_FALSE(nested.Field("page_outside_form"));
  EXPECT_FALSE(nested.Field("field_outside_form"));
  MetadataLookups quotes(description.GetNodes("//metadata[@name='quotes']")[0]);
  // "[@name='it's']" is no expression: it selects nothing.
  EXPECT_FALSE(quotes.Field("it's"));
  EXPECT_TRUE(quotes.Field("say \"hi\""));
  EXPECT_TRUE(quotes.Field(""));
  EXPECT_TRUE(quotes.Field("a&b"));
  MetadataLookups lists(description.GetNodes("//metadata[@name='lists']")[0]);
  EXPECT_TRUE(lists.Col("c1"));
  EXPECT_TRUE(lists.Col("c_nested"));
  EXPECT_FALSE(lists.Col("c_grouped"));
  EXPECT_FALSE(lists.Col("c_in_ns"));
  EXPECT_FALSE(lists.Col("c_ns_attr"));
  EXPECT_FALSE(lists.Col("c_outside"));
  EXPECT_TRUE(lists.ColProp("p1"));
  EXPECT_FALSE(lists.ColProp("p_deeper"));
  EXPECT_FALSE(lists.ColProp("p_in_ns"));
  EXPECT_FALSE(lists.ColProp("p_under_ns_col"));
  EXPECT_TRUE(lists.ToolbtnByName("b1"));
  EXPECT_TRUE(lists.ToolbtnByName("b_in_b"));
  EXPECT_FALSE(lists.ToolbtnByName("b_in_ns"));
  EXPECT_FALSE(lists.ToolbtnByName("b_in_ns_bar"));
  EXPECT_FALSE(lists.ToolbtnByName("b_outside"));
  EXPECT_TRUE(lists.ToolbtnByFunc("user.edit"));
  EXPECT_FALSE(lists.ToolbtnByFunc("ns_func"));
  EXPECT_FALSE(lists.ToolbtnByFunc("f_ns"));
  EXPECT_FALSE(lists.ToolbtnByFunc("it's"));
  EXPECT_TRUE(lists.Field("list_field"));
}

TEST(MetadataLookupsTest, TheElementItselfMayBeAFormOrAToolbar) {
  pnl_xml::Xml description;
  ASSERT_TRUE(description.LoadFromString(
      "<r><form><field name=\"f\"/></form><toolbar><toolbtn name=\"b\"/></toolbar></r>",
      "description"));
  MetadataLookups form(description.GetNodes("/r/form")[0]);
  EXPECT_TRUE(form.Field("f"));
  MetadataLookups toolbar(description.GetNodes("/r/toolbar")[0]);
  EXPECT_TRUE(toolbar.ToolbtnByName("b"));
}

TEST(MetadataLookupsTest, AnEntityInANameReadsAsTheQueryReadsIt) {
  // The reference is dropped with the document type: the name is "a".
  const std::string text =
      "<!DOCTYPE pnldata [<!ENTITY e \"E\">]><pnldata><metadata name=\"m\" type=\"form\">"
      "<form><field name=\"a&e;\"/><field name=\"b\"/></form></metadata></pnldata>";
  ExpectLookupsAsQueries(text, "m");
  pnl_xml::Xml description;
  ASSERT_TRUE(description.LoadFromString(text, "description"));
  MetadataLookups lookups(description.GetNodes("//metadata")[0]);
  EXPECT_TRUE(lookups.Field("a"));
  EXPECT_TRUE(lookups.Field("b"));
}

TEST(MessageLookupsTest, AnswerAsTheQuery) {
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(
      "<msg name=\"root\" xmlns:p=\"urn:p\"><messages><msg name=\"a\"><msg name=\"nested\"/>"
      "</msg><p:msg name=\"in_ns\"/><msg p:name=\"ns_attr\"/><msg name=\"it's\"/>"
      "<msg name='say \"hi\"'/><msg name=\"\"/><x xmlns=\"urn:d\"><msg name=\"default_ns\"/></x>"
      "</messages></msg>",
      "messages"));
  std::vector<bool> written;
  pnl_xml::SetLiteralEvaluation(true);
  for (const std::string& key : Keys(doc))
    written.push_back(!doc.GetNodes("//msg[@name='" + key + "']").empty());
  pnl_xml::SetLiteralEvaluation(false);
  MessageLookups lookups(doc);
  size_t i = 0;
  for (const std::string& key : Keys(doc)) EXPECT_EQ(written[i++], lookups.Has(key)) << key;
  EXPECT_TRUE(lookups.Has("root"));
  EXPECT_TRUE(lookups.Has("nested"));
  EXPECT_FALSE(lookups.Has("in_ns"));
  EXPECT_FALSE(lookups.Has("ns_attr"));
  EXPECT_FALSE(lookups.Has("default_ns"));
  EXPECT_FALSE(lookups.Has("it's"));
}

// Names written with references and blanks that the parser replaces or
// normalises, in every kind of name the lookups gather.
const char* const kWrittenNames[] = {"a&amp;b", "a&lt;b", "a&quot;b", "a&#9;b",
                                     "a&#10;b", "a\tb",    "a\nb",     "a&#38;&#x26;b"};

TEST(MetadataLookupsTest, NamesWrittenWithReferencesAnswerAsTheQueries) {
  std::string text = "<pnldata>";
  for (const char* name : kWrittenNames) {
    const std::string n = name;
    text += "<metadata name=\"f" + n + "\" type=\"form\"><form><field name=\"f" + n +
            "\"><input name=\"i" + n + "\"/></field><page name=\"p" + n +
            "\"><field name=\"pf" + n + "\"/></page></form></metadata>"
            "<metadata name=\"l" + n + "\" type=\"list\"><coldata><col name=\"c" + n +
            "\"><prop name=\"p" + n + "\"/></col></coldata><toolbar><toolbtn name=\"b" + n +
            "\" func=\"fn" + n + "\"/></toolbar></metadata>";
  }
  text += "</pnldata>";
  for (size_t at = 0; at < std::size(kWrittenNames); ++at) {
    const char* name = kWrittenNames[at];
    pnl_xml::Xml description;
    ASSERT_TRUE(description.LoadFromString(text, "description"));
    // The metadata element's own name, as the document holds it.
    const pnl_xml::XPath forms(description, "/pnldata/metadata[@type='form']");
    const pnl_xml::XPath lists(description, "/pnldata/metadata[@type='list']");
    ExpectLookupsAsQueries(text, forms[at].GetProp("name"));
    ExpectLookupsAsQueries(text, lists[at].GetProp("name"));
    MetadataLookups form(forms[at]);
    MetadataLookups list(lists[at]);
    const std::string held = forms[at].GetProp("name").substr(1);
    EXPECT_TRUE(form.Field("f" + held)) << name;
    EXPECT_TRUE(form.Field("i" + held)) << name;
    EXPECT_TRUE(form.Field("pf" + held)) << name;
    EXPECT_TRUE(form.Page("pf" + held)) << name;
    EXPECT_TRUE(list.Col("c" + held)) << name;
    EXPECT_TRUE(list.ColProp("p" + held)) << name;
    EXPECT_TRUE(list.ToolbtnByName("b" + held)) << name;
    EXPECT_TRUE(list.ToolbtnByFunc("fn" + held)) << name;
    EXPECT_FALSE(list.Col(std::string("c") + name)) << name;
  }
}

TEST(MessageLookupsTest, NamesWrittenWithReferencesAnswerAsTheQuery) {
  std::string text = "<messages name=\"s&amp;t\">";
  for (const char* name : kWrittenNames) text += std::string("<msg name=\"m") + name + "\">T</msg>";
  text += "</messages>";
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(text, "messages"));
  std::vector<std::string> keys = Keys(doc);
  for (const char* name : kWrittenNames) keys.push_back(std::string("m") + name);
  std::vector<bool> written;
  pnl_xml::SetLiteralEvaluation(true);
  for (const std::string& key : keys)
    written.push_back(!doc.GetNodes("//msg[@name='" + key + "']").empty());
  pnl_xml::SetLiteralEvaluation(false);
  MessageLookups lookups(doc);
  for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(written[i], lookups.Has(keys[i])) << keys[i];
  for (const char* held : {"ma&b", "ma<b", "ma\"b", "ma\tb", "ma\nb", "ma b", "ma&&b"})
    EXPECT_TRUE(lookups.Has(held)) << held;
  EXPECT_FALSE(lookups.Has("ma&amp;b"));
}

TEST_F(UnusedTest, TrickyDescriptionReportsAsUnderLiteralEvaluation) {
  dir_.Write("etc/xml/sab.xml", kTrickyDescription);
  const std::string messages =
      "<msg name=\"plain\">1</msg><msg name=\"ns_attr\">2</msg><msg name=\"inner\">3</msg>"
      "<msg name=\"deep\">4</msg><msg name=\"it's\">5</msg><msg name=\"hint_grouped\">6</msg>"
      "<msg name=\"placeholder_inner_child\">7</msg><msg name=\"plain_x\">8</msg>"
      "<msg name=\"it's_x\">9</msg><msg name=\"c1\">10</msg><msg name=\"short_b_in_b\">11</msg>"
      "<msg name=\"short_b_in_ns\">12</msg><msg name=\"hint_p_def_p1\">13</msg>"
      "<msg name=\"hint_p_p_in_ns\">14</msg><msg name=\"hint_c_outside\">15</msg>"
      "<msg name=\"msg_user_edit\">16</msg><msg name=\"msg_confirm_f_ns\">17</msg>"
      "<msg name=\"x_c_nested\">18</msg><msg name=\"x\">19</msg><msg name=\"x_y\">20</msg>";
  for (const char* root : {"spaces", "nested", "quotes", "lists"})
    Cache(std::string(root) + ".msg.en.xml", root, messages);
  pnl_xml::SetLiteralEvaluation(true);
  const std::string written = Run();
  pnl_xml::SetLiteralEvaluation(false);
  EXPECT_EQ(written, Run());
  EXPECT_NE(written.find("nested.msg.en.xml\n\tplain - field is not found."), std::string::npos);
}

TEST_F(UnusedTest, OnePassReportsAndRecordsAsTheTwoAudits) {
  dir_.Write("etc/xml/sab_msg_en.xml",
             "<pnldata><lang name=\"en\"><messages name=\"user\"><msg name=\"gone\">G</msg>"
             "</messages></lang></pnldata>");
  Cache("shared.msg.en.xml", "shared", "<msg name=\"size\">S</msg><msg name=\"lost\">G</msg>");
  Cache("user.msg.en.xml", "user",
        "<msg name=\"gone\">G</msg><msg name=\"size_max\">S</msg>"
        "<include name=\"shared\">sh</include><include name=\"absent\">ab</include>");
  Cache("users.msg.en.xml", "users",
        "<msg name=\"width\">W</msg><msg name=\"added\" added=\"1\">G</msg>");
  std::ostringstream two_out;
  RunContext two_audits("sab", dir_.path(), two_out);
  check_repeats(two_audits, "en");
  check_unused(two_audits, "en");
  const std::string two = two_out.str();
  std::ostringstream one_out;
  RunContext one_pass("sab", dir_.path(), one_out);
  check_repeats_and_unused(one_pass, "en");
  EXPECT_EQ(two, one_out.str());
  EXPECT_EQ(two_audits.findings.ToJson(), one_pass.findings.ToJson());
  EXPECT_NE(two.find("2 - 'G'\n\tshared.msg.en.xml lost\n\tuser.msg.en.xml gone\n"),
            std::string::npos);
  EXPECT_NE(two.find("\tlost - field is not found."), std::string::npos);
}

TEST(NameSplitTest, SplitsAtTheFirstUnderscore) {
  EXPECT_EQ(get_prefix("menu_item"), "menu");
  EXPECT_EQ(cut_prefix("menu_item"), "item");
  EXPECT_EQ(get_prefix("a_b_c"), "a");
  EXPECT_EQ(cut_prefix("a_b_c"), "b_c");
}

TEST(NameSplitTest, NameWithoutUnderscoreHasNoPrefix) {
  EXPECT_EQ(get_prefix("title"), "");
  EXPECT_EQ(cut_prefix("title"), "title");
  EXPECT_EQ(get_prefix(""), "");
  EXPECT_EQ(cut_prefix(""), "");
}

TEST(NameSplitTest, TrailingUnderscoreCountsAsNoPrefix) {
  EXPECT_EQ(get_prefix("abc_"), "");
  EXPECT_EQ(cut_prefix("abc_"), "abc");
}

TEST(NameSplitTest, LeadingUnderscoreGivesEmptyPrefix) {
  EXPECT_EQ(get_prefix("_abc"), "");
  EXPECT_EQ(cut_prefix("_abc"), "abc");
}

}  // namespace
