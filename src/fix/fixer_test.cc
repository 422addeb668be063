#include "fix/fixer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>
#include <string>

#include "pnl/file.h"
#include "support/run_program.h"
#include "support/scratch_dir.h"

namespace {

using fix::FixOptions;
using testing_support::RunOptions;
using testing_support::RunProgram;
using testing_support::RunResult;
using testing_support::ScratchDir;

const char kEn[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"en\">\n"
    "    <messages name=\"desktop\">\n"
    "      <msg name=\"menu_order\">Orders</msg>\n"
    "    </messages>\n"
    "    <messages name=\"order\">\n"
    "      <msg name=\"title\">Order</msg>\n"
    "      <msg name=\"sum\">Sum</msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

const char kRu[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"ru\">\n"
    "    <messages name=\"order\">\n"
    "      <msg name=\"title\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7</msg>\n"
    "      <msg name=\"hint_sum\">\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0 &amp; \xd0\x9d\xd0\x94\xd0\xa1</msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

// One finding record of a missing message, as a run writes it.
std::string Missing(int id, const std::string& kind, const std::string& lang,
                    const std::string& name, const std::string& section,
                    bool input_problem = false) {
  return "{\"id\": " + std::to_string(id) + ", \"kind\": \"" + kind +
         "\", \"level\": \"error\", \"audit\": \"missing-messages\", "
         "\"manager\": \"shop\", \"object\": \"" + section +
         "\", \"element\": null, \"language\": \"" + lang +
         "\", \"result_bit\": 2, \"message\": {\"name\": \"" + name +
         "\", \"section\": \"" + section + "\", \"file\": \"etc/xml/shop_msg_" +
         lang + ".xml\", \"add\": \"<msg name=\\\"" + name +
         "\\\"></msg>\"}, \"location\": null, \"report\": [], "
         "\"audit_line\": null, \"input_problem\": " +
         (input_problem ? "true" : "false") + "}";
}

const std::string kFindings =
    "{\"schema\": \"msglint-findings\", \"version\": 1,\n"
    " \"run\": {\"manager\": \"shop\", \"mode\": \"full\", "
    "\"arguments\": [\"-f\", \"en\", \"ru\"], \"languages\": [\"en\", \"ru\"]},\n"
    " \"statistics\": [], \"input_problems\": [],\n"
    " \"findings\": [\n" +
    Missing(1, "missing-menu-item-description", "en", "menu_stock", "desktop") + ",\n" +
    Missing(2, "missing-hint", "en", "hint_sum", "order") + ",\n" +
    Missing(3, "missing-title", "en", "title", "stock") + ",\n" +
    Missing(4, "missing-label", "ru", "sum", "order") + ",\n" +
    Missing(5, "missing-hint", "ru", "hint_note", "order", true) + ",\n" +
    Missing(6, "empty-hint", "en", "hint_x", "order") + "\n"
    "]}\n";

const char kEnFixed[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"en\">\n"
    "    <messages name=\"desktop\">\n"
    "      <msg name=\"menu_order\">Orders</msg>\n"
    "      <msg name=\"menu_stock\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
    "    </messages>\n"
    "    <messages name=\"order\">\n"
    "      <msg name=\"title\">Order</msg>\n"
    "      <msg name=\"sum\">Sum</msg>\n"
    "      <msg name=\"hint_sum\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
    "    </messages>\n"
    "    <messages name=\"stock\">\n"
    "      <msg name=\"title\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

class FixerTest : public testing::Test {
 protected:
  FixerTest() {
    dir_.Write("etc/xml/shop_msg_en.xml", kEn);
    dir_.Write("etc/xml/shop_msg_ru.xml", kRu);
    dir_.Write("var/msglint/findings.json", kFindings);
  }

  // Runs the fixer with `args`; its status, standard output and error.
  int Fix(const std::vector<std::string>& args) {
    FixOptions options;
    bool help = false;
    std::string error;
    EXPECT_TRUE(fix::ParseFixArguments(args, &options, &help, &error)) << error;
    std::ostringstream out, err;
    int status = fix::RunFix(options, out, err);
    out_ = out.str();
    err_ = err.str();
    return status;
  }

  ScratchDir dir_;
  std::string out_;
  std::string err_;
};

TEST_F(FixerTest, DryRunPrintsAUnifiedDiffAndChangesNothing) {
  EXPECT_EQ(0, Fix({"shop", "en", "--dry-run"}));
  EXPECT_EQ(
      "--- etc/xml/shop_msg_en.xml\n"
      "+++ etc/xml/shop_msg_en.xml\n"
      "@@ -3,10 +3,15 @@\n"
      "   <lang name=\"en\">\n"
      "     <messages name=\"desktop\">\n"
      "       <msg name=\"menu_order\">Orders</msg>\n"
      "+      <msg name=\"menu_stock\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
      "     </messages>\n"
      "     <messages name=\"order\">\n"
      "       <msg name=\"title\">Order</msg>\n"
      "       <msg name=\"sum\">Sum</msg>\n"
      "+      <msg name=\"hint_sum\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
      "+    </messages>\n"
      "+    <messages name=\"stock\">\n"
      "+      <msg name=\"title\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
      "     </messages>\n"
      "   </lang>\n"
      " </pnldata>\n",
      out_);
  EXPECT_EQ("", err_);
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml"));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_en.xml.orig"));
}

TEST_F(FixerTest, AddsEachMissingMessageToItsSectionAndKeepsTheOldFile) {
  EXPECT_EQ(0, Fix({"shop", "en", "ru"}));
  EXPECT_EQ(kEnFixed, dir_.Read("etc/xml/shop_msg_en.xml"));
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml.orig"));
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"ru\">\n"
      "    <messages name=\"order\">\n"
      "      <msg name=\"title\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7</msg>\n"
      "      <msg name=\"hint_sum\">\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0 &amp; \xd0\x9d\xd0\x94\xd0\xa1</msg>\n"
      "      <msg name=\"sum\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
      "    </messages>\n"
      "  </lang>\n"
      "</pnldata>\n",
      dir_.Read("etc/xml/shop_msg_ru.xml"));
  EXPECT_EQ(
      "etc/xml/shop_msg_en.xml: 3 messages added, 1 of them still reported "
      "until its text is written; the file as it was is "
      "etc/xml/shop_msg_en.xml.orig\n"
      "etc/xml/shop_msg_ru.xml: 1 message added, 1 of them still reported "
      "until its text is written; the file as it was is "
      "etc/xml/shop_msg_ru.xml.orig\n",
      out_);
  EXPECT_EQ(
      "msglint-fix: left alone: 1 finding of language ru that an input "
      "problem may have caused\n",
      err_);
  // A second fix finds everything in place.
  EXPECT_EQ(0, Fix({"shop", "en", "--no-backup"}));
  EXPECT_EQ("etc/xml/shop_msg_en.xml: nothing to add\n", out_);
  EXPECT_EQ(kEnFixed, dir_.Read("etc/xml/shop_msg_en.xml"));
}

TEST_F(FixerTest, TextGivenOnTheCommandLineIsNotMarked) {
  EXPECT_EQ(0, Fix({"shop", "--text", "To do & <check>", "--no-backup", "ru"}));
  EXPECT_NE(std::string::npos,
            dir_.Read("etc/xml/shop_msg_ru.xml")
                .find("      <msg name=\"sum\" added=\"msglint-fix\">To do &amp; &lt;check&gt;</msg>\n"));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_ru.xml.orig"));
  EXPECT_EQ("etc/xml/shop_msg_ru.xml: 1 message added\n", out_);
}

TEST_F(FixerTest, FromCopiesTheTextOfAnotherLanguageMarked) {
  EXPECT_EQ(0, Fix({"shop", "en", "--from=ru"}));
  std::string fixed = dir_.Read("etc/xml/shop_msg_en.xml");
  EXPECT_NE(std::string::npos,
            fixed.find("      <msg name=\"hint_sum\" added=\"msglint-fix\" todo=\"translate\">"
                       "\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0 &amp; \xd0\x9d\xd0\x94\xd0\xa1</msg>\n"));
  // ru has no section stock and no menu_stock: the new messages are empty.
  EXPECT_NE(std::string::npos,
            fixed.find("<messages name=\"stock\">\n"
                       "      <msg name=\"title\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"));
  EXPECT_NE(std::string::npos,
            fixed.find("<msg name=\"menu_stock\" added=\"msglint-fix\" todo=\"translate\"></msg>"));
  EXPECT_EQ(
      "etc/xml/shop_msg_en.xml: 3 messages added; the file as it was is "
      "etc/xml/shop_msg_en.xml.orig\n",
      out_);
}

TEST_F(FixerTest, AMalformedFileIsRefusedAndLeftAsItWas) {
  const std::string broken = "<pnldata>\n  <lang name=\"en\">\n</pnldata>\n";
  dir_.Write("etc/xml/shop_msg_en.xml", broken);
  EXPECT_EQ(1, Fix({"shop", "en", "ru"}));
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_en.xml:3: Opening and ending tag "
      "mismatch: lang line 2 and pnldata; the file is left as it was\n"
      "msglint-fix: left alone: 1 finding of language ru that an input "
      "problem may have caused\n",
      err_);
  EXPECT_EQ(broken, dir_.Read("etc/xml/shop_msg_en.xml"));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_en.xml.orig"));
  // The other language is fixed all the same.
  EXPECT_TRUE(pnl_file::Exists("etc/xml/shop_msg_ru.xml.orig"));
}

