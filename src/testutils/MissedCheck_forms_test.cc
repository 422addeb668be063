// The audit of forms: which fields need messages, and the titles, hints,
// labels and check-box descriptions that each language must hold.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testutils/MissedCheck_fixture.h"

using Names = std::vector<std::string>;

namespace {

// ---- Fields ---------------------------------------------------------------

class MissedCheckFormFieldsTest : public MissedCheckFixture {
 protected:
  // Writes metadata `meta` holding `forms`, then runs check_form_fields on
  // its form node number `index`; returns what it printed.
  std::string Fields(const std::string& meta, const std::string& forms, bool multi_form = false,
                     unsigned long index = 0) {
    WriteMain("<metadata name='" + meta + "' type='form'>" + forms + "</metadata>");
    LoadMain();
    audit.meta_name = meta;
    pnl_xml::XPath nodes(audit.main_xml, "//pnldata/metadata/form");
    hint_fields.clear();
    checkbox_descs.clear();
    report.str("");
    audit.check_form_fields(multi_form, nodes[index], hint_fields, checkbox_descs);
    return report.str();
  }

  std::vector<std::string> hint_fields;
  std::vector<std::string> checkbox_descs;
};

TEST_F(MissedCheckFormFieldsTest, WindowsAndNonameFieldsAreNeverLookedAt) {
  EXPECT_EQ("", Fields("user",
                       "<form><field name='w' if='windows'><input type='checkbox'/></field>"
                       "<field name='n' noname='yes'><desc/></field>"
                       "<field name='o' if='linux'><input/></field></form>"));
  EXPECT_EQ((Names{"o"}), hint_fields);
  EXPECT_EQ(Names{}, checkbox_descs);
  EXPECT_EQ("", Log());
}

TEST_F(MissedCheckFormFieldsTest, TextdataFieldProducesNothing) {
  EXPECT_EQ("", Fields("user", "<form><field name='t' type='textdata'><desc/></field></form>"));
  EXPECT_EQ(Names{}, hint_fields);
  EXPECT_EQ(Names{}, checkbox_descs);
  EXPECT_EQ("", Log());
}

TEST_F(MissedCheckFormFieldsTest, ExcludedFieldIsSkippedForItsManagerOnly) {
  audit.initExludeList();
  SetManager("kelpnl");
  EXPECT_EQ("", Fields("firewall", "<form><field name='proto'><input/></field></form>"));
  EXPECT_EQ(Names{}, hint_fields);
  SetManager("gorpnl");
  EXPECT_EQ("", Fields("firewall", "<form><field name='proto'><input/></field></form>"));
  EXPECT_EQ((Names{"proto"}), hint_fields);
}

TEST_F(MissedCheckFormFieldsTest, FieldOfMessageTextdataOnlyIsSkipped) {
  EXPECT_EQ("", Fields("user",
                       "<form><field name='a'><textdata type='msg' name='x'/>"
                       "<textdata type='msg' name='y'/></field>"
                       "<field name='b'><textdata type='msg' name='z'/><input/></field></form>"));
  EXPECT_EQ((Names{"b"}), hint_fields);
  EXPECT_EQ("4 Only textdata in field 'a' in 'user' skiping it\n", Log());
}

TEST_F(MissedCheckFormFieldsTest, FieldsOfLinksDescriptionsOrHiddenChildrenOnlyAreSkipped) {
  EXPECT_EQ("", Fields("user",
                       "<form><field name='l'><link/><link/></field>"
                       "<field name='d'><desc name='dd'/></field>"
                       "<field name='h'><input type='hidden'/></field></form>"));
  EXPECT_EQ(Names{}, hint_fields);
  EXPECT_EQ(Names{}, checkbox_descs);
  EXPECT_EQ(
      "4 Only links presented in field 'l' in 'user' skiping it\n"
      "4 Only descriptions presented in field 'd' in 'user' skiping it\n"
      "4 Skiping field 'h' in 'user' 'cause it is hidden\n",
      Log());
}

TEST_F(MissedCheckFormFieldsTest, TextdataNamedLikeItsFieldIsReportedAndTheFieldStillChecked) {
  EXPECT_EQ("Textdata name = field name with value: a in form: user \n",
            Fields("user", "<form><field name='a'><textdata name='a'/><input/></field></form>"));
  EXPECT_EQ((Names{"a"}), hint_fields);
  EXPECT_EQ("3 Textdata name = field name with value: a in form: user \n", Log());
  EXPECT_EQ(0, audit.title_errors);
}

TEST_F(MissedCheckFormFieldsTest, ConfinfoOfSpareaddmoveconfirmIsSkippedForRudpnl) {
  SetManager("rudpnl");
  EXPECT_EQ("", Fields("spareaddmoveconfirm",
                       "<form><field name='confinfo'><textdata name='confinfo'/><input/></field>"
                       "</form>"));
  EXPECT_EQ(Names{}, hint_fields);
  EXPECT_EQ("", Log());
}

TEST_F(MissedCheckFormFieldsTest, DomainInputsMustConvertToPunycode) {
  EXPECT_EQ(
      "Wrong attribute value convert idna on field w for form named \"user\" \n"
      "No attribute convert on field n for form named \"user\" \n",
      Fields("user",
             "<form><field name='p'><input check='domain' convert='punycode'/></field>"
             "<field name='w'><input check='domain' convert='idna'/></field>"
             "<field name='n'><input check='domain'/></field>"
             "<field name='f'><input check='domain' convert='punycode'/>"
             "<input check='domain'/></field></form>"));
  EXPECT_EQ(2, audit.title_errors);
  EXPECT_EQ((Names{"p", "w", "n", "f"}), hint_fields);
  EXPECT_EQ(
      "3 Wrong attribute value convert idna on field w for form named \"user\" \n"
      "3 No attribute convert on field n for form named \"user\" \n",
      Log());
}

TEST_F(MissedCheckFormFieldsTest, FullWidthFieldNeedsNoHintButKeepsItsDescriptions) {
  EXPECT_EQ("", Fields("user",
                       "<form><field name='a' fullwidth='yes'><input/><desc name='d'/></field>"
                       "</form>"));
  EXPECT_EQ(Names{}, hint_fields);
  EXPECT_EQ((Names{"d"}), checkbox_descs);
}

TEST_F(MissedCheckFormFieldsTest, CheckboxWithoutDescriptionIsOnlyLogged) {
  EXPECT_EQ("", Fields("user", "<form><field name='c'><input type='checkbox'/></field></form>"));
  EXPECT_EQ(Names{}, hint_fields);
  EXPECT_EQ(Names{}, checkbox_descs);
  EXPECT_EQ(
      "4 size of descriptions is less than size of checkbox in \"user\" with field name \"c\".\n",
      Log());
  EXPECT_EQ(0, audit.title_errors);
}

TEST_F(MissedCheckFormFieldsTest, DescriptionWithoutNameStandsForItsField) {
  EXPECT_EQ("", Fields("user",
                       "<form><field name='c'><input type='checkbox'/><desc/>"
                       "<desc name=''/><desc name='other'/></field></form>"));
  EXPECT_EQ((Names{"c", "c", "other"}), checkbox_descs);
  EXPECT_EQ(Names{}, hint_fields);
}

TEST_F(MissedCheckFormFieldsTest, MultiFormChecksEachFormAgainstItsOwnChildren) {
  const std::string forms =
      "<form id='a'><field name='x'><input type='checkbox'/><desc name='dx'/></field></form>"
      "<form id='b'><field name='x'><input/></field></form>";
  EXPECT_EQ("", Fields("user", forms, true, 0));
  EXPECT_EQ(Names{}, hint_fields);
  EXPECT_EQ((Names{"dx"}), checkbox_descs);
  EXPECT_EQ("", Fields("user", forms, true, 1));
  EXPECT_EQ((Names{"x"}), hint_fields);
  EXPECT_EQ(Names{}, checkbox_descs);
}

// ---- Titles, hints, labels and check boxes ---------------------------------

class MissedCheckFormLangsTest : public MissedCheckFixture {
 protected:
  // A form metadata element `name` with `fields` in its one form.
  void Form(const std::string& name, const std::string& fields) {
    WriteMain("<metadata name='" + name + "' type='form'><form>" + fields + "</form></metadata>");
  }
};

TEST_F(MissedCheckFormLangsTest, FormWithoutMessageFilesLogsOnePerLanguage) {
  audit.langs = {"en", "ru"};
  Form("user", "<field name='a'><input/></field><field name='c'><input type='checkbox'/><desc/></field>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
  EXPECT_EQ("4 File \"" + audit.cache_dir + "/user.msg.en.xml\" not exist.\n" +
                "4 File \"" + audit.cache_dir + "/user.msg.ru.xml\" not exist.\n",
            Log());
}

TEST_F(MissedCheckFormLangsTest, TitleNewIsATitle) {
  Form("user", "");
  Messages("user", "en", "<msg name='title_new'>New user</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckFormLangsTest, MissingTitleIsReportedThreeWays) {
  Form("user", "");
  Messages("user", "en", "<msg name='titles'>x</msg>");
  EXPECT_EQ(16, RunCheck());
  EXPECT_EQ("Form \"user\" on en have no title.\n", out);
  EXPECT_EQ("TITLE user en\n", audit_file);
  EXPECT_EQ("3 Form \"user\" on en have no title.\n", Log());
}

TEST_F(MissedCheckFormLangsTest, FilterFormsAreSilent) {
  Form("user.filter", "<field name='a'><input/></field><field name='c'><input type='checkbox'/><desc/></field>");
  Messages("user.filter", "en", "");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
}

TEST_F(MissedCheckFormLangsTest, PluginAndBuilderFormsGetOnlyTitleAndCheckboxChecks) {
  WriteMain(
      "<metadata name='myplugin' type='form'><form><field name='a'><input/></field>"
      "<field name='c'><input type='checkbox'/><desc/></field></form></metadata>"
      "<metadata name='builder.x' type='form'><form><field name='b'><input/></field></form>"
      "</metadata>");
  Messages("myplugin", "en", "");
  Messages("builder.x", "en", "");
  EXPECT_EQ(24, RunCheck());
  EXPECT_EQ(
      "Form \"myplugin\" on en have no title.\n"
      "There is no description about checkbox \"c\" in \"myplugin\" xml file for en.\n"
      "Form \"builder.x\" on en have no title.\n",
      out);
  EXPECT_EQ("TITLE myplugin en\nCBOX myplugin.c en\nTITLE builder.x en\n", audit_file);
  EXPECT_EQ(2, audit.title_errors);
  EXPECT_EQ(1, audit.desc_errors);
}

TEST_F(MissedCheckFormLangsTest, KelpnlAvcheckWithoutTitleIsSilent) {
  SetManager("kelpnl");
  Form("file.avcheck", "<field name='a'><input/></field>");
  Messages("file.avcheck", "en", "");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
}

TEST_F(MissedCheckFormLangsTest, KelpnlAvcheckWithTitleHasItsFieldsChecked) {
  SetManager("kelpnl");
  Form("file.avcheck", "<field name='a'><input/></field>");
  Messages("file.avcheck", "en", "<msg name='title'>T</msg><msg name='hint_a'>H</msg>");
  EXPECT_EQ(4, RunCheck());
  EXPECT_EQ("There is no label for field \"a\" from \"file.avcheck\" on en language.\n", out);
  EXPECT_EQ("LABEL file.avcheck.a en\n", audit_file);
}

TEST_F(MissedCheckFormLangsTest, MissingHintIsReportedWithTheMessageItNeeds) {
  Form("user", "<field name='a'><input/></field>");
  Messages("user", "en", "<msg name='title'>T</msg><msg name='a'>A</msg>");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no hint for field \"a\" from \"user\" on en language.\n"
      "Must be: <msg name=\"hint_a\"></msg>\n",
      out);
  EXPECT_EQ("HINT user.a en\n", audit_file);
  EXPECT_EQ("4 There is no hint for field \"a\" from \"user\" on en language.\n", LogAt(4));
}

TEST_F(MissedCheckFormLangsTest, EmptyHintAndMissingLabelAreTwoProblems) {
  Form("user", "<field name='a'><input/></field>");
  Messages("user", "en", "<msg name='title'>T</msg><msg name='hint_a'></msg>");
  EXPECT_EQ(6, RunCheck());
  EXPECT_EQ(
      "Hint for field \"a\" from \"user\" on en language is empty.\n"
      "There is no label for field \"a\" from \"user\" on en language.\n",
      out);
  EXPECT_EQ("EMPTY HINT user.a en\nLABEL user.a en\n", audit_file);
  EXPECT_EQ(1, audit.hint_errors);
  EXPECT_EQ(1, audit.label_errors);
  EXPECT_EQ(
      "4 Hint for field \"a\" from \"user\" on en language is empty.\n"
      "3 There is no label for field \"a\" from \"user\" on en language.\n",
      Log());
}

TEST_F(MissedCheckFormLangsTest, EmptyLabelIsReportedAsAnEmptyHintButCountedAsALabel) {
  Form("user", "<field name='a'><input/></field>");
  Messages("user", "en", "<msg name='title'>T</msg><msg name='hint_a'>H</msg><msg name='a'/>");
  EXPECT_EQ(4, RunCheck());
  EXPECT_EQ("Hint for field \"a\" from \"user\" on en language is empty.\n", out);
  EXPECT_EQ("EMPTY HINT user.a en\n", audit_file);
  EXPECT_EQ(0, audit.hint_errors);
  EXPECT_EQ(1, audit.label_errors);
  EXPECT_EQ("3 Hint for field \"a\" from \"user\" on en language is empty.\n", Log());
}

TEST_F(MissedCheckFormLangsTest, CheckboxDescriptionsMustExistAndHoldText) {
  Form("user",
       "<field name='c'><input type='checkbox'/><desc name='d1'/><desc name='d2'/>"
       "<desc name='d3'/></field>");
  Messages("user", "en", "<msg name='title'>T</msg><msg name='d2'></msg><msg name='d3'>D</msg>");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ(
      "There is no description about checkbox \"d1\" in \"user\" xml file for en.\n"
      "Description about checkbox \"d2\" in \"user\" xml file for en is empty.\n",
      out);
  EXPECT_EQ("CBOX user.d1 en\nEMPTY CBOX user.d2 en\n", audit_file);
  EXPECT_EQ(2, audit.desc_errors);
  EXPECT_EQ(
      "3 There is no description about checkbox \"d1\" in \"user\" xml file for en.\n"
      "3 Description about checkbox \"d2\" in \"user\" xml file for en is empty.\n",
      Log());
}

TEST_F(MissedCheckFormLangsTest, FirstLanguageIsReportedBeforeTheSecond) {
  audit.langs = {"en", "ru"};
  Form("user", "<field name='a'><input/></field>");
  Messages("user", "en", "<msg name='hint_a'>H</msg>");
  Messages("user", "ru", "<msg name='hint_a'>H</msg>");
  EXPECT_EQ(20, RunCheck());
  EXPECT_EQ(
      "Form \"user\" on en have no title.\n"
      "There is no label for field \"a\" from \"user\" on en language.\n"
      "Form \"user\" on ru have no title.\n"
      "There is no label for field \"a\" from \"user\" on ru language.\n",
      out);
  EXPECT_EQ("TITLE user en\nLABEL user.a en\nTITLE user ru\nLABEL user.a ru\n", audit_file);
}

TEST_F(MissedCheckFormLangsTest, FormInTheSkipListIsOnlyLogged) {
  audit.langs = {"en", "ru"};
  audit.lang_skip_list = {"user"};
  Form("user", "<field name='a'><input/></field>");
  Messages("user", "en", "");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
  EXPECT_EQ("4 Skiping user from titles 'cause it's in the shit list.\n"
            "4 File \"" + audit.cache_dir + "/user.msg.ru.xml\" not exist.\n",
            Log());
}

TEST_F(MissedCheckFormLangsTest, MessagesMayComeFromIncludesTheCommonFileAndTheBaseManager) {
  Form("user", "<field name='a'><input/></field>");
  Messages("user", "en", "<include name='shared'/>");
  Messages("shared", "en", "<msg name='title'>T</msg>");
  CacheFile("common.msg.en.xml", "common", "<msg name='hint_a'>H</msg>");
  dir.Write("etc/xml/kern_msg_en.xml",
            "<pnldata><lang name='en'><messages name='common'><msg name='a'>A</msg></messages>"
            "<messages name='other'><msg name='x'>X</msg></messages></lang></pnldata>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckFormLangsTest, RudpnlExemptsConfinfoHintsEverywhereButLabelsOnlyInOneForm) {
  SetManager("rudpnl");
  WriteMain(
      "<metadata name='a.edit' type='form'><form><field name='confinfo'><input/></field>"
      "</form></metadata>"
      "<metadata name='spareaddmoveconfirm' type='form'><form><field name='confinfo'><input/>"
      "</field></form></metadata>"
      "<metadata name='vlan.edit' type='form'><form><field name='net'><input/></field>"
      "</form></metadata>");
  Messages("a.edit", "en", "<msg name='title'>T</msg><msg name='hint_confinfo'>H</msg>");
  Messages("spareaddmoveconfirm", "en", "<msg name='title'>T</msg><msg name='hint_confinfo'>H</msg>");
  Messages("vlan.edit", "en", "<msg name='title'>T</msg><msg name='hint_net'>H</msg>");
  EXPECT_EQ(4, RunCheck());
  EXPECT_EQ(
      "There is no label for field \"confinfo\" from \"a.edit\" on en language.\n"
      "There is no label for field \"net\" from \"vlan.edit\" on en language.\n",
      out);
}

TEST_F(MissedCheckFormLangsTest, ExemptHintsSkipTheLabelTestToo) {
  SetManager("rudpnl");
  WriteMain(
      "<metadata name='a.edit' type='form'><form><field name='confinfo'><input/></field>"
      "</form></metadata>"
      "<metadata name='vlan.edit' type='form'><form><field name='net'><input/></field>"
      "</form></metadata>");
  Messages("a.edit", "en", "<msg name='title'>T</msg>");
  Messages("vlan.edit", "en", "<msg name='title'>T</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckFormLangsTest, KelpnlExemptsTwoFieldsCompletely) {
  SetManager("kelpnl");
  WriteMain(
      "<metadata name='usermove.last' type='form'><form><field name='stat'><input/></field>"
      "</form></metadata>"
      "<metadata name='admin.edit' type='form'><form><field name='comment'><input/></field>"
      "</form></metadata>");
  Messages("usermove.last", "en", "<msg name='title'>T</msg><msg name='hint_stat'>H</msg>");
  Messages("admin.edit", "en", "<msg name='title'>T</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

}  // namespace
