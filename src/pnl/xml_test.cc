#include "pnl/xml.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "pnl/file.h"
#include "pnl/log.h"
#include "support/scratch_dir.h"

namespace {

using pnl_xml::Xml;
using pnl_xml::XmlNode;
using pnl_xml::XPath;
using testing_support::LogRecords;
using testing_support::ScratchDir;

const char kMessages[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"en\">\n"
    "    <messages name=\"user\">\n"
    "      <msg name=\"title\">Users</msg>\n"
    "      <msg name=\"hint_name\">  The user's <b>name</b>  </msg>\n"
    "      <include name=\"common\"/>\n"
    "    </messages>\n"
    "    <messages name=\"common\">\n"
    "      <msg name=\"ok\">OK</msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

// A reporter as a program installs one: the line on standard error.
void PrintProblem(const std::string&, const std::string& line) {
  fprintf(stderr, "%s\n", line.c_str());
}

// The tests run with the library's log open and with a reporter that
// prints each file problem on standard error.
class XmlTest : public testing::Test {
 protected:
  XmlTest() {
    pnl_log::Init("test", 9);
    pnl_xml::SetProblemReporter(PrintProblem);
  }
  ~XmlTest() override { pnl_log::Close(); }

  std::string Records() const { return LogRecords(dir_.path(), "test"); }

  Xml Load(const std::string& text) {
    dir_.Write("doc.xml", text);
    Xml doc;
    doc.LoadFromFile("doc.xml");
    return doc;
  }

  ScratchDir dir_;
};

// ------------------------------------------------------------------ Xml

TEST_F(XmlTest, DefaultDocumentHasNoRoot) {
  Xml doc;
  EXPECT_FALSE(doc.GetRoot());
  EXPECT_TRUE(XPath(doc, "//*").empty());
  EXPECT_FALSE(doc.GetRoot().AppendChild("x"));
  EXPECT_TRUE(doc.GetNodes("/*").empty());
}

TEST_F(XmlTest, LoadFromFileAndGetRoot) {
  Xml doc = Load(kMessages);
  ASSERT_TRUE(doc.GetRoot());
  EXPECT_EQ("pnldata", doc.GetRoot().Name());
  EXPECT_EQ("", Records());
}

TEST_F(XmlTest, LoadReplacesThePreviousDocument) {
  Xml doc = Load(kMessages);
  dir_.Write("other.xml", "<other/>");
  EXPECT_TRUE(doc.LoadFromFile("other.xml"));
  EXPECT_EQ("other", doc.GetRoot().Name());
  EXPECT_TRUE(doc.GetNodes("//msg").empty());
}

TEST_F(XmlTest, HandlesTakenBeforeAReloadStaySafe) {
  Xml doc = Load(kMessages);
  Xml copy = doc;
  XmlNode title = doc.GetNodes("//msg")[0];
  dir_.Write("other.xml", "<other/>");
  doc.LoadFromFile("other.xml");
  EXPECT_EQ("Users", title.Str());
  EXPECT_EQ("other", copy.GetRoot().Name());
}

TEST_F(XmlTest, MissingFileLeavesAnEmptyDocumentQuietly) {
  Xml doc = Load(kMessages);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromFile("missing.xml"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(doc.GetRoot());
  EXPECT_TRUE(doc.GetNodes("//msg").empty());
  EXPECT_EQ("6 Cannot read missing.xml: No such file or directory\n",
            Records());
}

TEST_F(XmlTest, WithoutAReporterTheLibraryPrintsNothing) {
  pnl_xml::SetProblemReporter(nullptr);
  dir_.Write("bad.xml", "<pnldata>\n");
  dir_.MakeDir("dir.xml");
  Xml doc;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromFile("bad.xml"));
  EXPECT_FALSE(doc.LoadFromFile("dir.xml"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_NE(std::string::npos, Records().find("3 bad.xml:2: "));
}

TEST_F(XmlTest, UnreadableFileGivesEmptyDocumentOneStderrLineAndARecord) {
  pnl_xml::SetProblemReporter(PrintProblem);
  Xml doc = Load(kMessages);
  dir_.MakeDir("dir.xml");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromFile("dir.xml"));
  EXPECT_EQ("dir.xml: cannot read: Is a directory\n", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(doc.GetRoot());
  EXPECT_EQ("3 Cannot read dir.xml: Is a directory\n", Records());
}

TEST_F(XmlTest, MalformedFileGivesEmptyDocumentOneStderrLineAndARecord) {
  pnl_xml::SetProblemReporter(PrintProblem);
  dir_.Write("bad.xml", "<pnldata>\n  <msg name=\"a\">x</msg>\n</pnl>\n");
  Xml doc;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromFile("bad.xml"));
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ(
      "bad.xml:3: Opening and ending tag mismatch: pnldata line 1 and pnl\n",
      err);
  EXPECT_FALSE(doc.GetRoot());
  EXPECT_TRUE(doc.GetNodes("//msg").empty());
  EXPECT_EQ(
      "3 bad.xml:3: Opening and ending tag mismatch: pnldata line 1 and pnl\n",
      Records());
}

TEST_F(XmlTest, AQuietLoadOfMalformedTextTellsNothing) {
  Xml doc = Load(kMessages);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadQuietly("<pnldata>\n</pnl>\n", "bad.xml"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(doc.GetRoot());
  EXPECT_EQ("", Records());
  EXPECT_TRUE(doc.LoadQuietly(kMessages, "good.xml"));
  EXPECT_EQ("pnldata", doc.GetRoot().Name());
  EXPECT_EQ(2, doc.GetRoot().Line());
}

TEST_F(XmlTest, FifoIsNamedForWhatItIsAndNotOpened) {
  pnl_xml::SetProblemReporter(PrintProblem);
  ASSERT_EQ(0, mkfifo((dir_.path() + "/pipe.xml").c_str(), 0600));
  Xml doc;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromFile("pipe.xml"));
  EXPECT_EQ("pipe.xml is a FIFO, not a regular file\n", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(doc.GetRoot());
}

TEST_F(XmlTest, TooDeepDocumentIsToldInOurWords) {
  pnl_xml::SetProblemReporter(PrintProblem);
  std::string text;
  for (int i = 0; i < 300; ++i) text += "<a>";
  for (int i = 0; i < 300; ++i) text += "</a>";
  dir_.Write("deep.xml", text + "\n");
  Xml doc;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromFile("deep.xml"));
  EXPECT_EQ("deep.xml:1: the document is nested too deeply (the limit is 256 levels)\n",
            testing::internal::GetCapturedStderr());
  pnl_xml::ParseProblem problem;
  EXPECT_FALSE(pnl_xml::CheckWellFormed(text, "deep.xml", &problem));
  EXPECT_EQ("the document is nested too deeply (the limit is 256 levels)", problem.message);
}

TEST_F(XmlTest, EmptyFileIsMalformed) {
  pnl_xml::SetProblemReporter(PrintProblem);
  dir_.Write("empty.xml", "");
  Xml doc;
  testing::internal::CaptureStderr();
  doc.LoadFromFile("empty.xml");
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(0u, err.find("empty.xml:"));
  EXPECT_EQ(1, std::count(err.begin(), err.end(), '\n'));
  EXPECT_FALSE(doc.GetRoot());
}

TEST_F(XmlTest, InternalEntitiesLoadWithoutExpanding) {
  testing::internal::CaptureStderr();
  Xml doc = Load(
      "<?xml version=\"1.0\"?>\n"
      "<!DOCTYPE r [\n"
      " <!ENTITY a \"aaaa\">\n"
      " <!ENTITY b \"&a;&a;&a;\">\n"
      "]>\n<r><msg name=\"a\">x&b;y</msg></r>\n");
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  XPath msgs(doc, "//msg");
  ASSERT_EQ(1u, msgs.size());
  EXPECT_EQ("xy", msgs[0].Str());
  EXPECT_EQ("xy", doc.GetRoot().Str());
  // XPath's own string value does not expand it either.
  EXPECT_EQ(1u, XPath(doc, "//msg[.='xy']").size());
  // Nor is the reference written back: without its declaration it would
  // make the text not well-formed.
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<r><msg name=\"a\">xy</msg></r>\n",
      doc.ToString(true));
}

TEST_F(XmlTest, EntityExpansionBombIsRefusedWithoutExpanding) {
  std::string bomb =
      "<?xml version=\"1.0\"?>\n"
      "<!DOCTYPE lolz [\n"
      " <!ENTITY lol \"lol\">\n";
  for (int i = 1; i <= 9; ++i) {
    std::string prev = i == 1 ? "lol" : "lol" + std::to_string(i - 1);
    bomb += " <!ENTITY lol" + std::to_string(i) + " \"";
    for (int j = 0; j < 10; ++j) bomb += "&" + prev + ";";
    bomb += "\">\n";
  }
  bomb += "]>\n<lolz><msg name=\"a\">x&lol9;y</msg></lolz>\n";
  testing::internal::CaptureStderr();
  Xml doc = Load(bomb);
  std::string err = testing::internal::GetCapturedStderr();
  // The parser's own guard refuses the document: it is treated as a
  // malformed file, and nothing was expanded on the way.
  EXPECT_EQ("doc.xml:14: Detected an entity reference loop\n", err);
  EXPECT_FALSE(doc.GetRoot());
  EXPECT_TRUE(doc.GetNodes("//msg").empty());
  EXPECT_EQ("3 doc.xml:14: Detected an entity reference loop\n", Records());
}

TEST_F(XmlTest, ExternalEntityIsNeitherLoadedNorExpanded) {
  dir_.Write("secret.txt", "SECRET");
  // A URI of the file: the scratch directory's blanks percent-encoded.
  std::string uri = "file://";
  for (char c : dir_.path() + "/secret.txt") uri += c == ' ' ? std::string("%20") : std::string(1, c);
  std::string xxe =
      "<?xml version=\"1.0\"?>\n"
      "<!DOCTYPE r [\n"
      " <!ENTITY xxe SYSTEM \"" + uri + "\">\n"
      " <!ENTITY % ext SYSTEM \"" + uri + "\">\n"
      " %ext;\n"
      "]>\n<r><msg name=\"a\" v=\"1\">[&xxe;]</msg></r>\n";
  testing::internal::CaptureStderr();
  Xml doc = Load(xxe);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("[]", doc.GetNodes("//msg")[0].Str());
  EXPECT_EQ(std::string::npos, doc.ToString(true).find("SECRET"));
  EXPECT_EQ(0u, XPath(doc, "//msg[contains(., 'SECRET')]").size());
}

TEST_F(XmlTest, ExternalDtdIsNotLoaded) {
  dir_.Write("d.dtd", "<!ENTITY e \"EXPANDED\"><!ATTLIST r a CDATA \"dflt\">");
  Xml doc = Load("<?xml version=\"1.0\"?>\n<!DOCTYPE r SYSTEM \"d.dtd\">\n"
                 "<r>x</r>\n");
  ASSERT_TRUE(doc.GetRoot());
  EXPECT_EQ("", doc.GetRoot().GetProp("a"));
  EXPECT_EQ("x", doc.GetRoot().Str());
}

TEST_F(XmlTest, WhitespaceTextIsKept) {
  Xml doc = Load(kMessages);
  EXPECT_EQ("  The user's name  ",
            doc.GetNodes("//msg[@name='hint_name']")[0].Str());
  EXPECT_EQ(" ", Load("<r><m> </m></r>").GetNodes("//m")[0].Str());
}

TEST_F(XmlTest, LoadFromStringNamesTheOriginInMessages) {
  Xml doc;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(doc.LoadFromString("<a>", "reply"));
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(0u, err.find("reply:1: ")) << err;
  EXPECT_TRUE(doc.LoadFromString("<a>t</a>", "reply"));
  EXPECT_EQ("t", doc.GetRoot().Str());
}

TEST_F(XmlTest, SetRootCopiesTheNode) {
  Xml source = Load(kMessages);
  XmlNode section = source.GetNodes("//messages[@name='user']")[0];
  Xml doc;
  XmlNode root = doc.SetRoot(section, false);
  ASSERT_TRUE(root);
  EXPECT_EQ("messages", doc.GetRoot().Name());
  EXPECT_EQ("user", doc.GetRoot().GetProp("name"));
  EXPECT_EQ(3u, doc.GetNodes("/messages/*").size());
  // A copy: changing it leaves the source alone.
  root.SetProp("name", "changed");
  EXPECT_EQ("user", section.GetProp("name"));
  EXPECT_EQ("changed", doc.GetRoot().GetProp("name"));
}

TEST_F(XmlTest, SetRootReplacesTheRootAndKeepsOldHandlesSafe) {
  Xml doc = Load(kMessages);
  XmlNode old_root = doc.GetRoot();
  XPath msgs = doc.GetNodes("//msg");
  Xml other = Load("<new><x/></new>");
  doc.SetRoot(other.GetRoot(), false);
  EXPECT_EQ("new", doc.GetRoot().Name());
  EXPECT_TRUE(doc.GetNodes("//msg").empty());
  EXPECT_EQ("pnldata", old_root.Name());
  EXPECT_EQ("Users", msgs[0].Str());
}

TEST_F(XmlTest, GetNodesIsXPath) {
  Xml doc = Load(kMessages);
  XPath a = doc.GetNodes("//msg");
  XPath b(doc, "//msg");
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(a[i].Str(), b[i].Str());
}

TEST_F(XmlTest, RemoveNodesDeletesWithSubtree) {
  Xml doc = Load(kMessages);
  doc.RemoveNodes("//messages[@name='user']");
  EXPECT_TRUE(doc.GetNodes("//msg[@name='title']").empty());
  EXPECT_TRUE(doc.GetNodes("//include").empty());
  EXPECT_EQ(1u, doc.GetNodes("//msg").size());
}

TEST_F(XmlTest, RemoveNodesOfNestedSelection) {
  Xml doc = Load(kMessages);
  doc.RemoveNodes("//lang | //msg | //@name");
  EXPECT_TRUE(doc.GetNodes("//*[name()!='pnldata']").empty());
  EXPECT_EQ("pnldata", doc.GetRoot().Name());
}

TEST_F(XmlTest, XPathSetIsFixedAfterRemoveNodes) {
  Xml doc = Load(kMessages);
  XPath includes = doc.GetNodes("//include");
  XPath msgs = doc.GetNodes("//msg");
  doc.RemoveNodes("//include");
  ASSERT_EQ(1u, includes.size());
  EXPECT_EQ("common", includes[0].GetProp("name"));
  EXPECT_FALSE(includes[0].Parent(1));
  EXPECT_EQ(3u, msgs.size());
  EXPECT_TRUE(doc.GetNodes("//include").empty());
}

TEST_F(XmlTest, SaveIndentedAndReloads) {
  Xml doc("pnldata");
  XmlNode m = doc.GetRoot().AppendChild("metadata");
  m.SetProp("name", "user");
  m.AppendChild("form");
  doc.Save("out.xml", false);
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <metadata name=\"user\">\n"
      "    <form/>\n"
      "  </metadata>\n"
      "</pnldata>\n",
      dir_.Read("out.xml"));
  EXPECT_EQ(dir_.Read("out.xml"), doc.ToString(false));
  Xml again;
  EXPECT_TRUE(again.LoadFromFile("out.xml"));
  EXPECT_EQ("user", again.GetNodes("/pnldata/metadata")[0].GetProp("name"));
}

TEST_F(XmlTest, SaveRawKeepsTheTreeAsItStands) {
  Xml doc = Load("<r>\n <a>x</a></r>");
  EXPECT_TRUE(doc.Save("raw.xml", true).ok());
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r>\n <a>x</a></r>\n",
            dir_.Read("raw.xml"));
  EXPECT_EQ(dir_.Read("raw.xml"), doc.ToString(true));
}