TEST_F(FixerTest, AReadOnlyFileIsLeftAsItWas) {
  ASSERT_EQ(0, chmod("etc/xml/shop_msg_en.xml", 0444));
  EXPECT_EQ(1, Fix({"shop", "en"}));
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_en.xml: is read-only; the file is left "
      "as it was\n",
      err_);
  EXPECT_EQ("", out_);
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml"));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_en.xml.orig"));
}

TEST_F(FixerTest, NeverWritesThroughASymbolicLink) {
  dir_.Write("elsewhere.xml", kEn);
  ASSERT_EQ(0, unlink("etc/xml/shop_msg_en.xml"));
  dir_.Link(dir_.path() + "/elsewhere.xml", "etc/xml/shop_msg_en.xml");
  EXPECT_EQ(1, Fix({"shop", "en"}));
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_en.xml: is a symbolic link; the file is "
      "left as it was\n",
      err_);
  EXPECT_EQ(kEn, dir_.Read("elsewhere.xml"));
}

TEST_F(FixerTest, ALinkInPlaceOfTheCopyIsNotFollowed) {
  dir_.Write("precious", "keep");
  dir_.Link(dir_.path() + "/precious", "etc/xml/shop_msg_en.xml.orig");
  EXPECT_EQ(1, Fix({"shop", "en"}));
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_en.xml.orig: cannot write the copy: is a "
      "symbolic link; etc/xml/shop_msg_en.xml is left as it was\n",
      err_);
  EXPECT_EQ("keep", dir_.Read("precious"));
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml"));
}

