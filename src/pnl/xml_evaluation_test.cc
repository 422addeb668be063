// The shortcuts of the XML layer: queries answered from an index or from
// their anchor element select what the query selects as written, and a
// file loaded again gives what a new parse would give.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pnl/xml.h"
#include "support/scratch_dir.h"

namespace {

// Names (and text) of the nodes that `expr` selects, evaluated either way.
std::vector<std::string> Select(const pnl_xml::Xml& doc, const std::string& expr,
                                bool literal) {
  pnl_xml::SetLiteralEvaluation(literal);
  std::vector<std::string> out;
  for (pnl_xml::XmlNode node : pnl_xml::XPath(doc, expr))
    out.push_back(node.Name() + "=" + node.GetProp("name") + "/" + node.Str());
  pnl_xml::SetLiteralEvaluation(false);
  return out;
}

class XmlEvaluationTest : public testing::Test {
 protected:
  void ExpectSameEitherWay(const pnl_xml::Xml& doc, const std::string& expr) {
    SCOPED_TRACE(expr);
    EXPECT_EQ(Select(doc, expr, true), Select(doc, expr, false));
  }
};

const char kDescription[] = R"(<?xml version="1.0"?>
<pnldata>
  <mainmenu><node name="a"><node name="b"/></node><node name="c"/></mainmenu>
  <metadata name="user" type="form" if="x">
    <form><field name="size" if="x"><input type="text"/></field>
      <field name="quota"><textdata type="msg" name="quota"/></field></form>
  </metadata>
  <metadata name="user" type="list">
    <coldata><col name="name" type="msg"><setcolor color="red"/></col></coldata>
    <toolbar><toolbtn name="edit" func="user.edit"/></toolbar>
  </metadata>
  <metadata name="it's" type="form"/>
</pnldata>
)";

// The same with a second pnldata element further down.
const char kTwoRoots[] = R"(<?xml version="1.0"?>
<pnldata>
  <metadata name="user" type="form"/>
  <metadata name="user" type="list"/>
  <other><pnldata><metadata name="user" type="form"/></pnldata></other>
</pnldata>
)";

TEST_F(XmlEvaluationTest, AnchoredQueriesSelectWhatTheLiteralQueriesSelect) {
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(kDescription, "description"));
  for (const char* expr : {
           "//pnldata/metadata",
           "//pnldata/metadata[@name='user']/form",
           "//pnldata/metadata[@name='user']/form/field[(boolean(@if)=false or "
           "@if!='windows') and not(@noname)]",
           "//pnldata/metadata[@name='user']/coldata/col[@name='name']/setcolor",
           "//pnldata/metadata[@name='user']/coldata//setcolor",
           "//pnldata/metadata[@name='it's']/form",
           "//pnldata/*[1]/*",
           "//pnldata/*[2]/*[1]/*[last()]",
           "//pnldata/mainmenu/node/node/@name",
           "//mainmenu/node/@name",
           "//mainmenu/node | //metadata",
           "//mainmenu/node[@name='a|b']",
           "//mainmenu/..",
           "//form/field/*[@name='size']",
           "//toolbar//toolbtn[@func='user.edit']",
           "//coldata/col[@name='name'] = 'x'",
           "//nothing/here",
           "//metadata/form[",
           "//metadata[@name=\"user\"]",
           "//metadata[@name='user']/form/field",
           "//metadata[@type='form']",
           "//metadata[@type='form']/form/field/@name",
           "//metadata[@name='nobody']/form",
           "//pnldata/metadata[@name='nobody']/form",
           "//pnldata/metadata[@name='user'][2]/coldata",
           "//pnldata/metadata[@name='user']/..",
           "//pnldata/metadata[@type='list']/toolbar//toolbtn[@name='edit']",
           "//field[@name='size']/input",
           "//field[@if='x']",
           "//node[@name='a']/node/@name",
           "//pnldata/*",
           "//pnldata/*[0]",
           "//pnldata/*[3]",
           "//pnldata/*[2]/*[1]/*",
           "//pnldata/*[2]/*[1]/*[2]/*",
           "//pnldata/*[2]/*[9]/*",
           "//pnldata/*[1]/*[1]/*[1]/*[1]/*",
           "//pnldata/*[2]/*[1]/*[1]",
           "//pnldata/*[02]/*",
           "//pnldata/*[2]/*[1]/*[2]/*[1]/*/*",
           "//mainmenu/node[@name='c']",
           "//node/node[@name='b']",
           "//node/node[@name='b']/..",
       })
    ExpectSameEitherWay(doc, expr);
}

TEST_F(XmlEvaluationTest, AnAnchorThatIsNotUniqueIsEvaluatedAsWritten) {
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(kTwoRoots, "description"));
  // Two pnldata elements: the inner one's metadata counts too.
  EXPECT_EQ(Select(doc, "//pnldata/metadata[@name='user']", false).size(), 3u);
  ExpectSameEitherWay(doc, "//pnldata/metadata[@name='user']");
  ExpectSameEitherWay(doc, "//pnldata/metadata[@name='user']/@type");
  ExpectSameEitherWay(doc, "//metadata[@name='user']");
  ExpectSameEitherWay(doc, "//metadata[@name='user']/@type");
}