TEST_F(XmlTest, FailedSaveKeepsTheOldFile) {
  dir_.Write("keep.xml", "old");
  Xml doc("r");
  EXPECT_FALSE(doc.Save("missing/dir/keep.xml", false).ok());
  EXPECT_EQ("old", dir_.Read("keep.xml"));
  EXPECT_NE(std::string::npos, Records().find("3 Cannot write missing/dir/"));
}

TEST_F(XmlTest, SaveEscapesText) {
  Xml doc("r");
  doc.GetRoot().SetProp("a", "<&\"'>");
  doc.GetRoot().AppendChild("m").SetProp("b", "&amp;");
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<r a=\"&lt;&amp;&quot;'&gt;\"><m b=\"&amp;amp;\"/></r>\n",
      doc.ToString(true));
}

TEST_F(XmlTest, CopiesShareTheDocument) {
  Xml doc("r");
  Xml copy = doc;
  copy.GetRoot().AppendChild("added");
  EXPECT_EQ(1u, doc.GetNodes("/r/added").size());
}

// ------------------------------------------------------------ XPath

TEST_F(XmlTest, XPathSizeEmptyIndexAndIteration) {
  Xml doc = Load(kMessages);
  XPath msgs(doc, "//messages/msg");
  EXPECT_EQ(3u, msgs.size());
  EXPECT_FALSE(msgs.empty());
  EXPECT_EQ("title", msgs[0].GetProp("name"));
  EXPECT_EQ("ok", msgs[2].GetProp("name"));
  EXPECT_FALSE(msgs[3]);
  std::string names;
  for (XPath::iterator it = msgs.begin(); it != msgs.end(); ++it)
    names += it->GetProp("name") + "," + (*it).Name() + ";";
  EXPECT_EQ("title,msg;hint_name,msg;ok,msg;", names);
}

