// The audit of lists (column descriptions, setcolor colours, toolbar
// buttons) and of the main menu.
#include <gtest/gtest.h>

#include <string>

#include "testutils/MissedCheck_fixture.h"

namespace {

class MissedCheckListTest : public MissedCheckFixture {
 protected:
  // A list metadata element `name` holding `body`.
  void List(const std::string& name, const std::string& body) {
    WriteMain("<metadata name='" + name + "' type='list'>" + body + "</metadata>");
  }
};

TEST_F(MissedCheckListTest, ShortModeChecksTextColoursOnly) {
  audit.report_mode = "-s";
  List("user", "<coldata><col name='c' type='msg'/></coldata>");
  Messages("user", "en", "<msg name='c'>C</msg>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ("There is no text setcolor for table column named \"c\" in \"user\" .\n", out);
  EXPECT_EQ("COLUMN user.c \n", audit_file);
  EXPECT_EQ("3 There is no text color setcolor for table column named \"c\" in \"user\" \n", Log());
  EXPECT_EQ(1, audit.color_errors);
}

TEST_F(MissedCheckListTest, FullModeChecksBackgroundThenText) {
  List("user", "<coldata><col name='c' type='msg'/></coldata>");
  Messages("user", "en", "<msg name='c'>C</msg>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ(
      "There is no background setcolor for table column named \"c\" in \"user\" .\n"
      "There is no text setcolor for table column named \"c\" in \"user\" .\n",
      out);
  EXPECT_EQ("COLUMN user.c \nCOLUMN user.c \n", audit_file);
  EXPECT_EQ(
      "3 There is no background setcolor for table column named \"c\" in \"user\" \n"
      "3 There is no text color setcolor for table column named \"c\" in \"user\" \n",
      Log());
  EXPECT_EQ(2, audit.color_errors);
}

TEST_F(MissedCheckListTest, ColumnNotOfTypeMsgGetsOnlyItsDescriptionChecked) {
  List("user",
       "<coldata><col name='c' type='data'><setcolor name='c' color='Red'/>"
       "<setcolor color=''/></col></coldata>");
  Messages("user", "en", "");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ("There is no description for table column named \"c\" in \"user\" for language en.\n",
            out);
  EXPECT_EQ("COLUMN user.c en\n", audit_file);
  EXPECT_EQ(
      "3 There is no description for table column named \"c\" in \"user\" for language en.\n",
      Log());
  EXPECT_EQ(1, audit.desc_errors);
  EXPECT_EQ(0, audit.color_errors);
}

TEST_F(MissedCheckListTest, ColourNamesAreCaseSensitive) {
  List("user",
       "<coldata><setcolor name='c' color='red'/>"
       "<col name='c' type='msg'><setcolor color='Red'/><setcolor color='magenta'/>"
       "<setcolor color='cyan'/></col></coldata>");
  Messages("user", "en", "<msg name='c'>C</msg>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ(
      "Text setcolor has wrong color: Red for table column named \"c\" in \"user\" .\n"
      "Text setcolor has wrong color: magenta for table column named \"c\" in \"user\" .\n",
      out);
  EXPECT_EQ("COLUMN user.c \nCOLUMN user.c \n", audit_file);
  EXPECT_EQ(
      "3 Text setcolor has wrong color: Red for table column named \"c\" in \"user\" \n"
      "3 Text setcolor has wrong color: magenta for table column named \"c\" in \"user\" \n",
      Log());
  EXPECT_EQ(2, audit.color_errors);
}

TEST_F(MissedCheckListTest, WrongAndEmptyBackgroundColoursAreReportedOneByOne) {
  List("user",
       "<coldata><setcolor name='c' color=''/><setcolor name='c'/>"
       "<setcolor name='c' color='Blue'/><setcolor name='c' color='blue'/>"
       "<col name='c' type='msg'><setcolor color='green'/><setcolor color=''/></col></coldata>");
  Messages("user", "en", "<msg name='c'>C</msg>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ(
      "Background setcolor is empty for table column named \"c\" in \"user\" .\n"
      "Background setcolor is empty for table column named \"c\" in \"user\" .\n"
      "Background setcolor has wrong color: Blue for table column named \"c\" in \"user\" .\n"
      "Text setcolor is empty for table column named \"c\" in \"user\" .\n",
      out);
  EXPECT_EQ("COLUMN user.c \nCOLUMN user.c \nCOLUMN user.c \nCOLUMN user.c \n", audit_file);
  EXPECT_EQ(
      "3 Background setcolor is empty for table column named \"c\" in \"user\" \n"
      "3 Background setcolor is empty for table column named \"c\" in \"user\" \n"
      "3 Background setcolor has wrong color: Blue for table column named \"c\" in \"user\" \n"
      "3 Text setcolor is empty for table column named \"c\" in \"user\" \n",
      Log());
  EXPECT_EQ(4, audit.color_errors);
}

TEST_F(MissedCheckListTest, WindowsColumnsAreNotAudited) {
  List("user",
       "<coldata><col name='w' if='windows' type='msg'/><col name='o' if='unix'/></coldata>");
  Messages("user", "en", "");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ("There is no description for table column named \"o\" in \"user\" for language en.\n",
            out);
}

TEST_F(MissedCheckListTest, KelpnlFeatureTypeNeedsNoTextColour) {
  audit.report_mode = "-s";
  SetManager("kelpnl");
  List("feature", "<coldata><col name='type' type='msg'/></coldata>");
  Messages("feature", "en", "<msg name='type'>T</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckListTest, FeatureTypeOfOtherManagersNeedsATextColour) {
  audit.report_mode = "-s";
  SetManager("gorpnl");
  List("feature", "<coldata><col name='type' type='msg'/></coldata>");
  Messages("feature", "en", "<msg name='type'>T</msg>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ("There is no text setcolor for table column named \"type\" in \"feature\" .\n", out);
}

TEST_F(MissedCheckListTest, ExcludedColumnHasNoColourAudit) {
  audit.initExludeList();
  SetManager("kelpnl");
  List("firewall", "<coldata><col name='proto' type='msg'/></coldata>");
  Messages("firewall", "en", "<msg name='proto'>P</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckListTest, ButtonOfTheListNeedsShortNameAndHint) {
  List("user", "<toolbar><toolbtn name='delete' func='user.delete'/></toolbar>");
  Messages("user", "en", "");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no short name for button \"delete\" from list \"user\" for language en.\n"
      "Must be: <msg name=\"short_delete\"></msg>\n"
      "There is no hint for \"delete\" from \"user\" on en language.\n"
      "Must be: <msg name=\"hint_delete\"></msg>\n",
      out);
  EXPECT_EQ("SHORT NAME BUTTON user.delete en\nHINT user.delete en\n", audit_file);
  EXPECT_EQ(
      "3 There is no short name for button \"delete\" from list \"user\" for language en.\n"
      "4 There is no hint for \"delete\" from \"user\" on en language.\n",
      Log());
  EXPECT_EQ(2, audit.hint_errors);
  EXPECT_EQ("delete", audit.button_name);
  EXPECT_EQ("user.delete", audit.button_func);
}

TEST_F(MissedCheckListTest, ButtonOfAnotherListIsSkippedUnlessItLeadsBack) {
  List("users",
       "<toolbar><toolbtn name='delete' func='user.delete'/>"
       "<group><toolbtn name='back' func='user.delete'/></group>"
       "<toolbtn name='x' func='users.edit.ok'/><toolbtn name='y' func='.y'/>"
       "<toolbtn name='z' func='users'/><toolbtn name='w' func='users.w' if='windows'/>"
       "</toolbar>");
  Messages("users", "en",
           "<msg name='short_back'>B</msg><msg name='hint_back'>H</msg>"
           "<msg name='short_y'>Y</msg><msg name='short_z'>Z</msg><msg name='hint_z'>H</msg>");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no hint for \"y\" from \"users\" on en language.\n"
      "Must be: <msg name=\"hint_y\"></msg>\n",
      out);
  EXPECT_EQ("HINT users.y en\n", audit_file);
}

TEST_F(MissedCheckListTest, EmptyShortNameCountsAsMissing) {
  List("user", "<toolbar><toolbtn name='b' func='user.b'/></toolbar>");
  Messages("user", "en", "<msg name='short_b'></msg><msg name='hint_b'>H</msg>");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no short name for button \"b\" from list \"user\" for language en.\n"
      "Must be: <msg name=\"short_b\"></msg>\n",
      out);
  EXPECT_EQ("SHORT NAME BUTTON user.b en\n", audit_file);
  EXPECT_EQ(1, audit.hint_errors);
}

