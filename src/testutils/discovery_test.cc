// File discovery (getXmlFiles and its predicates, split) and include merging.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pnl/file.h"
#include "pnl/xml.h"
#include "support/scratch_dir.h"
#include "testutils/msglint.h"

namespace {

using testing_support::ScratchDir;
using Files = std::vector<std::string>;

TEST(FilePredicateTest, LanguageIsFoundAnywhereInThePath) {
  EXPECT_FALSE(fileIsNotForLang("en")("/c/a.en.xml.bak"));
  EXPECT_FALSE(fileIsNotForLang("en")("/c/common.msg.en.xml"));
  EXPECT_TRUE(fileIsNotForLang("en")("/c/forms.ru.xml"));
  EXPECT_FALSE(fileIsNotForLang("en")("/c/forms.en.xmlx"));
  EXPECT_TRUE(fileIsNotForLang("en")("/c/en.xml"));
}

TEST(FilePredicateTest, KernNamesMatchTheWholeBaseName) {
  fileIsForKern kern(Files{"forms.en.xml"});
  EXPECT_TRUE(kern("/w/var/.xmlcache/sab/forms.en.xml"));
  EXPECT_FALSE(kern("/w/var/.xmlcache/sab/xforms.en.xml"));
  EXPECT_FALSE(kern("/w/var/.xmlcache/sab/Forms.en.xml"));
  EXPECT_FALSE(fileIsForKern(Files{})("/w/forms.en.xml"));
}

TEST(FilePredicateTest, SkipFileMatchesTextAnywhere) {
  EXPECT_TRUE(skipFile(".filter")("/w/x.filter.en.xml"));
  EXPECT_TRUE(skipFile(".filter")("/w.filter/x.en.xml"));
  EXPECT_FALSE(skipFile(".filter")("/w/xfilter.en.xml"));
}

TEST(SplitTest, TextWithoutSeparatorIsOnePiece) {
  Files out;
  split("abc", ',', out);
  EXPECT_EQ(out, Files{"abc"});
}

TEST(SplitTest, KeepsEmptyPiecesAndAppends) {
  Files out{"old"};
  split("a,,b,", ',', out);
  EXPECT_EQ(out, (Files{"old", "a", "", "b", ""}));
}

TEST(SplitTest, EmptyTextGivesOneEmptyPiece) {
  Files out;
  split("", ',', out);
  EXPECT_EQ(out, Files{""});
}

class GetXmlFilesTest : public testing::Test {
 protected:
  void SetUp() override { PNL_NAME() = "sab"; }
  void Cache(const std::string& manager, const std::string& file) {
    dir_.Write("var/.xmlcache/" + manager + "/" + file, "<messages/>");
  }
  std::string Path(const std::string& manager, const std::string& file) {
    return pnl_file::GetCurrentDir() + "/var/.xmlcache/" + manager + "/" + file;
  }
  Files List(const std::string& lang) {
    Files files;
    getXmlFiles(files, lang);
    return files;
  }