TEST_F(XmlTest, XPathIsInDocumentOrder) {
  Xml doc = Load(kMessages);
  XPath nodes(doc, "//msg[@name='ok'] | //include | //msg[@name='title']");
  ASSERT_EQ(3u, nodes.size());
  EXPECT_EQ("title", nodes[0].GetProp("name"));
  EXPECT_EQ("include", nodes[1].Name());
  EXPECT_EQ("ok", nodes[2].GetProp("name"));
}

TEST_F(XmlTest, XPathThatSelectsNothing) {
  Xml doc = Load(kMessages);
  XPath none(doc, "//messages/msg[@name='absent']");
  EXPECT_EQ(0u, none.size());
  EXPECT_TRUE(none.empty());
  EXPECT_FALSE(none.begin() != none.end());
  EXPECT_TRUE(XPath().empty());
}

TEST_F(XmlTest, InvalidXPathSelectsNothingQuietly) {
  Xml doc = Load(kMessages);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  XPath bad(doc, "//messages/msg[@name='it's']");
  XPath worse(doc, "//[");
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_TRUE(bad.empty());
  EXPECT_TRUE(worse.empty());
  EXPECT_EQ(
      "4 Invalid XPath expression: //messages/msg[@name='it's']\n"
      "4 Invalid XPath expression: //[\n",
      Records());
}

