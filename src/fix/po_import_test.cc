#include "fix/po_import.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "fix/po_testdata.h"
#include "pnl/file.h"
#include "support/run_program.h"

namespace {

using po_testdata::kRu;
using po_testdata::Shop;
using testing_support::RunOptions;
using testing_support::RunProgram;
using testing_support::RunResult;

const char kRuFile[] = "etc/xml/shop_msg_ru.xml";

std::string Header(const std::string& manager = "shop", const std::string& lang = "ru") {
  return "# Russian messages of shop.\n"
         "msgid \"\"\n"
         "msgstr \"\"\n"
         "\"Project-Id-Version: " + manager + "\\n\"\n"
         "\"Language: " + lang + "\\n\"\n"
         "\"Content-Type: text/plain; charset=UTF-8\\n\"\n"
         "\"X-Msglint-Manager: " + manager + "\\n\"\n\n";
}

// A PO file as an editor saves it: translator comments, long texts wrapped
// over several lines, escapes, an entry left untranslated, a fuzzy entry
// and an obsolete one.
const std::string kEdited = Header() +
    "#. hint of field \"sum\" in form \"order\"\n"
    "#: etc/xml/shop.xml:7\n"
    "msgctxt \"order/hint_sum\"\n"
    "msgid \"The sum, with tax\"\n"
    "msgstr \"\"\n"
    "\"\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0 \\\"\xd1\x81 \xd0\x9d\xd0\x94\xd0\xa1\\\" \"\n"
    "\"& <\xd1\x81\xd0\xba\xd0\xb8\xd0\xb4\xd0\xba\xd0\xb8>,\\n\"\n"
    "\"\xd0\xb2\xd1\x82\xd0\xbe\xd1\x80\xd0\xb0\xd1\x8f \xd1\x81\xd1\x82\xd1\x80\xd0\xbe\xd0\xba\xd0\xb0\"\n"
    "\n"
    "# checked by Olga\n"
    "msgctxt \"order/sum\"\n"
    "msgid \"Sum\"\n"
    "msgstr \"\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0\"\n"
    "\n"
    "#, fuzzy\n"
    "msgctxt \"order/note\"\n"
    "msgid \"Note\"\n"
    "msgstr \"\xd0\x97\xd0\xb0\xd0\xbc\xd0\xb5\xd1\x82\xd0\xba\xd0\xb0\"\n"
    "\n"
    "msgctxt \"order/gift_desc\"\n"
    "msgid \"gift_desc\"\n"
    "msgstr \"\"\n"
    "\n"
    "msgctxt \"desktop/menu_stock\"\n"
    "msgid \"Stock\"\n"
    "msgstr \"\xd0\xa1\xd0\xba\xd0\xbb\xd0\xb0\xd0\xb4\"\n"
    "\n"
    "#~ msgctxt \"order/title\"\n"
    "#~ msgid \"Order\"\n"
    "#~ msgstr \"\xd0\xa1\xd1\x82\xd0\xb0\xd1\x80\xd0\xbe\xd0\xb5\"\n";

// kRu after the import of kEdited without its fuzzy entry.
const std::string kImported =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"ru\">\n"
    "    <messages name=\"desktop\">\n"
    "      <msg name=\"menu_order\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7\xd1\x8b</msg>\n"
    "      <msg name=\"menu_stock\" added=\"msglint-fix\">\xd0\xa1\xd0\xba\xd0\xbb\xd0\xb0\xd0\xb4</msg>\n"
    "    </messages>\n"
    "    <!-- the order form -->\n"
    "    <messages name=\"order\">\n"
    "      <msg name=\"title\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7</msg>\n"
    "      <msg name=\"sum\">\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0</msg>\n"
    "      <msg name=\"note\"/>\n"
    "      <msg name=\"hint_sum\" added=\"msglint-fix\">"
    "\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0 \"\xd1\x81 \xd0\x9d\xd0\x94\xd0\xa1\" "
    "&amp; &lt;\xd1\x81\xd0\xba\xd0\xb8\xd0\xb4\xd0\xba\xd0\xb8&gt;,\n"
    "\xd0\xb2\xd1\x82\xd0\xbe\xd1\x80\xd0\xb0\xd1\x8f \xd1\x81\xd1\x82\xd1\x80\xd0\xbe\xd0\xba\xd0\xb0</msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

std::string WithNote(std::string file) {
  const std::string empty = "<msg name=\"note\"/>";
  file.replace(file.find(empty), empty.size(),
               "<msg name=\"note\">\xd0\x97\xd0\xb0\xd0\xbc\xd0\xb5\xd1\x82\xd0\xba\xd0\xb0</msg>");
  return file;
}

TEST(PoImportTest, ImportsAFileAsEditorsWriteItExactly) {
  Shop shop;
  shop.dir().Write("ru.po", kEdited);
  EXPECT_EQ(0, shop.Fix({"shop", "ru", "--import", "ru.po"}));
  EXPECT_EQ("", shop.err());
  EXPECT_EQ(
      "etc/xml/shop_msg_ru.xml: 2 messages filled, 1 added; left out: 1 without a "
      "translation, 1 fuzzy; the file as it was is etc/xml/shop_msg_ru.xml.orig\n",
      shop.out());
  EXPECT_EQ(kImported, shop.dir().Read(kRuFile));
  EXPECT_EQ(kRu, shop.dir().Read("etc/xml/shop_msg_ru.xml.orig"));
  // Imported again: nothing left to change.
  EXPECT_EQ(0, shop.Fix({"shop", "ru", "--import", "ru.po"}));
  EXPECT_EQ("etc/xml/shop_msg_ru.xml: nothing to import\n", shop.out());
  EXPECT_EQ(kImported, shop.dir().Read(kRuFile));
}

TEST(PoImportTest, FuzzyEntriesOnlyWhenAskedFor) {
  Shop shop;
  shop.dir().Write("ru.po", kEdited);
  EXPECT_EQ(0, shop.Fix({"shop", "ru", "--import", "ru.po", "--fuzzy", "--no-backup"}));
  EXPECT_EQ(
      "etc/xml/shop_msg_ru.xml: 3 messages filled, 1 added; left out: 1 without a "
      "translation, 0 fuzzy\n",
      shop.out());
  EXPECT_EQ(WithNote(kImported), shop.dir().Read(kRuFile));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_ru.xml.orig"));
}

TEST(PoImportTest, DryRunPrintsTheDiffAndChangesNothing) {
  Shop shop;
  shop.dir().Write("ru.po", kEdited);
  EXPECT_EQ(0, shop.Fix({"shop", "ru", "--import", "ru.po", "--dry-run"}));
  EXPECT_EQ(
      "--- etc/xml/shop_msg_ru.xml\n"
      "+++ etc/xml/shop_msg_ru.xml\n"
      "@@ -3,13 +3,15 @@\n"
      "   <lang name=\"ru\">\n"
      "     <messages name=\"desktop\">\n"
      "       <msg name=\"menu_order\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7\xd1\x8b</msg>\n"
      "-      <msg name=\"menu_stock\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
      "+      <msg name=\"menu_stock\" added=\"msglint-fix\">\xd0\xa1\xd0\xba\xd0\xbb\xd0\xb0\xd0\xb4</msg>\n"
      "     </messages>\n"
      "     <!-- the order form -->\n"
      "     <messages name=\"order\">\n"
      "       <msg name=\"title\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7</msg>\n"
      "-      <msg name=\"sum\"></msg>\n"
      "+      <msg name=\"sum\">\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0</msg>\n"
      "       <msg name=\"note\"/>\n"
      "+      <msg name=\"hint_sum\" added=\"msglint-fix\">"
      "\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0 \"\xd1\x81 \xd0\x9d\xd0\x94\xd0\xa1\" "
      "&amp; &lt;\xd1\x81\xd0\xba\xd0\xb8\xd0\xb4\xd0\xba\xd0\xb8&gt;,\n"
      "+\xd0\xb2\xd1\x82\xd0\xbe\xd1\x80\xd0\xb0\xd1\x8f \xd1\x81\xd1\x82\xd1\x80\xd0\xbe\xd0\xba\xd0\xb0</msg>\n"
      "     </messages>\n"
      "   </lang>\n"
      " </pnldata>\n",
      shop.out());
  EXPECT_EQ(kRu, shop.dir().Read(kRuFile));
}

TEST(PoImportTest, EntriesForMessagesTheRunDoesNotAskForAreSkipped) {
  Shop shop;
  shop.dir().Write("ru.po", Header() +
                                "msgctxt \"order/hint_nothing\"\nmsgid \"x\"\nmsgstr \"y\"\n\n"
                                "msgctxt \"nosection/sum\"\nmsgid \"x\"\nmsgstr \"y\"\n\n"
                                "msgid \"no context\"\nmsgstr \"y\"\n\n"
                                "msgctxt \"order/title\"\nmsgid \"Order\"\n"
                                "msgstr \"\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7\"\n\n"
                                "msgctxt \"order/sum\"\nmsgid \"Sum\"\n"
                                "msgstr \"\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0\"\n");
  EXPECT_EQ(5, shop.Fix({"shop", "ru", "--import", "ru.po", "--no-backup"}));
  EXPECT_EQ(
      "msglint-fix: ru.po: msgctxt \"order/hint_nothing\" names no message that the last "
      "run asks for in language ru (SECTION/NAME); skipped\n"
      "msglint-fix: ru.po: msgctxt \"nosection/sum\" names no message that the last run "
      "asks for in language ru (SECTION/NAME); skipped\n"
      "msglint-fix: ru.po: msgctxt \"\" names no message that the last run asks for in "
      "language ru (SECTION/NAME); skipped\n",
      shop.err());
  // The others are imported; a text that is there already is no change.
  EXPECT_EQ("etc/xml/shop_msg_ru.xml: 1 message filled, 0 added\n", shop.out());
  std::string expected = kRu;
  const std::string empty = "<msg name=\"sum\"></msg>";
  expected.replace(expected.find(empty), empty.size(),
                   "<msg name=\"sum\">\xd0\xa1\xd1\x83\xd0\xbc\xd0\xbc\xd0\xb0</msg>");
  EXPECT_EQ(expected, shop.dir().Read(kRuFile));
}

TEST(PoImportTest, APoFileOfAnotherManagerOrLanguageChangesNothing) {
  Shop shop;
  shop.dir().Write("mail.po", Header("mail", "ru") + "msgctxt \"order/sum\"\nmsgid \"Sum\"\nmsgstr \"S\"\n");
  EXPECT_EQ(3, shop.Fix({"shop", "ru", "--import", "mail.po"}));
  EXPECT_EQ(
      "msglint-fix: mail.po holds the texts of manager 'mail' in language 'ru' (its "
      "header's X-Msglint-Manager and Language), not of 'shop' in 'ru'; nothing imported\n",
      shop.err());
  shop.dir().Write("de.po", Header("shop", "de") + "msgctxt \"order/sum\"\nmsgid \"Sum\"\nmsgstr \"S\"\n");
  EXPECT_EQ(3, shop.Fix({"shop", "ru", "--import", "de.po"}));
  EXPECT_EQ(
      "msglint-fix: de.po holds the texts of manager 'shop' in language 'de' (its "
      "header's X-Msglint-Manager and Language), not of 'shop' in 'ru'; nothing imported\n",
      shop.err());
  EXPECT_EQ("", shop.out());
  EXPECT_EQ(kRu, shop.dir().Read(kRuFile));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_ru.xml.orig"));
}

TEST(PoImportTest, AMalformedPoFileIsNamedWithItsLineAndChangesNothing) {
  Shop shop;
  shop.dir().Write("bad.po", Header() + "msgctxt \"order/sum\"\nmsgid \"Sum\nmsgstr \"S\"\n");
  // The program itself: the library's error must not end it.
  const RunOptions options;
  RunResult run = RunProgram({MSGLINT_FIX_PROGRAM, "shop", "ru", "--import", "bad.po"}, options);
  EXPECT_EQ(4, run.status);
  EXPECT_EQ("msglint-fix: bad.po:11: end-of-line within string; nothing imported\n", run.err);
  EXPECT_EQ("", run.out);
  shop.dir().Write("latin1.po", "msgid \"\"\nmsgstr \"\"\n\"Language: ru\\n\"\n"
                                "\"Content-Type: text/plain; charset=ISO-8859-1\\n\"\n"
                                "\"X-Msglint-Manager: shop\\n\"\n");
  run = RunProgram({MSGLINT_FIX_PROGRAM, "shop", "ru", "--import", "latin1.po"}, options);
  EXPECT_EQ(4, run.status);
  EXPECT_EQ("msglint-fix: latin1.po: the header's Content-Type gives the charset "
            "'ISO-8859-1', not UTF-8; nothing imported\n",
            run.err);
  run = RunProgram({MSGLINT_FIX_PROGRAM, "shop", "ru", "--import", "none.po"}, options);
  EXPECT_EQ(4, run.status);
  EXPECT_EQ("msglint-fix: none.po: cannot be read: No such file or directory; nothing imported\n",
            run.err);
  EXPECT_EQ(kRu, shop.dir().Read(kRuFile));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_ru.xml.orig"));
}

TEST(PoImportTest, AMalformedReadOnlyOrLinkedMessageFileIsLeftAsItWas) {
  Shop shop;
  shop.dir().Write("ru.po", kEdited);
  const std::string broken = "<pnldata>\n<lang name=\"ru\">\n</pnldata>\n";
  shop.dir().Write(kRuFile, broken);
  EXPECT_EQ(1, shop.Fix({"shop", "ru", "--import", "ru.po"}));
  EXPECT_EQ(
      "msglint-fix: etc/xml/shop_msg_ru.xml:3: Opening and ending tag mismatch: lang line 2 "
      "and pnldata; the file is left as it was\n",
      shop.err());
  EXPECT_EQ(broken, shop.dir().Read(kRuFile));

  shop.dir().Write(kRuFile, kRu);
  ASSERT_EQ(0, chmod(kRuFile, 0444));
  EXPECT_EQ(1, shop.Fix({"shop", "ru", "--import", "ru.po"}));
  EXPECT_EQ("msglint-fix: etc/xml/shop_msg_ru.xml: is read-only; the file is left as it was\n",
            shop.err());
  EXPECT_EQ(kRu, shop.dir().Read(kRuFile));
  ASSERT_EQ(0, chmod(kRuFile, 0644));

  shop.dir().Write("elsewhere.xml", kRu);
  ASSERT_EQ(0, unlink(kRuFile));
  shop.dir().Link(shop.dir().path() + "/elsewhere.xml", kRuFile);
  EXPECT_EQ(1, shop.Fix({"shop", "ru", "--import", "ru.po"}));
  EXPECT_EQ("msglint-fix: etc/xml/shop_msg_ru.xml: is a symbolic link; the file is left as it "
            "was\n",
            shop.err());
  EXPECT_EQ(kRu, shop.dir().Read("elsewhere.xml"));
  EXPECT_FALSE(pnl_file::Exists("etc/xml/shop_msg_ru.xml.orig"));
}

TEST(PoImportTest, RoundTripOptionsThatClash) {
  Shop shop;
  EXPECT_EQ(-1, shop.Fix({"shop", "ru", "en", "--import", "ru.po"}));
  EXPECT_EQ("--export and --import take one language", shop.err());
  EXPECT_EQ(-1, shop.Fix({"shop", "ru", "--import", "ru.po", "--export", "x.po"}));
  EXPECT_EQ("--export and --import exclude each other", shop.err());
  EXPECT_EQ(-1, shop.Fix({"shop", "ru", "--import", "ru.po", "--from", "en"}));
  EXPECT_EQ("--text and --from are not for --export or --import", shop.err());
  EXPECT_EQ(-1, shop.Fix({"shop", "ru", "--fuzzy"}));
  EXPECT_EQ("--fuzzy goes with --import", shop.err());
  EXPECT_EQ(-1, shop.Fix({"shop", "ru", "--import", "ru.po", "--source", "en"}));
  EXPECT_EQ("--source goes with --export", shop.err());
  EXPECT_EQ(-1, shop.Fix({"shop", "ru", "--export", "ru.po", "--dry-run"}));
  EXPECT_EQ("--dry-run is not for --export", shop.err());
}

}  // namespace