TEST_F(MissedCheckListTest, WithoutLanguagesOnlyColoursAreAudited) {
  audit.langs.clear();
  List("user",
       "<coldata><col name='c' type='msg'/></coldata>"
       "<toolbar><toolbtn name='b' func='user.b'/></toolbar>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ(
      "There is no background setcolor for table column named \"c\" in \"user\" .\n"
      "There is no text setcolor for table column named \"c\" in \"user\" .\n",
      out);
}

TEST_F(MissedCheckListTest, MissingListFileSkipsTheLanguageButNotTheColours) {
  audit.report_mode = "-s";
  List("user",
       "<coldata><col name='c' type='msg'/></coldata>"
       "<toolbar><toolbtn name='b' func='user.b'/></toolbar>");
  EXPECT_EQ(1, RunCheck());
  EXPECT_EQ("There is no text setcolor for table column named \"c\" in \"user\" .\n", out);
  const std::string missing = "4 File \"" + audit.cache_dir + "/user.msg.en.xml\" not exist.\n";
  EXPECT_EQ(missing + "3 There is no text color setcolor for table column named \"c\" in \"user\" \n" +
                missing,
            Log());
}

TEST_F(MissedCheckListTest, ReportsComeColumnByColumnThenButtonByButton) {
  audit.langs = {"en", "ru"};
  audit.report_mode = "-s";
  List("user",
       "<coldata><col name='a' type='msg'/><col name='b'/></coldata>"
       "<toolbar><toolbtn name='x' func='user.x'/></toolbar>");
  Messages("user", "en", "<msg name='short_x'>X</msg>");
  Messages("user", "ru", "<msg name='hint_x'>X</msg>");
  EXPECT_EQ(11, RunCheck());
  EXPECT_EQ(
      "COLUMN user.a en\nCOLUMN user.a ru\nCOLUMN user.a \nCOLUMN user.b en\nCOLUMN user.b ru\n"
      "HINT user.x en\nSHORT NAME BUTTON user.x ru\n",
      audit_file);
}