TEST_F(XmlTest, XPathWithNonNodeResultSelectsNothing) {
  Xml doc = Load(kMessages);
  EXPECT_TRUE(XPath(doc, "count(//msg)").empty());
  EXPECT_TRUE(XPath(doc, "string(//msg)").empty());
}

TEST_F(XmlTest, XPathSkipsNamespaceNodes) {
  Xml doc = Load("<r xmlns:a=\"urn:a\"><m/></r>");
  XPath ns(doc, "//namespace::* | //m");
  ASSERT_EQ(1u, ns.size());
  EXPECT_EQ("m", ns[0].Name());
}

TEST_F(XmlTest, AttributeNodeStrAndName) {
  Xml doc = Load(kMessages);
  XPath names(doc, "//msg/@name");
  ASSERT_EQ(3u, names.size());
  EXPECT_EQ("title", names[0].Str());
  EXPECT_EQ("name", names[0].Name());
  EXPECT_EQ("msg", names[0].Parent(1).Name());
  XPath a(Load("<r><a name=\"x&amp;y\"/></r>"), "//a/@name");
  ASSERT_EQ(1u, a.size());
  EXPECT_EQ("x&y", a[0].Str());
}

TEST_F(XmlTest, NodesKeepTheDocumentAlive) {
  XmlNode msg;
  XPath set;
  {
    Xml doc = Load(kMessages);
    msg = doc.GetNodes("//msg")[0];
    set = doc.GetNodes("//msg");
  }
  EXPECT_EQ("Users", msg.Str());
  EXPECT_EQ("messages", msg.Parent(1).Name());
  EXPECT_EQ(3u, set.size());
  EXPECT_EQ("OK", set[2].Str());
}