  ScratchDir dir_;
};

TEST_F(GetXmlFilesTest, KeepsOnlyTheLanguagesFiles) {
  Cache("sab", "forms.en.xml");
  Cache("sab", "forms.ru.xml");
  Cache("sab", "a.en.xml.bak");
  EXPECT_EQ(List("en"), (Files{Path("sab", "a.en.xml.bak"), Path("sab", "forms.en.xml")}));
  EXPECT_EQ(List("ru"), Files{Path("sab", "forms.ru.xml")});
}

TEST_F(GetXmlFilesTest, ListsDirectoryContentInReaderOrder) {
  Cache("sab", "b.msg.en.xml");
  Cache("sab", "a.msg.en.xml");
  Files out;
  getDirContent(pnl_file::GetCurrentDir() + "/var/.xmlcache/sab", out);
  EXPECT_EQ(out, (Files{Path("sab", "a.msg.en.xml"), Path("sab", "b.msg.en.xml")}));
}

TEST_F(GetXmlFilesTest, ManagerFilterFilesAreLeftOut) {
  Cache("sab", "x.filter.en.xml");
  Cache("sab", "x.msg.en.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "x.msg.en.xml")});
}

TEST_F(GetXmlFilesTest, BaseManagerKeepsItsFilterFiles) {
  PNL_NAME() = "kern";
  Cache("kern", "kern.filter.en.xml");
  Cache("kern", "forms.en.xml");
  EXPECT_EQ(List("en"), (Files{Path("kern", "forms.en.xml"), Path("kern", "kern.filter.en.xml")}));
}

TEST_F(GetXmlFilesTest, FilesSharedWithTheBaseManagerAreLeftOut) {
  Cache("sab", "forms.en.xml");
  Cache("sab", "user.msg.en.xml");
  Cache("kern", "forms.en.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "user.msg.en.xml")});
}

TEST_F(GetXmlFilesTest, BaseManagerFileOfAnotherLanguageRemovesNothing) {
  Cache("sab", "forms.en.xml");
  Cache("kern", "forms.ru.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "forms.en.xml")});
}

TEST_F(GetXmlFilesTest, EmptyOrMissingBaseManagerCacheRemovesNothing) {
  Cache("sab", "forms.en.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "forms.en.xml")});
  dir_.MakeDir("var/.xmlcache/kern");
  EXPECT_EQ(List("en"), Files{Path("sab", "forms.en.xml")});
}

TEST_F(GetXmlFilesTest, PreviousContentNeverSurvives) {
  Files files{"stale"};
  getXmlFiles(files, "en");
  EXPECT_EQ(files, Files{});
  Cache("sab", "forms.en.xml");
  files = {"stale"};
  getXmlFiles(files, "en");
  EXPECT_EQ(files, Files{Path("sab", "forms.en.xml")});
}

// ---- Include merging ---------------------------------------------------------

class MergeIncludesTest : public testing::Test {
 protected:
  void SetUp() override { PNL_NAME() = "sab"; }
  // Loads `text` as a document, merges its includes for "en" and returns
  // the report lines.
  std::string Merge(const std::string& text) {
    doc_.LoadFromString(text, "test");
    pnl_xml::XPath includes(doc_, "//include");
    std::ostringstream out;
    MergeIncludes(doc_, includes, "en", out);
    return out.str();
  }
  // The names of the document's msg elements, in document order.
  std::string Names(const std::string& expr) {
    std::string names;
    for (pnl_xml::XmlNode node : pnl_xml::XPath(doc_, expr)) names += node.GetProp("name") + " ";
    return names;
  }

  ScratchDir dir_;
  pnl_xml::Xml doc_;
};

TEST_F(MergeIncludesTest, MissingFileGivesOneLineAndTheIncludeGoes) {
  EXPECT_EQ(Merge("<messages name=\"user\"><include name=\"gone\">Gone text</include>"
                  "<msg name=\"a\">A</msg></messages>"),
            "\tinclude - include is not found. \t\t msgtext: Gone text\n");
  EXPECT_EQ(pnl_xml::XPath(doc_, "//include").size(), 0u);
  EXPECT_EQ(Names("/*/*"), "a ");
}

TEST_F(MergeIncludesTest, MissingThenPresentIncludeMergesTheSecond) {
  dir_.Write("var/.xmlcache/sab/shared.msg.en.xml",
             "<messages name=\"shared\"><msg name=\"s1\">S1</msg></messages>");
  EXPECT_EQ(Merge("<messages name=\"user\"><include name=\"gone\"/>"
                  "<include name=\"shared\"/><msg name=\"a\">A</msg></messages>"),
            "\tinclude - include is not found. \t\t msgtext: \n");
  EXPECT_EQ(Names("/*/*"), "a s1 ");
  EXPECT_EQ(pnl_xml::XPath(doc_, "//include").size(), 0u);
}

TEST_F(MergeIncludesTest, AllMessagesOfTheFileLandUnderTheRoot) {
  dir_.Write("var/.xmlcache/sab/shared.msg.en.xml",
             "<messages name=\"shared\"><msg name=\"s1\">S1</msg>"
             "<group><msg name=\"s2\">S2</msg></group><msg name=\"s3\">S3</msg>"
             "<include name=\"deeper\"/></messages>");
  dir_.Write("var/.xmlcache/sab/deeper.msg.en.xml",
             "<messages name=\"deeper\"><msg name=\"d\">D</msg></messages>");
  EXPECT_EQ(Merge("<doc><messages name=\"user\"><include name=\"shared\"/>"
                  "<msg name=\"a\">A</msg></messages></doc>"),
            "");
  EXPECT_EQ(Names("/doc/*"), "user s1 s2 s3 ");
  EXPECT_EQ(Names("/doc/messages/*"), "a ");
  EXPECT_EQ(pnl_xml::XPath(doc_, "//msg[@name='s2']")[0].Str(), "S2");
}

TEST_F(MergeIncludesTest, SameFileTwiceIsCopiedTwice) {
  dir_.Write("var/.xmlcache/sab/shared.msg.en.xml",
             "<messages name=\"shared\"><msg name=\"s1\">S1</msg></messages>");
  EXPECT_EQ(Merge("<messages><include name=\"shared\"/><include name=\"shared\"/></messages>"),
            "");
  EXPECT_EQ(Names("/*/*"), "s1 s1 ");
}

TEST_F(MergeIncludesTest, IncludeWithoutNameLooksForTheBareSuffix) {
  dir_.Write("var/.xmlcache/sab/.msg.en.xml",
             "<messages><msg name=\"anon\">Anon</msg></messages>");
  EXPECT_EQ(Merge("<messages><include>no name</include></messages>"), "");
  EXPECT_EQ(Names("/*/*"), "anon ");
}

TEST_F(MergeIncludesTest, IncludedFilesComeFromTheCheckedManagerOnly) {
  dir_.Write("var/.xmlcache/kern/shared.msg.en.xml",
             "<messages><msg name=\"k\">K</msg></messages>");
  EXPECT_EQ(Merge("<messages><include name=\"shared\">Shared</include></messages>"),
            "\tinclude - include is not found. \t\t msgtext: Shared\n");
  EXPECT_EQ(Names("/*/*"), "");
}

}  // namespace
