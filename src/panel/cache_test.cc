// The panel's cache building and replies, through a running panel and, for
// what files cannot show (the order of known names), through ManagerCache.
#include "panel/cache.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "panel/panel.h"
#include "panel/panel_test_support.h"
#include "pnl/file.h"
#include "support/scratch_dir.h"

namespace panel {
namespace {

using panel_testing::Ask;
using panel_testing::kDecl;
using panel_testing::Reply;
using testing_support::LogRecords;
using testing_support::ScratchDir;

std::string Messages(const std::string& name, const std::string& content) {
  if (content.empty())
    return std::string(kDecl) + "<messages name=\"" + name + "\"/>\n";
  return std::string(kDecl) + "<messages name=\"" + name + "\">" + content +
         "</messages>\n";
}

std::vector<std::string> List(const std::string& dir) {
  std::vector<std::string> names;
  pnl_file::Dir d(dir);
  while (d.Read()) names.push_back(d.Name());
  return names;
}

// Each test in a scratch installation of its own, the current directory
// while it runs.
class CacheTest : public testing::Test {
 protected:
  // kern and shop, each with English messages and a main description.
  void WriteKernAndShop() const {
    dir_.InstallPanel();
    dir_.AddManagerLink("shop");
    dir_.Write("etc/xml/kern_msg_en.xml",
               "<?xml version=\"1.0\"?>\n"
               "<pnldata>\n"
               "  <lang name=\"en\">\n"
               "    <messages name=\"common\">\n"
               "      <msg name=\"yes\">Yes &amp; <b>no</b>  twice</msg>\n"
               "      <!-- not copied -->\n"
               "      <msg name=\"ru\">Привет</msg>\n"
               "    </messages>\n"
               "    <messages name=\"user\"><msg name=\"k\">from kern</msg>"
               "</messages>\n"
               "  </lang>\n"
               "  <lang name=\"ru\"><messages name=\"wrong\"/></lang>\n"
               "</pnldata>\n");
    dir_.Write("etc/xml/kern_msg_ru.xml",
               "<pnldata>\n"
               "  <lang name=\"en\"><messages name=\"wrong\"/></lang>\n"
               "  <lang name=\"ru\">\n"
               "    <messages name=\"user\"><msg name=\"k\">другой</msg>"
               "</messages>\n"
               "  </lang>\n"
               "</pnldata>\n");
    dir_.Write("etc/xml/kern.xml",
               "<pnldata><metadata name=\"desktop\"/></pnldata>\n");
    dir_.Write("etc/xml/shop_msg_en.xml",
               "<pnldata>\n"
               " <lang name=\"en\">\n"
               "  <messages name=\"user\">\n"
               "   <include name=\"common\">text</include>\n"
               "   <msg name=\"s\">from shop</msg>\n"
               "   <other/>\n"
               "  </messages>\n"
               "  <messages name=\"empty\"/>\n"
               "  <messages name=\"\"><msg name=\"x\">x</msg></messages>\n"
               "  <messages name=\"a/b\"/>\n"
               "  <messages name=\"..\"/>\n"
               "  <messages name=\"common\"><msg name=\"c\">shop common</msg>"
               "</messages>\n"
               " </lang>\n"
               "</pnldata>\n");
    dir_.Write("etc/xml/shop.xml",
               "<pnldata><metadata name=\"goods\"/><metadata name=\"user\"/>"
               "<metadata name=\".\"/></pnldata>\n");
  }

  // Sections of "f" in two languages, with nested and cyclic includes.
  void WriteIncludes() const {
    dir_.InstallPanel();
    dir_.AddManagerLink("shop");
    dir_.Write("etc/xml/kern_msg_en.xml",
               "<pnldata><lang name=\"en\">"
               "<messages name=\"f\"><include name=\"a\"/><msg name=\"k1\">K</msg>"
               "</messages>"
               "<messages name=\"c\"><msg name=\"c1\">C</msg>"
               "<include name=\"f\"/><include name=\"a\"/></messages>"
               "</lang></pnldata>");
    dir_.Write("etc/xml/shop_msg_en.xml",
               "<pnldata><lang name=\"en\">"
               "<messages name=\"a\"><msg name=\"a1\">A</msg>"
               "<include name=\"b\"/><include name=\"c\"/><msg name=\"a2\">A2</msg>"
               "</messages>"
               "<messages name=\"f\"><msg name=\"f1\">F</msg><include/>"
               "<include name=\"\"/><include name=\"c\"/><include name=\"none\"/>"
               "<other name=\"o\"/></messages>"
               "<messages name=\"b\"><msg name=\"b1\">B</msg>"
               "<include name=\"a\"/></messages>"
               "</lang></pnldata>");
    dir_.Write("etc/xml/shop_msg_ru.xml",
               "<pnldata><lang name=\"ru\"><messages name=\"g\"/></lang>"
               "</pnldata>");
  }