// ------------------------------------------------------------ XmlNode

TEST_F(XmlTest, GetPropGivesValueOrEmpty) {
  Xml doc = Load("<r><m name=\"a\" empty=\"\" amp=\"x&amp;y&#65;\"/></r>");
  XmlNode m = doc.GetNodes("//m")[0];
  EXPECT_EQ("a", m.GetProp("name"));
  EXPECT_EQ("", m.GetProp("empty"));
  EXPECT_EQ("", m.GetProp("absent"));
  EXPECT_EQ("x&yA", m.GetProp("amp"));
}

TEST_F(XmlTest, GetPropDoesNotExpandEntities) {
  testing::internal::CaptureStderr();
  Xml doc = Load(
      "<!DOCTYPE r [<!ENTITY e \"EXPANDED\">]><r><m a=\"[&e;]\"/></r>");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("[]", doc.GetNodes("//m")[0].GetProp("a"));
}

TEST_F(XmlTest, GetNoNsPropTakesOnlyTheAttributeInNoNamespace) {
  Xml doc = Load(
      "<r xmlns:p=\"urn:p\"><m p:name=\"prefixed\" name=\"plain\"/><m p:name=\"only\"/>"
      "<m name=\"\" amp=\"x&amp;y&#65;\"/></r>");
  XPath ms = doc.GetNodes("//m");
  std::string value = "old";
  EXPECT_TRUE(ms[0].GetNoNsProp("name", &value));
  EXPECT_EQ("plain", value);
  EXPECT_FALSE(ms[1].GetNoNsProp("name", &value));
  EXPECT_TRUE(ms[2].GetNoNsProp("name", &value));
  EXPECT_EQ("", value);
  EXPECT_TRUE(ms[2].GetNoNsProp("amp", &value));
  EXPECT_EQ("x&yA", value);
  EXPECT_FALSE(XmlNode().GetNoNsProp("name", &value));
}