TEST_F(XmlEvaluationTest, TextKeyedQueriesSelectWhatTheLiteralQueriesSelect) {
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(
      "<doc><elem><action>user</action></elem><elem><action> user</action></elem>"
      "<elem><action>us<!-- split -->er</action></elem><elem><action>user<b/>user</action>"
      "</elem><elem><action><![CDATA[user]]></action></elem><x><action>user</action></x>"
      "<elem><action/></elem></doc>",
      "reply"));
  EXPECT_EQ(Select(doc, "//elem/action[text()='user']", false).size(), 3u);
  for (const char* expr : {"//elem/action[text()='user']", "//elem/action[text()='us']",
                           "//elem/action[text()='']", "//action[text()='user']",
                           "//elem/action[text()=\"user\"]/..", "//elem/action[text()='x']"})
    ExpectSameEitherWay(doc, expr);
}

TEST_F(XmlEvaluationTest, AttributesInANamespaceDoNotMatchAPlainName) {
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(
      "<messages xmlns:x='urn:x'><msg x:name='a'>1</msg><msg name='a'>2</msg>"
      "<x:msg name='a'>3</x:msg></messages>",
      "m"));
  EXPECT_EQ(Select(doc, "//messages/msg[@name='a']", false).size(), 1u);
  ExpectSameEitherWay(doc, "//messages/msg[@name='a']");
  ExpectSameEitherWay(doc, "//msg[@name='a']");
}

TEST_F(XmlEvaluationTest, ChangesToTheDocumentAreSeenByLaterQueries) {
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString("<messages><msg name='a'>A</msg></messages>", "m"));
  EXPECT_EQ(Select(doc, "//messages/msg[@name='b']", false).size(), 0u);
  doc.GetRoot().AppendChild("messages").AppendChild("msg").SetProp("name", "b");
  // Now two messages elements: the anchor is no longer unique.
  EXPECT_EQ(Select(doc, "//messages/msg[@name='b']", false).size(), 1u);
  doc.RemoveNodes("//messages/messages");
  EXPECT_EQ(Select(doc, "//messages/msg[@name='b']", false).size(), 0u);
  ExpectSameEitherWay(doc, "//messages/msg");
}

}  // namespace

namespace {

class ParsedFileTest : public testing::Test {
 protected:
  testing_support::ScratchDir dir_;
};

std::string Texts(const pnl_xml::Xml& doc) {
  std::string out;
  for (pnl_xml::XmlNode node : pnl_xml::XPath(doc, "//msg")) out += node.Str() + ";";
  return out;
}

TEST_F(ParsedFileTest, ALoadAfterAChangeOfTheDocumentParsesAgain) {
  dir_.Write("m.xml", "<messages><msg>a</msg></messages>");
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile("m.xml");
    doc.GetRoot().AppendChild("msg");
  }
  pnl_xml::Xml again;
  again.LoadFromFile("m.xml");
  EXPECT_EQ(Texts(again), "a;");
}

TEST_F(ParsedFileTest, EveryLoadOfAFileThatItsUsersChangeStartsUntouched) {
  dir_.Write("m.xml", "<messages><msg>a</msg><!-- c --><msg>b</msg></messages>");
  for (int i = 0; i < 5; ++i) {
    pnl_xml::Xml doc;
    doc.LoadFromFile("m.xml");
    EXPECT_EQ(Texts(doc), "a;b;") << "load " << i;
    EXPECT_EQ(doc.ToString(true),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<messages><msg>a</msg><!-- c --><msg>b</msg></messages>\n");
    doc.GetRoot().AppendChild("msg").SetProp("name", "added");
    doc.RemoveNodes("//msg[1]");
  }
}

TEST_F(ParsedFileTest, ALoadAfterAChangeOfTheFileParsesAgain) {
  dir_.Write("m.xml", "<messages><msg>a</msg></messages>");
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile("m.xml");
    EXPECT_EQ(Texts(doc), "a;");
  }
  dir_.Write("m.xml", "<messages><msg>b</msg><msg>c</msg></messages>");
  pnl_xml::Xml again;
  again.LoadFromFile("m.xml");
  EXPECT_EQ(Texts(again), "b;c;");
}

TEST_F(ParsedFileTest, TwoLiveLoadsOfOneFileAreIndependent) {
  dir_.Write("m.xml", "<messages><msg>a</msg></messages>");
  pnl_xml::Xml first, second;
  first.LoadFromFile("m.xml");
  second.LoadFromFile("m.xml");
  first.GetRoot().AppendChild("msg");
  EXPECT_EQ(Texts(first), "a;;");
  EXPECT_EQ(Texts(second), "a;");
}

TEST_F(ParsedFileTest, NodesTakenBeforeKeepTheirDocumentFromBeingHandedOut) {
  dir_.Write("m.xml", "<messages><msg>a</msg></messages>");
  pnl_xml::XmlNode kept;
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile("m.xml");
    kept = doc.GetRoot();
  }
  pnl_xml::Xml again;
  again.LoadFromFile("m.xml");
  again.GetRoot().AppendChild("msg");
  EXPECT_EQ(kept.Str(), "a");
  EXPECT_EQ(Texts(again), "a;;");
}

TEST_F(ParsedFileTest, WithoutKeepingNoLoadIsKept) {
  dir_.Write("kept.xml", "<messages><msg>a</msg></messages>");
  dir_.Write("read.xml", "<messages><msg>b</msg></messages>");
  const std::size_t before = pnl_xml::KeptParsedFiles();
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile("kept.xml");
  }
  EXPECT_EQ(before + 1, pnl_xml::KeptParsedFiles());
  pnl_xml::SetKeepParsedFiles(false);
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile("read.xml");
    EXPECT_EQ(Texts(doc), "b;");
  }
  pnl_xml::SetKeepParsedFiles(true);
  EXPECT_EQ(before + 1, pnl_xml::KeptParsedFiles());
}

}  // namespace