// ---- Main menu ----------------------------------------------------------------

class MissedCheckMainMenuTest : public MissedCheckFixture {
 protected:
  void Menu(const std::string& nodes) { WriteMain("<mainmenu>" + nodes + "</mainmenu>"); }
  void Desktop(const std::string& lang, const std::string& body) {
    CacheFile("desktop." + lang + ".xml", "desktop", body);
  }
};

TEST_F(MissedCheckMainMenuTest, EachNameIsAuditedOnce) {
  Menu("<node name='a'><node name='a'/><node name='b'/><node name='b'/></node><node name='c'/>");
  Desktop("en", "");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ(
      "There is no description for menu item \"a\" for language en.\n"
      "There is no description for menu item \"c\" for language en.\n"
      "There is no description for menu item \"b\" for language en.\n",
      out);
  EXPECT_EQ("Message a en\nMessage c en\nMessage b en\n", audit_file);
  EXPECT_EQ(
      "3 There is no description for menu item \"a\" for language en.\n"
      "3 There is no description for menu item \"c\" for language en.\n"
      "3 There is no description for menu item \"b\" for language en.\n",
      Log());
  EXPECT_EQ(3, audit.desc_errors);
}

TEST_F(MissedCheckMainMenuTest, MessageNamedLikeTheItemDescribesIt) {
  Menu("<node name='a'/>");
  Desktop("en", "<msg name='a'>A</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckMainMenuTest, ThirdLevelIsNotAudited) {
  Menu("<node name='a'><node name='b'><node name='c'/></node></node>");
  Desktop("en", "<msg name='menu_a'>A</msg><msg name='menu_b'>B</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckMainMenuTest, EmptyMenuMessageIsADescription) {
  Menu("<node name='a'/>");
  Desktop("en", "<msg name='menu_a'></msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckMainMenuTest, ItemsComeBeforeLanguages) {
  audit.langs = {"en", "ru"};
  Menu("<node name='a'/><node name='b'/>");
  Desktop("en", "");
  Desktop("ru", "");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ(
      "There is no description for menu item \"a\" for language en.\n"
      "There is no description for menu item \"a\" for language ru.\n"
      "There is no description for menu item \"b\" for language en.\n"
      "There is no description for menu item \"b\" for language ru.\n",
      out);
  EXPECT_EQ("Message a en\nMessage a ru\nMessage b en\nMessage b ru\n", audit_file);
}

TEST_F(MissedCheckMainMenuTest, LanguageWithoutDesktopFileIsSkippedPerItem) {
  audit.langs = {"en", "ru"};
  Menu("<node name='a'/><node name='b'/>");
  Desktop("ru", "<msg name='menu_a'>A</msg><msg name='menu_b'>B</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
  const std::string missing = "4 File \"" + audit.cache_dir + "/desktop.en.xml\" not exist.\n";
  EXPECT_EQ(missing + missing, Log());
}

TEST_F(MissedCheckMainMenuTest, DesktopIncludesCommonAndBaseManagerMessagesDescribeItems) {
  Menu("<node name='a'/><node name='b'/><node name='c'/><node name='d'/>");
  Desktop("en", "<include name='more'/>");
  Messages("more", "en", "<msg name='menu_c'>C</msg>");
  CacheFile("common.en.xml", "common", "<msg name='menu_a'>A</msg>");
  // The menu reads common.L.xml, not the forms' common.msg.L.xml.
  CacheFile("common.msg.en.xml", "common", "<msg name='menu_b'>B</msg>");
  dir.Write("etc/xml/kern_msg_en.xml",
            "<pnldata><lang name='en'><messages name='common'><msg name='d'>D</msg></messages>"
            "</lang></pnldata>");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ("There is no description for menu item \"b\" for language en.\n", out);
}

}  // namespace