TEST_F(XmlTest, InNoNamespaceIsWhatAnUnprefixedNameTestMatches) {
  Xml doc = Load("<r xmlns:p=\"urn:p\"><m/><p:m/><d xmlns=\"urn:d\"><m/></d></r>");
  XPath all = doc.GetNodes("//*");
  ASSERT_EQ(5u, all.size());
  EXPECT_TRUE(all[0].InNoNamespace());
  EXPECT_TRUE(all[1].InNoNamespace());
  EXPECT_FALSE(all[2].InNoNamespace());
  EXPECT_FALSE(all[3].InNoNamespace());
  EXPECT_FALSE(all[4].InNoNamespace());
  EXPECT_EQ(1u, doc.GetNodes("//m").size());
  EXPECT_FALSE(XmlNode().InNoNamespace());
}

TEST_F(XmlTest, SetPropSetsAndReplaces) {
  Xml doc("r");
  XmlNode root = doc.GetRoot();
  root.SetProp("name", "one");
  EXPECT_EQ("one", root.GetProp("name"));
  root.SetProp("name", "two & <three>");
  EXPECT_EQ("two & <three>", root.GetProp("name"));
  EXPECT_EQ(1u, doc.GetNodes("/r[@name='two & <three>']").size());
}

TEST_F(XmlTest, AppendChildByName) {
  Xml doc("r");
  XmlNode a = doc.GetRoot().AppendChild("a");
  XmlNode b = doc.GetRoot().AppendChild("b");
  EXPECT_EQ("a", a.Name());
  EXPECT_EQ("b", b.Name());
  EXPECT_EQ("", b.Str());
  EXPECT_EQ("b", doc.GetNodes("/r/*[last()]")[0].Name());
}

TEST_F(XmlTest, AppendChildCopiesAcrossDocuments) {
  Xml target("messages");
  XmlNode copy;
  {
    Xml source = Load(kMessages);
    XmlNode hint = source.GetNodes("//msg[@name='hint_name']")[0];
    copy = target.GetRoot().AppendChild(hint);
    ASSERT_TRUE(copy);
    copy.SetProp("name", "copied");
    EXPECT_EQ("hint_name", hint.GetProp("name"));
  }
  EXPECT_EQ("copied", copy.GetProp("name"));
  EXPECT_EQ("  The user's name  ",
            target.GetNodes("/messages/msg[@name='copied']")[0].Str());
  EXPECT_EQ(1u, target.GetNodes("/messages/msg/b").size());
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<messages><msg name=\"copied\">  The user's <b>name</b>  "
      "</msg></messages>\n",
      target.ToString(true));
}

