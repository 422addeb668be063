#include "fix/msg_file_editor.h"

#include <gtest/gtest.h>

#include <string>

#include "pnl/xml.h"

namespace {

using fix::MsgFileEditor;
using fix::NewMessage;

NewMessage Todo(const std::string& name) {
  return NewMessage{name, "", {{"todo", "translate"}}};
}

// The file after adding `messages` to (lang, section); "ERROR: ..." when
// the editor refuses it.
std::string AddTo(const std::string& text, const std::string& lang,
                  const std::string& section,
                  const std::vector<NewMessage>& messages) {
  MsgFileEditor editor;
  std::string error;
  if (!editor.Load(text, "m_msg_en.xml", &error)) return "ERROR: " + error;
  for (const NewMessage& m : messages) editor.Add(lang, section, m);
  return editor.Result();
}

const char kFile[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"en\">\n"
    "    <messages name=\"user\">\n"
    "      <msg name=\"title\">Users</msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

TEST(MsgFileEditorTest, AddsToTheEndOfTheSectionWithItsIndentation) {
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"title\">Users</msg>\n"
      "      <msg name=\"hint_name\" todo=\"translate\"></msg>\n"
      "      <msg name=\"name\">Name &amp; &lt;login&gt; \"x\"</msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      AddTo(kFile, "en", "user",
            {Todo("hint_name"), NewMessage{"name", "Name & <login> \"x\"", {}}}));
}

TEST(MsgFileEditorTest, CreatesTheSectionAtTheEndOfTheLanguage) {
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"title\">Users</msg>\n"
      "    </messages>\n"
      "    <messages name=\"user.edit\">\n"
      "      <msg name=\"title\" todo=\"translate\"></msg>\n"
      "      <msg name=\"hint_a\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      AddTo(kFile, "en", "user.edit", {Todo("title"), Todo("hint_a")}));
}

TEST(MsgFileEditorTest, CreatesTheLanguageAtTheEndOfTheRoot) {
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"title\">Users</msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "  <lang name=\"ru\">\n"
      "    <messages name=\"desktop\">\n"
      "      <msg name=\"menu_user\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      AddTo(kFile, "ru", "desktop", {Todo("menu_user")}));
}

TEST(MsgFileEditorTest, SeveralSectionsAndLanguagesInOnePass) {
  MsgFileEditor editor;
  std::string error;
  ASSERT_TRUE(editor.Load(kFile, "f", &error));
  EXPECT_TRUE(editor.Add("en", "user", Todo("hint_a")));
  EXPECT_TRUE(editor.Add("en", "list", Todo("short_b")));
  EXPECT_TRUE(editor.Add("en", "user", Todo("hint_c")));
  EXPECT_TRUE(editor.Add("de", "list", Todo("x")));
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"title\">Users</msg>\n"
      "      <msg name=\"hint_a\" todo=\"translate\"></msg>\n"
      "      <msg name=\"hint_c\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "    <messages name=\"list\">\n"
      "      <msg name=\"short_b\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "  <lang name=\"de\">\n"
      "    <messages name=\"list\">\n"
      "      <msg name=\"x\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      editor.Result());
}

TEST(MsgFileEditorTest, AMessageAlreadyThereOrQueuedIsNotAddedTwice) {
  MsgFileEditor editor;
  std::string error;
  ASSERT_TRUE(editor.Load(kFile, "f", &error));
  EXPECT_FALSE(editor.Add("en", "user", Todo("title")));
  EXPECT_FALSE(editor.Changed());
  EXPECT_EQ(kFile, editor.Result());
  EXPECT_TRUE(editor.Add("en", "user", Todo("x")));
  EXPECT_FALSE(editor.Add("en", "user", Todo("x")));
  EXPECT_TRUE(editor.Add("en", "other", Todo("x")));
  EXPECT_TRUE(editor.Add("ru", "user", Todo("title")));
}

TEST(MsgFileEditorTest, KeepsEveryOtherByteOfAnOddFile) {
  // Byte-order mark, CRLF line ends, a comment after the last message,
  // CDATA, tabs and odd indentation, non-ASCII text, an entity, a
  // processing instruction, attributes in single quotes.
  const std::string before =
      "\xef\xbb\xbf<?xml version='1.0' encoding='utf-8'?>\r\n"
      "<!-- \xd0\xa1\xd0\xbe\xd0\xbe\xd0\xb1\xd1\x89\xd0\xb5\xd0\xbd\xd0\xb8\xd1\x8f -->\r\n"
      "<!DOCTYPE pnldata [ <!ENTITY co \"ACME\"> ]>\r\n"
      "<pnldata>\r\n"
      "\t<lang  name='ru' >\r\n"
      "\t\t<messages name='user'>\r\n"
      "   \t\t<msg name='title'><![CDATA[<\xd0\x9f\xd0\xbe\xd0\xbb\xd1\x8c\xd0\xb7\xd0\xbe\xd0\xb2\xd0\xb0\xd1\x82\xd0\xb5\xd0\xbb\xd0\xb8>]]></msg>\r\n"
      "\t\t\t<msg name='co'>&co; &#x416;</msg>  <?pi x?>\r\n"
      "\t\t\t<!-- end of user -->\r\n"
      "\t\t</messages>\r\n"
      "\t</lang>\r\n"
      "</pnldata>\r\n"
      "<!-- trailer -->";
  const std::string inserted =
      "\r\n\t\t\t<msg name=\"hint_\xd0\xb8\xd0\xbc\xd1\x8f\" todo=\"translate\"></msg>";
  std::string after = AddTo(before, "ru", "user", {Todo("hint_\xd0\xb8\xd0\xbc\xd1\x8f")});
  std::size_t at = before.find("\r\n\t\t</messages>");
  EXPECT_EQ(before.substr(0, at) + inserted + before.substr(at), after);
}