  // shop's English messages: one empty section, "user".
  void WriteShopUser() const {
    dir_.Write("etc/xml/shop_msg_en.xml",
               "<pnldata><lang name=\"en\"><messages name=\"user\"/></lang></pnldata>");
  }

  ScratchDir dir_;
};

TEST_F(CacheTest, KnownNamesComeSectionsFirstInOrderOfFirstAppearance) {
  WriteKernAndShop();
  ManagerCache cache("shop");
  EXPECT_EQ((std::vector<std::string>{"kern", "shop"}), cache.Sources());
  EXPECT_EQ((std::vector<std::string>{"common", "user", "empty", "desktop",
                                      "goods"}),
            cache.KnownNames("en"));
  EXPECT_EQ((std::vector<std::string>{"user", "desktop", "goods"}),
            cache.KnownNames("ru"));
  EXPECT_EQ((std::vector<std::string>{"kern"}), ManagerCache("kern").Sources());
}

TEST_F(CacheTest, LanguagesAreTheCodesOfTheManagersMessageFiles) {
  dir_.Write("etc/xml/shop_msg_ru.xml", "<pnldata/>");
  dir_.Write("etc/xml/shop_msg_en.xml", "<pnldata/>");
  dir_.Write("etc/xml/shop_msg_.xml", "<pnldata/>");
  dir_.Write("etc/xml/shop_msg_en.xml.bak", "<pnldata/>");
  dir_.Write("etc/xml/shopx_msg_de.xml", "<pnldata/>");
  dir_.Write("etc/xml/kern_msg_fr.xml", "<pnldata/>");
  EXPECT_EQ((std::vector<std::string>{"en", "ru"}),
            ManagerCache("shop").Languages());
}

TEST_F(CacheTest, OnlyRegularFilesAndLinksToThemGiveLanguages) {
  dir_.Write("etc/xml/shop_msg_en.xml", "<pnldata/>");
  dir_.Write("elsewhere/messages.xml", "<pnldata/>");
  dir_.Link(dir_.path() + "/elsewhere/messages.xml", "etc/xml/shop_msg_de.xml");
  dir_.Link(dir_.path() + "/nothing.xml", "etc/xml/shop_msg_fi.xml");
  dir_.Link(dir_.path() + "/elsewhere", "etc/xml/shop_msg_it.xml");
  dir_.MakeDir("etc/xml/shop_msg_ru.xml");
  ASSERT_EQ(0, mkfifo((dir_.path() + "/etc/xml/shop_msg_fr.xml").c_str(), 0600));
  EXPECT_EQ((std::vector<std::string>{"de", "en"}),
            ManagerCache("shop").Languages());
}

TEST_F(CacheTest, DotAndDotDotAreNoLanguages) {
  dir_.Write("etc/xml/shop_msg_en.xml", "<pnldata/>");
  dir_.Write("etc/xml/shop_msg_..xml", "<pnldata/>");
  dir_.Write("etc/xml/shop_msg_...xml", "<pnldata/>");
  // "shop_msg_..xml" is language "."; "shop_msg_...xml" is language "..".
  EXPECT_EQ((std::vector<std::string>{"en"}), ManagerCache("shop").Languages());
}

TEST_F(CacheTest, ValuelessPartEndsALanguageAtTheAmpersand) {
  WriteKernAndShop();
  dir_.Write("etc/xml/shop_msg_a.xml",
             "<pnldata><lang name=\"a\"><messages name=\"goods\">"
             "<msg name=\"x\">X</msg></messages></lang></pnldata>");
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=session&lang=a&b&out=devel"));
  EXPECT_EQ(Messages("goods", "<msg name=\"x\">X</msg>"),
            dir_.Read("var/.xmlcache/shop/goods.msg.a.xml"));
}

TEST_F(CacheTest, SessionWritesTheCacheOfAManagerFromKernThenItsOwnFiles) {
  WriteKernAndShop();
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=session&lang=en&out=devel"));

  EXPECT_EQ((std::vector<std::string>{
                "common.en.xml", "common.msg.en.xml", "desktop.en.xml",
                "desktop.msg.en.xml", "empty.msg.en.xml", "goods.msg.en.xml",
                "user.msg.en.xml"}),
            List("var/.xmlcache/shop"));
  const std::string common =
      "<msg name=\"yes\">Yes &amp; <b>no</b>  twice</msg>"
      "<msg name=\"ru\">Привет</msg><msg name=\"c\">shop common</msg>";
  EXPECT_EQ(Messages("common", common),
            dir_.Read("var/.xmlcache/shop/common.msg.en.xml"));
  EXPECT_EQ(Messages("common", common),
            dir_.Read("var/.xmlcache/shop/common.en.xml"));
  EXPECT_EQ(Messages("user",
                     "<msg name=\"k\">from kern</msg>"
                     "<include name=\"common\">text</include>"
                     "<msg name=\"s\">from shop</msg><other/>"),
            dir_.Read("var/.xmlcache/shop/user.msg.en.xml"));
  // An empty section, a known name without a section.
  EXPECT_EQ(Messages("empty", ""),
            dir_.Read("var/.xmlcache/shop/empty.msg.en.xml"));
  EXPECT_EQ(Messages("goods", ""),
            dir_.Read("var/.xmlcache/shop/goods.msg.en.xml"));
  EXPECT_EQ(Messages("desktop", ""),
            dir_.Read("var/.xmlcache/shop/desktop.en.xml"));
  EXPECT_EQ(Messages("desktop", ""),
            dir_.Read("var/.xmlcache/shop/desktop.msg.en.xml"));

  // Unsafe names were left out, and said so.
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache/shop/a"));
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache/.msg.en.xml"));
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache/shop/.msg.en.xml"));
  std::string log = LogRecords(dir_.path(), "shop");
  EXPECT_NE(std::string::npos,
            log.find("4 skipping the unsafe name \"a/b\"\n"));
  EXPECT_NE(std::string::npos, log.find("4 skipping the unsafe name \"\"\n"));
  EXPECT_NE(std::string::npos, log.find("4 skipping the unsafe name \"..\"\n"));
  EXPECT_NE(std::string::npos, log.find("4 skipping the unsafe name \".\"\n"));
}

TEST_F(CacheTest, SessionOfKernUsesOnlyKernsFiles) {
  WriteKernAndShop();
  EXPECT_EQ(Reply("<ok/>"), Ask("kern", "func=session&lang=ru&out=devel"));
  EXPECT_EQ((std::vector<std::string>{"common.ru.xml", "desktop.msg.ru.xml",
                                      "desktop.ru.xml", "user.msg.ru.xml"}),
            List("var/.xmlcache/kern"));
  EXPECT_EQ(Messages("user", "<msg name=\"k\">другой</msg>"),
            dir_.Read("var/.xmlcache/kern/user.msg.ru.xml"));
  EXPECT_EQ(Messages("common", ""),
            dir_.Read("var/.xmlcache/kern/common.ru.xml"));
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache/shop"));
}

TEST_F(CacheTest, SessionReplacesOlderFiles) {
  WriteKernAndShop();
  dir_.Write("var/.xmlcache/kern/user.msg.ru.xml", "old and longer text");
  EXPECT_EQ(Reply("<ok/>"), Ask("kern", "func=session&lang=ru"));
  EXPECT_EQ(Messages("user", "<msg name=\"k\">другой</msg>"),
            dir_.Read("var/.xmlcache/kern/user.msg.ru.xml"));
}

TEST_F(CacheTest, SessionWithAnInvalidLanguageWritesNothing) {
  WriteKernAndShop();
  EXPECT_EQ(Reply("<error>invalid language \"\"</error>"),
            Ask("shop", "func=session"));
  EXPECT_EQ(Reply("<error>invalid language \"\"</error>"),
            Ask("shop", "func=session&lang="));
  EXPECT_EQ(Reply("<error>invalid language \"../en\"</error>"),
            Ask("shop", "func=session&lang=..%2Fen"));
  EXPECT_EQ(Reply("<error>invalid language \"..\"</error>"),
            Ask("shop", "func=session&lang=.."));
  EXPECT_EQ(Reply("<error>invalid language \".\"</error>"),
            Ask("shop", "func=session&lang=."));
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache"));
}

TEST_F(CacheTest, ActionListHoldsEachMetadataNameOnceInSourceOrder) {
  dir_.InstallPanel();
  dir_.AddManagerLink("shop");
  dir_.Write("etc/xml/kern.xml",
             "<pnldata><metadata name=\"b\"/><menu name=\"m\"/>"
             "<metadata name=\"a\"/><metadata name=\"b\"/></pnldata>");
  dir_.Write("etc/xml/shop.xml",
             "<pnldata><metadata name=\"z\"/><metadata name=\"a\"/>"
             "<metadata name=\"c\"><metadata name=\"deep\"/></metadata>"
             "</pnldata>");
  EXPECT_EQ(Reply("<elem><action>b</action></elem>"
                  "<elem><action>a</action></elem>"
                  "<elem><action>z</action></elem>"
                  "<elem><action>c</action></elem>"),
            Ask("shop", "func=actionlist&out=xml"));
  EXPECT_EQ(Reply("<elem><action>b</action></elem>"
                  "<elem><action>a</action></elem>"),
            Ask("kern", "func=actionlist&out=xml"));
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache"));
}

TEST_F(CacheTest, ActionListOfAManagerWithoutFilesIsEmpty) {
  dir_.InstallPanel();
  EXPECT_EQ(std::string(kDecl) + "<doc/>\n",
            Ask("kern", "func=actionlist&out=xml"));
}

TEST_F(CacheTest, CheckedFileResolvesIncludesDepthFirstEachNameOnce) {
  WriteIncludes();
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=f&lang=ru"));
  // f's own messages (kern's section, then shop's), then a (with b nested
  // inside it before c), and c is not taken twice; the cycles back to f and
  // a end there.
  EXPECT_EQ(Messages("f",
                     "<msg name=\"k1\">K</msg><msg name=\"f1\">F</msg>"
                     "<msg name=\"a1\">A</msg><msg name=\"a2\">A2</msg>"
                     "<msg name=\"b1\">B</msg><msg name=\"c1\">C</msg>"),
            dir_.Read("var/.xmlcache/shop/checked/f.msg.en.xml"));
  // Every language of the manager, whatever the query named; nothing
  // resolves in Russian.
  EXPECT_EQ(Messages("f", ""),
            dir_.Read("var/.xmlcache/shop/checked/f.msg.ru.xml"));
  EXPECT_EQ((std::vector<std::string>{"f.msg.en.xml", "f.msg.ru.xml"}),
            List("var/.xmlcache/shop/checked"));
}

TEST_F(CacheTest, CheckedFileOfAnIncludedSection) {
  WriteIncludes();
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=c"));
  EXPECT_EQ(Messages("c",
                     "<msg name=\"c1\">C</msg>"
                     "<msg name=\"k1\">K</msg><msg name=\"f1\">F</msg>"
                     "<msg name=\"a1\">A</msg><msg name=\"a2\">A2</msg>"
                     "<msg name=\"b1\">B</msg>"),
            dir_.Read("var/.xmlcache/shop/checked/c.msg.en.xml"));
}

TEST_F(CacheTest, FunctionKnownInOneLanguageOnlyIsKnown) {
  WriteIncludes();
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=g&lang=en"));
  EXPECT_EQ(Messages("g", ""),
            dir_.Read("var/.xmlcache/shop/checked/g.msg.en.xml"));
  EXPECT_EQ(Messages("g", ""),
            dir_.Read("var/.xmlcache/shop/checked/g.msg.ru.xml"));
}

TEST_F(CacheTest, UnknownFunctionAndMalformedQueryGetAnErrorAndServingGoesOn) {
  WriteIncludes();
  EXPECT_EQ(Reply("<error>unknown function \"none\"</error>"),
            Ask("shop", "func=none&lang=en"));
  EXPECT_EQ(Reply("<error>malformed query: no function</error>"),
            Ask("shop", "lang=en"));
  EXPECT_EQ(Reply("<error>malformed query: no function</error>"),
            Ask("shop", "func=&lang=en"));
  // A part without "=" is a key with no value: the query itself is fine.
  EXPECT_EQ(Reply("<error>unknown function \"none\"</error>"),
            Ask("shop", "func=none&oops"));
  EXPECT_EQ(Reply("<error>unknown function \"../f\"</error>"),
            Ask("shop", "func=..%2Ff"));
  EXPECT_EQ(Reply("<error>unknown function \"&lt;x&gt;\"</error>"),
            Ask("shop", "func=%3Cx%3E"));
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache"));
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=f"));
}

TEST_F(CacheTest, CheckedFilesUnchangedSinceTheirWriteAreNotWrittenAgain) {
  WriteIncludes();
  ManagerCache cache("shop");
  std::string error;
  const std::string en = "var/.xmlcache/shop/checked/g.msg.en.xml";
  const std::string ru = "var/.xmlcache/shop/checked/g.msg.ru.xml";
  ASSERT_TRUE(cache.WriteChecked("g", &error));
  const std::string en_stamp = pnl_file::Stamp(en);
  const std::string ru_stamp = pnl_file::Stamp(ru);
  ASSERT_TRUE(cache.WriteChecked("g", &error));
  EXPECT_EQ(en_stamp, pnl_file::Stamp(en));
  EXPECT_EQ(ru_stamp, pnl_file::Stamp(ru));

  // A file changed or removed since is written again, and only that one.
  dir_.Write(en, "changed by someone else");
  pnl_file::Remove(ru);
  ASSERT_TRUE(cache.WriteChecked("g", &error));
  EXPECT_EQ(Messages("g", ""), dir_.Read(en));
  EXPECT_EQ(Messages("g", ""), dir_.Read(ru));

  // Another cache (sources read again) writes every file once more.
  const std::string rewritten = pnl_file::Stamp(en);
  ManagerCache again("shop");
  ASSERT_TRUE(again.WriteChecked("g", &error));
  EXPECT_NE(rewritten, pnl_file::Stamp(en));
  EXPECT_EQ(Messages("g", ""), dir_.Read(en));
}

TEST_F(CacheTest, KeptSourcesAreFreshUntilAFileChangesOrAppears) {
  WriteKernAndShop();
  ManagerCache cache("shop");
  cache.KnownNames("en");
  cache.KnownNames("de");  // no such files: missing ones count too
  EXPECT_TRUE(cache.Fresh());
  dir_.Write("etc/xml/shop_msg_de.xml", "<pnldata/>");
  EXPECT_FALSE(cache.Fresh());

  ManagerCache again("shop");
  again.KnownNames("en");
  EXPECT_TRUE(again.Fresh());
  // The same size and content, written again: a new file.
  dir_.Write("etc/xml/kern.xml", dir_.Read("etc/xml/kern.xml"));
  EXPECT_FALSE(again.Fresh());
}

TEST_F(CacheTest, RunningPanelAnswersFromChangedSources) {
  WriteIncludes();
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=g&lang=en"));
  EXPECT_EQ(Reply("<error>unknown function \"h\"</error>"), Ask("shop", "func=h"));
  dir_.Write("etc/xml/shop_msg_en.xml",
             "<pnldata><lang name=\"en\"><messages name=\"h\">"
             "<msg name=\"h1\">H</msg></messages></lang></pnldata>");
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=h"));
  EXPECT_EQ(Messages("h", "<msg name=\"h1\">H</msg>"),
            dir_.Read("var/.xmlcache/shop/checked/h.msg.en.xml"));
}

TEST_F(CacheTest, EntityReferencesAreNotCopiedAndNothingIsLoaded) {
  ScratchDir outside;
  outside.Write("secret", "SECRET-OUTSIDE-TEXT");
  outside.Write("evil.dtd", "<!ENTITY d \"SECRET-DTD-TEXT\">");
  ASSERT_EQ(0, chdir(dir_.path().c_str()));
  dir_.Write("etc/xml/shop_msg_en.xml",
             "<?xml version=\"1.0\"?>\n"
             "<!DOCTYPE pnldata SYSTEM \"file://" + outside.path() + "/evil.dtd\" [\n"
             " <!ENTITY x SYSTEM \"file://" + outside.path() + "/secret\">\n"
             " <!ENTITY i \"inner\"> ]>\n"
             "<pnldata><lang name=\"en\"><messages name=\"user\">"
             "<msg name=\"title\">a&x;b&d;c&i;</msg>"
             "<msg name=\"hint_name\" v=\"&i;\">Login</msg>"
             "</messages></lang></pnldata>\n");
  std::string error;
  ASSERT_TRUE(ManagerCache("shop").WriteSession("en", &error)) << error;
  EXPECT_EQ(Messages("user", "<msg name=\"title\">abc</msg>"
                             "<msg name=\"hint_name\" v=\"\">Login</msg>"),
            dir_.Read("var/.xmlcache/shop/user.msg.en.xml"));
}

TEST_F(CacheTest, NameTooLongForAFileNameGetsNoFileAndNoError) {
  // The file is written under a temporary name 16 bytes longer first.
  const std::string longest(255 - 16 - std::string(".msg.en.xml").size(), 'n');
  const std::string too_long = longest + "n";
  dir_.Write("etc/xml/shop_msg_en.xml",
             "<pnldata><lang name=\"en\"><messages name=\"" + too_long +
                "\"/><messages name=\"" + longest + "\"/></lang></pnldata>");
  std::string error;
  EXPECT_TRUE(ManagerCache("shop").WriteSession("en", &error)) << error;
  EXPECT_EQ((std::vector<std::string>{"common.en.xml", "desktop.en.xml",
                                      longest + ".msg.en.xml"}),
            List("var/.xmlcache/shop"));
}

TEST_F(CacheTest, FailedWriteNamesThePathOnceWithTheReason) {
  WriteShopUser();
  dir_.MakeDir("var/.xmlcache/shop/checked");
  ASSERT_EQ(0, chmod("var/.xmlcache/shop/checked", 0555));
  if (pnl_file::WriteFile("var/.xmlcache/shop/checked/probe", "").ok()) {
    GTEST_SKIP() << "a read-only directory is writable for this user";
  }
  std::string error;
  EXPECT_FALSE(ManagerCache("shop").WriteChecked("user", &error));
  EXPECT_EQ("cannot write var/.xmlcache/shop/checked/user.msg.en.xml: Permission denied",
            error);
  chmod("var/.xmlcache/shop/checked", 0755);
}

TEST_F(CacheTest, DirectoryWhereACheckedFileBelongsIsAFailedWrite) {
  WriteShopUser();
  dir_.MakeDir("var/.xmlcache/shop/checked/user.msg.en.xml");
  std::string error;
  EXPECT_FALSE(ManagerCache("shop").WriteChecked("user", &error));
  EXPECT_EQ("cannot write var/.xmlcache/shop/checked/user.msg.en.xml: it is a directory", error);
}

TEST_F(CacheTest, DirectoryWhereASessionFileBelongsFailsThatFileAlone) {
  dir_.Write("etc/xml/shop.xml", "<pnldata><metadata name=\"user\"/><metadata name=\"site\"/></pnldata>");
  WriteShopUser();
  dir_.MakeDir("var/.xmlcache/shop/user.msg.en.xml");
  std::string error;
  EXPECT_FALSE(ManagerCache("shop").WriteSession("en", &error));
  EXPECT_EQ("cannot write var/.xmlcache/shop/user.msg.en.xml: it is a directory", error);
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<messages name=\"site\"/>\n",
            dir_.Read("var/.xmlcache/shop/site.msg.en.xml"));
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<messages name=\"common\"/>\n",
            dir_.Read("var/.xmlcache/shop/common.en.xml"));
}

}  // namespace
}  // namespace panel