TEST_F(XmlTest, NodeToStringIsHowTheDocumentWritesIt) {
  // Non-ASCII text, markup characters, CDATA, a comment, an empty element
  // and an element whose namespace is declared above it.
  Xml source = Load(
      "<doc xmlns:x=\"urn:x\"><m name=\"a&amp;b\">Пароль &lt; &quot;é&quot;"
      "<![CDATA[<raw>]]><!-- c --><e/></m><x:m name='n'>ü</x:m></doc>");
  Xml target("messages");
  target.GetRoot().SetProp("name", "s");
  std::string body;
  for (XmlNode node = source.GetRoot().FirstChild(); node; node = node.Next())
    body += target.GetRoot().AppendChild(node).ToString();
  EXPECT_EQ(
      "<m name=\"a&amp;b\">Пароль &lt; \"é\"<![CDATA[<raw>]]><!-- c --><e/></m>"
      "<x:m xmlns:x=\"urn:x\" name=\"n\">ü</x:m>",
      body);
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<messages name=\"s\">" + body +
                "</messages>\n",
            target.ToString(true));
  EXPECT_EQ("", XmlNode().ToString());
}

TEST_F(XmlTest, EntityReferencesAreDroppedSoCopiesStayWellFormed) {
  testing::internal::CaptureStderr();
  Xml source = Load("<!DOCTYPE r [<!ENTITY e \"E\">]><r><m a=\"x&e;y\">a&e;b</m></r>");
  testing::internal::GetCapturedStderr();
  Xml target("t");
  XmlNode copy = target.GetRoot().AppendChild(source.GetNodes("//m")[0]);
  EXPECT_EQ("ab", copy.Str());
  EXPECT_EQ(1u, target.GetNodes("//m[.='ab']").size());
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<t><m a=\"xy\">ab</m></t>\n",
      target.ToString(true));
}

// Found by fuzzing: a reference in an attribute value kept a pointer to
// the text of its declaration, freed with the DTD, and reading the value
// (GetProp, or a query that compares it) read freed memory.
TEST_F(XmlTest, EntityReferenceInAttributeValueReadsAsNothing) {
  testing::internal::CaptureStderr();
  Xml doc = Load("<!DOCTYPE r [<!ENTITY a \"AAAA\"><!ENTITY b \"&a;&a;\">]>"
                 "<r><m name=\"x&a;y\"/><m name=\"&b;\"/></r>");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("xy", doc.GetNodes("//m")[0].GetProp("name"));
  EXPECT_EQ("", doc.GetNodes("//m")[1].GetProp("name"));
  EXPECT_EQ(1u, XPath(doc, "//m[@name='xy']").size());
  EXPECT_EQ(0u, XPath(doc, "//m[@name='xAAAAy']").size());
  EXPECT_EQ(1u, XPath(doc, "//m[@name='']").size());
}

TEST_F(XmlTest, FindNodeFirstChildNextParent) {
  Xml doc = Load(kMessages);
  XmlNode lang = doc.GetRoot().FindNode("lang");
  ASSERT_TRUE(lang);
  EXPECT_EQ("en", lang.GetProp("name"));
  EXPECT_EQ("title", doc.GetRoot().FindNode("msg").GetProp("name"));
  EXPECT_EQ("include", doc.GetRoot().FindNode("msg").Next().Next().Name());
  XmlNode first = lang.FirstChild();
  EXPECT_EQ("user", first.GetProp("name"));
  EXPECT_EQ("common", first.Next().GetProp("name"));
  EXPECT_FALSE(first.Next().Next());
  EXPECT_FALSE(doc.GetRoot().FindNode("absent"));
  EXPECT_EQ("lang", first.Parent(1).Name());
  EXPECT_EQ("pnldata", first.Parent(2).Name());
  EXPECT_FALSE(first.Parent(3));
  EXPECT_EQ("messages", first.Parent(0).Name());
}

TEST_F(XmlTest, FirstChildAndNextYieldElementsOnly) {
  Xml doc = Load("<r>text<!--c--><a/> <?pi x?><b/>tail</r>");
  XmlNode a = doc.GetRoot().FirstChild();
  EXPECT_EQ("a", a.Name());
  EXPECT_EQ("b", a.Next().Name());
  EXPECT_FALSE(a.Next().Next());
  EXPECT_FALSE(doc.GetNodes("//a")[0].FirstChild());
}