TEST_F(FixerTest, FindingsThatCannotBeUsed) {
  EXPECT_EQ(2, Fix({"other", "en"}));
  EXPECT_EQ(
      "msglint-fix: var/msglint/findings.json holds the findings of manager "
      "'shop', not 'other'; run sbin/msglint other first\n",
      err_);
  dir_.Write("var/msglint/findings.json", "{\"schema\": \"x\"}");
  EXPECT_EQ(2, Fix({"shop", "en"}));
  EXPECT_EQ(
      "msglint-fix: var/msglint/findings.json: not a findings file of msglint\n",
      err_);
  ASSERT_EQ(0, unlink("var/msglint/findings.json"));
  EXPECT_EQ(2, Fix({"shop", "en"}));
  EXPECT_EQ(
      "msglint-fix: var/msglint/findings.json: cannot be read; run "
      "sbin/msglint shop first\n",
      err_);
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml"));
}

TEST_F(FixerTest, ALanguageTheRunDidNotAuditIsNamed) {
  EXPECT_EQ(0, Fix({"shop", "de"}));
  EXPECT_EQ(
      "msglint-fix: the last run did not audit language de; nothing to add "
      "to etc/xml/shop_msg_de.xml\n",
      err_);
  EXPECT_EQ("", out_);
}