TEST(MsgFileEditorTest, ASelfClosedSectionIsOpened) {
  const std::string before =
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\"/>\n"
      "  </lang>\n"
      "</pnldata>\n";
  EXPECT_EQ(
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"title\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      AddTo(before, "en", "user", {Todo("title")}));
}

TEST(MsgFileEditorTest, AnEmptySectionOnOneLineGetsIndentedChildren) {
  const std::string before =
      "<pnldata>\n"
      "    <lang name=\"en\">\n"
      "        <messages name=\"user\"></messages>\n"
      "    </lang>\n"
      "</pnldata>\n";
  EXPECT_EQ(
      "<pnldata>\n"
      "    <lang name=\"en\">\n"
      "        <messages name=\"user\">\n"
      "            <msg name=\"title\" todo=\"translate\"></msg>\n"
      "        </messages>\n"
      "    </lang>\n"
      "</pnldata>\n",
      AddTo(before, "en", "user", {Todo("title")}));
}

TEST(MsgFileEditorTest, AFileOnOneLineStaysOnOneLine) {
  EXPECT_EQ(
      "<pnldata><lang name=\"en\"><messages name=\"a\"><msg name=\"x\">X</msg>"
      "<msg name=\"y\" todo=\"translate\"></msg></messages>"
      "<messages name=\"b\"><msg name=\"z\" todo=\"translate\"></msg></messages>"
      "</lang></pnldata>",
      [] {
        MsgFileEditor editor;
        std::string error;
        editor.Load("<pnldata><lang name=\"en\"><messages name=\"a\"><msg "
                    "name=\"x\">X</msg></messages></lang></pnldata>",
                    "f", &error);
        editor.Add("en", "a", Todo("y"));
        editor.Add("en", "b", Todo("z"));
        return editor.Result();
      }());
}

TEST(MsgFileEditorTest, GoesIntoTheLastSectionOfThatNameInTheLastLanguage) {
  const std::string before =
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"a\">A</msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"b\">B</msg>\n"
      "    </messages>\n"
      "    <messages name=\"other\"/>\n"
      "  </lang>\n"
      "</pnldata>\n";
  std::string after = AddTo(before, "en", "user", {Todo("a"), Todo("c")});
  std::size_t at = before.find("\n    </messages>\n    <messages name=\"other\"/>");
  EXPECT_EQ(before.substr(0, at) +
                "\n      <msg name=\"c\" todo=\"translate\"></msg>" +
                before.substr(at),
            after);
}

TEST(MsgFileEditorTest, SectionsOutsideALanguageOfTheRootDoNotCount) {
  const std::string before =
      "<pnldata>\n"
      "  <x><lang name=\"en\"><messages name=\"u\"/></lang></x>\n"
      "  <lang name=\"en\">\n"
      "    <x><messages name=\"u\"/></x>\n"
      "  </lang>\n"
      "</pnldata>\n";
  EXPECT_EQ(
      "<pnldata>\n"
      "  <x><lang name=\"en\"><messages name=\"u\"/></lang></x>\n"
      "  <lang name=\"en\">\n"
      "    <x><messages name=\"u\"/></x>\n"
      "    <messages name=\"u\">\n"
      "      <msg name=\"t\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      AddTo(before, "en", "u", {Todo("t")}));
}

TEST(MsgFileEditorTest, TheResultIsWhatThePanelReads) {
  std::string after = AddTo(kFile, "en", "it's \"odd\" & <new>",
                            {NewMessage{"hint_\xd0\xb8", "a\tb\r\nc ]]> d", {{"todo", "<&\">"}}}});
  pnl_xml::Xml doc;
  ASSERT_TRUE(doc.LoadFromString(after, "after"));
  pnl_xml::XPath sections(doc, "/pnldata/lang[@name='en']/messages");
  ASSERT_EQ(2u, sections.size());
  EXPECT_EQ("it's \"odd\" & <new>", sections[1].GetProp("name"));
  pnl_xml::XPath msg(doc, "/pnldata/lang[@name='en']/messages/msg[@name='hint_\xd0\xb8']");
  ASSERT_EQ(1u, msg.size());
  EXPECT_EQ("a\tb\r\nc ]]> d", msg[0].Str());
  EXPECT_EQ("<&\">", msg[0].GetProp("todo"));
}

TEST(MsgFileEditorTest, RefusesAMalformedFileAndAnotherRoot) {
  EXPECT_EQ("ERROR: m_msg_en.xml:3: Opening and ending tag mismatch: messages line 2 and lang",
            AddTo("<pnldata><lang name=\"en\">\n<messages name=\"a\">\n</lang></pnldata>\n",
                  "en", "a", {Todo("x")}));
  EXPECT_EQ("ERROR: m_msg_en.xml: the root element is <doc>, not <pnldata>",
            AddTo("<doc/>", "en", "a", {Todo("x")}));
  MsgFileEditor editor;
  std::string error;
  EXPECT_FALSE(editor.Load("<pnldata>", "f", &error));
  EXPECT_FALSE(editor.Add("en", "a", Todo("x")));
  EXPECT_EQ("", editor.Result());
}

// Language, section and message names written with references or blanks
// are matched as the document holds them, the way the audits read them.
TEST(MsgFileEditorTest, NamesWrittenWithReferencesAreTheNamesTheyStandFor) {
  const std::string file =
      "<pnldata><lang name=\"a&amp;b\"><messages name=\"u&lt;&#9;\">"
      "<msg name=\"m&quot;&#10;\">T</msg></messages></lang></pnldata>";
  MsgFileEditor editor;
  std::string error;
  ASSERT_TRUE(editor.Load(file, "f", &error)) << error;
  EXPECT_FALSE(editor.Add("a&b", "u<\t", Todo("m\"\n")));
  EXPECT_TRUE(editor.Add("a&b", "u<\t", Todo("x&y")));
  EXPECT_EQ(
      "<pnldata><lang name=\"a&amp;b\"><messages name=\"u&lt;&#9;\">"
      "<msg name=\"m&quot;&#10;\">T</msg><msg name=\"x&amp;y\" todo=\"translate\"></msg>"
      "</messages></lang></pnldata>",
      editor.Result());
}

// A new text replaces everything between the tags of the first message
// of that name; the marks named go from its start tag, the rest of the
// tag and of the file stays as written.
TEST(MsgFileEditorTest, SetTextFillsTheFirstMessageAndDropsTheMarksNamed) {
  const std::string file =
      "<pnldata>\r\n <lang name=\"ru\">\r\n  <messages name=\"s\">\r\n"
      "   <msg  todo='translate' name=\"a\"\tadded=\"msglint-fix\"><!-- c --></msg>\r\n"
      "   <msg name=\"b\" todo=\"later\"\n/>\r\n"
      "   <msg name=\"c\">old</msg>\r\n"
      "  </messages>\r\n  <messages name=\"s\"><msg name=\"a\">2</msg></messages>\r\n"
      " </lang>\r\n</pnldata>\r\n";
  const std::vector<std::pair<std::string, std::string>> todo = {{"todo", "translate"}};
  MsgFileEditor editor;
  std::string error;
  ASSERT_TRUE(editor.Load(file, "f", &error)) << error;
  EXPECT_TRUE(editor.SetText("ru", "s", "a", "x & y\nz", todo));
  EXPECT_FALSE(editor.SetText("ru", "s", "a", "again", todo));
  EXPECT_TRUE(editor.SetText("ru", "s", "b", "<b>", todo));
  EXPECT_FALSE(editor.SetText("ru", "s", "none", "t", todo));
  EXPECT_FALSE(editor.SetText("en", "s", "c", "t", todo));
  EXPECT_TRUE(editor.Add("ru", "s", NewMessage{"d", "D", {}}));
  EXPECT_EQ(
      "<pnldata>\r\n <lang name=\"ru\">\r\n  <messages name=\"s\">\r\n"
      "   <msg name=\"a\"\tadded=\"msglint-fix\">x &amp; y\nz</msg>\r\n"
      "   <msg name=\"b\" todo=\"later\">&lt;b&gt;</msg>\r\n"
      "   <msg name=\"c\">old</msg>\r\n"
      "  </messages>\r\n  <messages name=\"s\"><msg name=\"a\">2</msg>"
      "<msg name=\"d\">D</msg></messages>\r\n"
      " </lang>\r\n</pnldata>\r\n",
      editor.Result());
}

TEST(MsgFileEditorTest, DropAttributesKeepsEverythingElseAsWritten) {
  const std::vector<std::pair<std::string, std::string>> drop = {
      {"todo", "translate"}, {"added", "msglint-fix"}};
  EXPECT_EQ("<msg name=\"a\">",
            fix::DropAttributes("<msg name=\"a\" added=\"msglint-fix\" todo=\"translate\">", drop));
  EXPECT_EQ("<msg name=\"a\" added = \"yes\" >",
            fix::DropAttributes("<msg todo = \"translate\" name=\"a\" added = \"yes\" >", drop));
  EXPECT_EQ("<msg name='a>b'", fix::DropAttributes("<msg name='a>b' todo='translate'", drop));
  EXPECT_EQ("<msg", fix::DropAttributes("<msg", drop));
}

}  // namespace