TEST_F(XmlTest, StrConcatenatesTextAndCdata) {
  Xml doc = Load(
      "<r><m>one <b>two</b><![CDATA[ <three> ]]><!--no--><?pi no?>four</m>"
      "</r>");
  EXPECT_EQ("one two <three> four", doc.GetNodes("//m")[0].Str());
  EXPECT_EQ("one two <three> four", doc.GetRoot().Str());
  EXPECT_EQ("two", doc.GetNodes("//m/b/text()")[0].Str());
}

TEST_F(XmlTest, NameOfElement) {
  Xml doc = Load(kMessages);
  EXPECT_EQ("include", doc.GetNodes("//include")[0].Name());
  EXPECT_EQ("", doc.GetNodes("//msg/text()")[0].Name());
}

TEST_F(XmlTest, OperationsOnAnInvalidNodeAreHarmless) {
  XmlNode none;
  EXPECT_FALSE(none);
  EXPECT_EQ("", none.GetProp("name"));
  none.SetProp("name", "x");
  EXPECT_FALSE(none.AppendChild("x"));
  Xml doc("r");
  EXPECT_FALSE(none.AppendChild(doc.GetRoot()));
  EXPECT_FALSE(doc.GetRoot().AppendChild(none));
  EXPECT_FALSE(none.FindNode("x"));
  EXPECT_FALSE(none.FirstChild());
  EXPECT_FALSE(none.Next());
  EXPECT_FALSE(none.Parent(1));
  EXPECT_EQ("", none.Name());
  EXPECT_EQ("", none.Str());
  Xml empty;
  EXPECT_FALSE(empty.SetRoot(none, false));
  EXPECT_FALSE(empty.GetRoot());
}

TEST_F(XmlTest, SetRootOnAnEmptyDocumentCreatesIt) {
  Xml empty;
  Xml source = Load("<a><b/></a>");
  XmlNode root = empty.SetRoot(source.GetNodes("//b")[0], false);
  EXPECT_EQ("b", root.Name());
  EXPECT_EQ("b", empty.GetRoot().Name());
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<b/>\n",
            empty.ToString(true));
}

}  // namespace

// ------------------------------------------------------------------ Lines

TEST_F(XmlTest, LineIsWhereTheElementStarts) {
  Xml doc = Load("<?xml version=\"1.0\"?>\n<a>\n  <b name=\"x\">text</b>\n\n  <c/>\n</a>\n");
  EXPECT_EQ(2, doc.GetRoot().Line());
  EXPECT_EQ(3, doc.GetNodes("//b")[0].Line());
  EXPECT_EQ(5, doc.GetNodes("//c")[0].Line());
  // An attribute or a text node gives the line of its element.
  EXPECT_EQ(3, doc.GetNodes("//b/@name")[0].Line());
  EXPECT_EQ(3, doc.GetNodes("//b/text()")[0].Line());
  EXPECT_EQ(0, XmlNode().Line());
  // A built element was never in a file.
  Xml built("root");
  EXPECT_EQ(0, built.GetRoot().AppendChild("x").Line());
}

TEST_F(XmlTest, LineSurvivesAReloadOfTheSameFile) {
  const std::string text = "<a>\n<b/>\n<b/>\n</a>\n";
  { Xml first = Load(text); }
  Xml again;
  again.LoadFromFile("doc.xml");
  EXPECT_EQ(3, again.GetNodes("//a/b")[1].Line());
  pnl_xml::SetLiteralEvaluation(true);
  Xml literal;
  literal.LoadFromFile("doc.xml");
  EXPECT_EQ(3, literal.GetNodes("//a/b")[1].Line());
  pnl_xml::SetLiteralEvaluation(false);
}

TEST_F(XmlTest, CheckWellFormedSaysNothingAndGivesTheParserLine) {
  pnl_xml::ParseProblem problem;
  EXPECT_TRUE(pnl_xml::CheckWellFormed("<a/>", "ok.xml", &problem));
  EXPECT_FALSE(pnl_xml::CheckWellFormed("<a>\n<b>\n</a>\n", "bad.xml", &problem));
  EXPECT_EQ(3, problem.line);
  EXPECT_NE("", problem.message);
  EXPECT_FALSE(pnl_xml::CheckWellFormed("", "empty.xml", &problem));
  EXPECT_NE("", problem.message);
  EXPECT_EQ("", Records());
}