TEST_F(FixerTest, AFullDiskLeavesTheFileAsItWas) {
  // The program itself, with every write to a regular file failing.
  const RunOptions full_disk = {.env = {"LD_PRELOAD=" MSGLINT_NOSPACE_LIBRARY},
                                .merge_stderr = true};
  RunResult run = RunProgram({MSGLINT_FIX_PROGRAM, "shop", "en"}, full_disk);
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_en.xml.orig: cannot write the copy: No "
      "space left on device; etc/xml/shop_msg_en.xml is left as it was\n",
      run.out);
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml"));
  // Without the copy, the file itself cannot be written either.
  run = RunProgram({MSGLINT_FIX_PROGRAM, "shop", "en", "--no-backup"}, full_disk);
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_en.xml: cannot be written: No space left "
      "on device; the file is left as it was\n",
      run.out);
  EXPECT_EQ(kEn, dir_.Read("etc/xml/shop_msg_en.xml"));
  pnl_file::Dir d(dir_.path() + "/etc/xml");
  std::string names;
  while (d.Read()) names += d.Name() + " ";
  EXPECT_EQ("shop_msg_en.xml shop_msg_ru.xml ", names);
}

TEST(FixArgumentsTest, ManagerLanguagesAndOptionsInAnyOrder) {
  FixOptions o;
  bool help = false;
  std::string error;
  ASSERT_TRUE(fix::ParseFixArguments({"--dry-run", "shop", "en", "--from", "ru", "de", "en"},
                                     &o, &help, &error));
  EXPECT_EQ("shop", o.manager);
  EXPECT_EQ((std::vector<std::string>{"en", "de"}), o.languages);
  EXPECT_EQ("ru", o.from);
  EXPECT_TRUE(o.dry_run);
  EXPECT_TRUE(o.backup);
  EXPECT_FALSE(o.use_text);
  ASSERT_TRUE(fix::ParseFixArguments({"shop", "en", "--text="}, &o, &help, &error));
  EXPECT_TRUE(o.use_text);
  EXPECT_EQ("", o.text);
}

TEST(FixArgumentsTest, UsageErrors) {
  FixOptions o;
  bool help = false;
  std::string error;
  EXPECT_FALSE(fix::ParseFixArguments({"shop"}, &o, &help, &error));
  EXPECT_EQ("a manager and at least one language are needed", error);
  EXPECT_FALSE(fix::ParseFixArguments({"shop", "en", "--text", "a", "--from", "ru"},
                                      &o, &help, &error));
  EXPECT_EQ("--text and --from exclude each other", error);
  EXPECT_FALSE(fix::ParseFixArguments({"shop", "en", "--text"}, &o, &help, &error));
  EXPECT_EQ("--text needs a value", error);
  EXPECT_FALSE(fix::ParseFixArguments({"shop", "../en"}, &o, &help, &error));
  EXPECT_EQ("bad language: '../en'", error);
  EXPECT_FALSE(fix::ParseFixArguments({"..", "en"}, &o, &help, &error));
  EXPECT_EQ("bad manager name: '..'", error);
  EXPECT_FALSE(fix::ParseFixArguments({"shop", "en", "-x"}, &o, &help, &error));
  EXPECT_EQ("unknown option -x", error);
  EXPECT_TRUE(fix::ParseFixArguments({"--help"}, &o, &help, &error));
  EXPECT_TRUE(help);
}

}  // namespace
