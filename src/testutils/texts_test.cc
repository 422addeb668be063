#include "testutils/texts.h"

#include <clocale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pnl/xml.h"
#include "support/scratch_dir.h"
#include "testutils/findings.h"

namespace {

using testing_support::ScratchDir;
using texts::Compare;
using texts::ConversionsOf;
using texts::Difference;
using texts::LetterCount;

// The kinds of the differences of `text` from `reference`, in order.
std::vector<std::string> Kinds(const std::string& reference, const std::string& text) {
  std::vector<std::string> kinds;
  for (const Difference& d : Compare(reference, text, "en", "ru")) kinds.push_back(d.kind);
  return kinds;
}

using Kinds_ = std::vector<std::string>;

// The one difference of `text` from `reference` (a failure when there are
// more or none).
Difference Only(const std::string& reference, const std::string& text) {
  const std::vector<Difference> differences = Compare(reference, text, "en", "ru");
  EXPECT_EQ(1u, differences.size()) << reference << " / " << text;
  return differences.empty() ? Difference() : differences[0];
}

// ---- Conversions ----------------------------------------------------------

TEST(ConversionsTest, NumberedByPositionOrByTheirOwnNumber) {
  const auto plain = ConversionsOf("%s of %d");
  ASSERT_EQ(2u, plain.size());
  EXPECT_EQ("%s", plain[0].written);
  EXPECT_EQ(1, plain[0].number);
  EXPECT_EQ('s', plain[0].letter);
  EXPECT_EQ(2, plain[1].number);
  EXPECT_EQ('d', plain[1].letter);

  const auto numbered = ConversionsOf("%2$s из %1$s");
  ASSERT_EQ(2u, numbered.size());
  EXPECT_EQ(2, numbered[0].number);
  EXPECT_EQ(1, numbered[1].number);
  EXPECT_EQ("%2$s", numbered[0].written);
}

TEST(ConversionsTest, FlagsWidthPrecisionAndLength) {
  const auto all = ConversionsOf("%-5d|%+.2f|%08.3lf|%#x|%*d|%.*s|%lld|%zu|%hhX|%Lg|%p|%c|%1$'10d");
  std::vector<std::string> written;
  for (const auto& c : all) written.push_back(c.written);
  EXPECT_EQ((std::vector<std::string>{"%-5d", "%+.2f", "%08.3lf", "%#x", "%*d", "%.*s", "%lld",
                                      "%zu", "%hhX", "%Lg", "%p", "%c", "%1$'10d"}),
            written);
}

TEST(ConversionsTest, APercentSignAloneIsNoConversion) {
  EXPECT_TRUE(ConversionsOf("100%% done").empty());
  EXPECT_TRUE(ConversionsOf("50% more").empty());
  EXPECT_TRUE(ConversionsOf("ends with %").empty());
  EXPECT_TRUE(ConversionsOf("%y %k %").empty());
  // "%%s" is a percent sign and an "s".
  EXPECT_TRUE(ConversionsOf("%%s").empty());
  // As printf reads it, "% o" is an octal conversion with a blank flag.
  ASSERT_EQ(1u, ConversionsOf("50% off").size());
  EXPECT_EQ("% o", ConversionsOf("50% off")[0].written);
  const auto after = ConversionsOf("%%%d");
  ASSERT_EQ(1u, after.size());
  EXPECT_EQ("%d", after[0].written);
  EXPECT_EQ(1, after[0].number);
}

// ---- Letters --------------------------------------------------------------

TEST(LettersTest, LettersOfAnyScriptButNotDigitsOrMarks) {
  EXPECT_EQ(2, LetterCount("OK"));
  EXPECT_EQ(0, LetterCount("42"));
  EXPECT_EQ(0, LetterCount("--- 1.5 % !"));
  EXPECT_EQ(1, LetterCount("A"));
  EXPECT_EQ(2, LetterCount("Да"));
  EXPECT_EQ(3, LetterCount("été"));
  EXPECT_EQ(2, LetterCount("名前"));
  EXPECT_EQ(2, LetterCount("Ωμ"));
  EXPECT_EQ(0, LetterCount("\u2026 \u00a0 \u20ac \u00d7"));
}

TEST(LettersTest, TheLettersOfConversionsAreNotCounted) {
  EXPECT_EQ(0, LetterCount("%s: %d"));
  EXPECT_EQ(1, LetterCount("%1$s x"));
  EXPECT_EQ(1, LetterCount("%%s"));
}

TEST(LettersTest, BytesThatAreNotUtf8AreNoLetters) {
  EXPECT_EQ(0, LetterCount("\xff\xfe"));
  EXPECT_EQ(2, LetterCount("a\xc0\xaf" "b"));  // an overlong "/" between
  EXPECT_EQ(0, LetterCount("\xd0"));  // a cut "Д"
}

TEST(LettersTest, TheProcessLocaleChangesNothing) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  const int in_c = LetterCount("Привет");
  std::setlocale(LC_ALL, "C.UTF-8");
  const int in_utf8 = LetterCount("Привет");
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(6, in_c);
  EXPECT_EQ(6, in_utf8);
}

// ---- Placeholders ---------------------------------------------------------

TEST(CompareTest, PlaceholdersInAnotherOrderDiffer) {
  const Difference difference = Only("%s has %d", "%d у %s");
  EXPECT_EQ("placeholder-mismatch", difference.kind);
  EXPECT_EQ("en has %s, %d; ru has %d, %s", difference.words);
}

TEST(CompareTest, AMissingPlaceholderIsNamed) {
  EXPECT_EQ("en has %s, %d; ru has %d", Only("%s of %d files", "%d файлов").words);
  EXPECT_EQ("en has none; ru has %s", Only("Saved", "Сохранено %s").words);
}

TEST(CompareTest, NumberedPlaceholdersMayMove) {
  EXPECT_EQ(Kinds_{}, Kinds("%1$s of %2$s", "%2$s из %1$s"));
  EXPECT_EQ(Kinds_{}, Kinds("%1$s %2$s", "%2$s %1$s"));
  // Numbered and plain agree where the numbers are the positions.
  EXPECT_EQ(Kinds_{}, Kinds("%s of %s", "%1$s из %2$s"));
}

TEST(CompareTest, AnExtraNumberedPlaceholderDiffers) {
  EXPECT_EQ(Kinds_{"placeholder-mismatch"}, Kinds("%c and %d", "%1$c и %2$d и %6$s"));
}

TEST(CompareTest, AnotherLetterDiffersButFlagsAndWidthDoNot) {
  EXPECT_EQ(Kinds_{"placeholder-mismatch"}, Kinds("%d items", "%s штук"));
  EXPECT_EQ(Kinds_{}, Kinds("%-5d items", "%-5d штук"));
  EXPECT_EQ(Kinds_{}, Kinds("%-5d items", "%5d штук"));
}

TEST(CompareTest, PercentSignsAreNoPlaceholders) {
  EXPECT_EQ(Kinds_{}, Kinds("100%% sure", "На 100%% уверен"));
  EXPECT_EQ(Kinds_{}, Kinds("100%% sure", "Уверен на 100%"));
}

// ---- Line breaks ----------------------------------------------------------

TEST(CompareTest, AnotherNumberOfLineBreaksDiffers) {
  const Difference difference = Only("First\nSecond\nThird", "Первая\nВторая Третья");
  EXPECT_EQ("newline-mismatch", difference.kind);
  EXPECT_EQ("en has 2 line breaks; ru has 1 line break", difference.words);
  EXPECT_EQ(Kinds_{}, Kinds("One\nTwo", "Раз\nДва"));
}

// ---- Whitespace -----------------------------------------------------------

TEST(CompareTest, BlanksAtEitherEndDiffer) {
  const Difference trailing = Only("Name ", "Имя");
  EXPECT_EQ("whitespace-mismatch", trailing.kind);
  EXPECT_EQ("en ends with whitespace, ru does not", trailing.words);
  EXPECT_EQ("ru begins with whitespace, en does not", Only("Name", "\tИмя").words);
  EXPECT_EQ("en begins with whitespace, ru does not; ru ends with whitespace, en does not",
            Only(" Name", "Имя ").words);
}

TEST(CompareTest, BlanksAtTheSameEndsAgreeWhateverTheyAre) {
  EXPECT_EQ(Kinds_{}, Kinds(" Name ", "\tИмя  "));
  EXPECT_EQ(Kinds_{}, Kinds("Two words", "Два  слова"));
}

// ---- Punctuation ----------------------------------------------------------

TEST(CompareTest, AnotherClosingMarkDiffers) {
  const Difference difference = Only("Delete?", "Удалить");
  EXPECT_EQ("punctuation-mismatch", difference.kind);
  EXPECT_EQ("en ends with \"?\"; ru ends with no closing mark", difference.words);
  EXPECT_EQ("en ends with \":\"; ru ends with \".\"", Only("Name:", "Имя.").words);
  EXPECT_EQ(Kinds_{"punctuation-mismatch"}, Kinds("Wait...", "Ждите!"));
}

TEST(CompareTest, ThreeDotsAreAnEllipsis) {
  EXPECT_EQ(Kinds_{}, Kinds("Loading...", "Загрузка\u2026"));
  EXPECT_EQ(Kinds_{}, Kinds("Loading\u2026", "Загрузка..."));
  EXPECT_EQ(Kinds_{}, Kinds("Name:", "Имя:"));
}

TEST(CompareTest, TheMarkIsTheLastCharacterBeforeTheBlanks) {
  EXPECT_EQ(Kinds_{}, Kinds("Done.\n", "Готово.\n"));
  EXPECT_EQ(Kinds_{"whitespace-mismatch"}, Kinds("Done. ", "Готово."));
  // Other marks are words to this audit.
  EXPECT_EQ(Kinds_{}, Kinds("Hello;", "Привет,"));
}

// ---- Untranslated ---------------------------------------------------------

TEST(CompareTest, TheReferenceTextItselfWithTwoLetters) {
  const Difference difference = Only("Mailboxes", "Mailboxes");
  EXPECT_EQ("untranslated", difference.kind);
  EXPECT_EQ("ru has the en text", difference.words);
  EXPECT_EQ(Kinds_{"untranslated"}, Kinds("OK", "OK"));
}

TEST(CompareTest, TheSameTextWithoutTwoLettersIsNoFinding) {
  EXPECT_EQ(Kinds_{}, Kinds("42", "42"));
  EXPECT_EQ(Kinds_{}, Kinds("X", "X"));
  EXPECT_EQ(Kinds_{}, Kinds("%s: %d", "%s: %d"));
  EXPECT_EQ(Kinds_{}, Kinds("--", "--"));
}

TEST(CompareTest, SeveralDifferencesInTheOrderOfTheTable) {
  EXPECT_EQ((Kinds_{"placeholder-mismatch", "newline-mismatch", "whitespace-mismatch",
                    "punctuation-mismatch"}),
            Kinds("%s\nsaved.", "Сохранено %d "));
}

TEST(ReferenceLanguageTest, EnglishWhenAuditedElseTheFirst) {
  EXPECT_EQ("en", texts::ReferenceLanguage({"ru", "en"}));
  EXPECT_EQ("ru", texts::ReferenceLanguage({"ru", "fr"}));
  EXPECT_EQ("de", texts::ReferenceLanguage({"de"}));
  EXPECT_EQ("", texts::ReferenceLanguage({}));
}

// ---- The walk over the message files ---------------------------------------

std::string LanguageFile(const std::string& lang, const std::string& sections) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<pnldata>\n<lang name=\"" + lang + "\">\n" +
         sections + "</lang>\n</pnldata>\n";
}

class CheckTextsTest : public ::testing::Test {
 protected:
  void SetUp() override { recorder_.KeepFindings(); }

  std::vector<Finding> Run(const std::vector<std::string>& langs) {
    texts::CheckTexts(recorder_, dir_.path(), "m", langs);
    return recorder_.findings();
  }

  ScratchDir dir_;
  FindingsRecorder recorder_;
};

TEST_F(CheckTextsTest, ComparesWithEnglishWhenTheRunHasIt) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"form\">\n<msg name=\"title\">Mail</msg>\n"
                               "</messages>\n"));
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"form\">\n\n<msg name=\"title\">Mail</msg>\n"
                               "</messages>\n"));
  const auto found = Run({"ru", "en"});
  ASSERT_EQ(1u, found.size());
  const Finding& f = found[0];
  EXPECT_EQ("untranslated", f.kind);
  EXPECT_EQ("texts", f.audit);
  EXPECT_EQ("form", f.object);
  EXPECT_EQ("form", f.section);
  EXPECT_EQ("title", f.message_name);
  EXPECT_EQ("ru", f.language);
  EXPECT_EQ("etc/xml/m_msg_ru.xml", f.file);
  EXPECT_EQ(6, f.line);
  EXPECT_EQ("en", f.reference_language);
  EXPECT_EQ("Mail", f.reference_text);
  EXPECT_EQ("Mail", f.text);
  EXPECT_EQ("ru has the en text", f.difference);
  EXPECT_EQ(0, f.result_bit);
  EXPECT_EQ("", f.report);
}

TEST_F(CheckTextsTest, WithoutEnglishTheFirstLanguageIsTheReference) {
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\"><msg name=\"a\">Имя:</msg></messages>\n"));
  dir_.Write("etc/xml/m_msg_fr.xml",
             LanguageFile("fr", "<messages name=\"f\"><msg name=\"a\">Nom</msg></messages>\n"));
  const auto found = Run({"ru", "fr"});
  ASSERT_EQ(1u, found.size());
  EXPECT_EQ("punctuation-mismatch", found[0].kind);
  EXPECT_EQ("fr", found[0].language);
  EXPECT_EQ("ru", found[0].reference_language);
  EXPECT_EQ("ru ends with \":\"; fr ends with no closing mark", found[0].difference);
}

TEST_F(CheckTextsTest, OneLanguageHasNothingToCompare) {
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\"><msg name=\"a\">Имя:</msg></messages>\n"));
  EXPECT_TRUE(Run({"ru"}).empty());
  EXPECT_TRUE(Run({}).empty());
}

TEST_F(CheckTextsTest, TheLastSectionAndMessageOfEachNameCount) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"f\"><msg name=\"a\">Name:</msg>"
                               "<msg name=\"b\">%s</msg></messages>\n"
                               "<messages name=\"f\"><msg name=\"a\">Name</msg>"
                               "<msg name=\"a\">%d</msg></messages>\n"));
  dir_.Write("etc/xml/m_msg_de.xml",
             LanguageFile("de", "<messages name=\"f\"><msg name=\"a\">%s</msg>"
                               "<msg name=\"b\">%d</msg></messages>\n"
                               "<messages name=\"f\">\n<msg name=\"b\">%d</msg>\n"
                               "<msg name=\"a\">%s</msg>\n<msg name=\"a\">%d</msg>\n"
                               "</messages>\n"));
  // en: f/a is "%d" and f/b is gone with the first section; de: f/a is "%d".
  EXPECT_TRUE(Run({"en", "de"}).empty());
}

TEST_F(CheckTextsTest, PassesOverAddedAndEmptyMessagesAndWhatTheReferenceLacks) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"f\"><msg name=\"a\">Name</msg>"
                               "<msg name=\"b\">Mail</msg><msg name=\"c\"></msg>"
                               "<msg name=\"d\" added=\"msglint-fix\">Host</msg></messages>\n"));
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\">"
                               "<msg name=\"a\" added=\"msglint-fix\" todo=\"translate\">Name</msg>"
                               "<msg name=\"b\"></msg><msg name=\"c\">Почта:</msg>"
                               "<msg name=\"d\">Host</msg><msg name=\"e\">Mail</msg></messages>\n"
                               "<messages name=\"g\"><msg name=\"b\">Mail</msg></messages>\n"));
  EXPECT_TRUE(Run({"en", "ru"}).empty());
}

TEST_F(CheckTextsTest, TextsWithReferencesAndCdataAreComparedAsTheyRead) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"f\"><msg name=\"a\">Tom &amp; Jerry</msg>"
                               "<msg name=\"b\"><![CDATA[<b>%s</b>]]></msg></messages>\n"));
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\"><msg name=\"a\">Tom &#38; Jerry</msg>"
                               "<msg name=\"b\">&lt;b&gt;%d&lt;/b&gt;</msg></messages>\n"));
  const auto found = Run({"en", "ru"});
  ASSERT_EQ(2u, found.size());
  EXPECT_EQ("untranslated", found[0].kind);
  EXPECT_EQ("Tom & Jerry", found[0].text);
  EXPECT_EQ("placeholder-mismatch", found[1].kind);
  EXPECT_EQ("<b>%s</b>", found[1].reference_text);
}

// The scanner reads the texts and lines that the parsed document gives:
// the same findings either way, on texts that hold every kind of markup.
TEST_F(CheckTextsTest, TheScannerReadsWhatTheParserReads) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"f\">\r\n"
                               "<msg name=\"a\">A &amp; B &#x41;&#66; &lt;%s&gt;</msg>\r\n"
                               "<msg name=\"b\"><![CDATA[<i>%d</i>\r\nx]]> <!-- no --><?pi x?></msg>\n"
                               "<msg name=\"c\">Bold <b title=\"a>b\">%s</b>:</msg>\n"
                               "<msg\n  name=\"d\"\n>Two\r\nlines</msg>\n"
                               "<msg name=\"e\"/><msg name=\"g\" added = 'msglint-fix'>Fixed</msg>\n"
                               "</messages>\n"));
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\">\n"
                               "<msg name=\"a\">A &amp; B AB &lt;%d&gt;</msg>\n"
                               "<msg name=\"b\">&lt;i&gt;%d&lt;/i&gt;\nx </msg>\n"
                               "<msg\n name=\"c\">Жирный <b>%s</b></msg>\n"
                               "<msg name=\"d\">Две строки</msg>\n"
                               "<msg name=\"e\">Пусто</msg><msg name=\"g\">Fixed</msg>\n"
                               "</messages>\n"));
  auto summary = [](const std::vector<Finding>& found) {
    std::vector<std::string> lines;
    for (const Finding& f : found)
      lines.push_back(f.kind + " " + f.message_name + ":" + std::to_string(f.line) + " [" +
                      f.reference_text + "] [" + f.text + "]");
    return lines;
  };
  const std::vector<std::string> scanned = summary(Run({"en", "ru"}));
  recorder_.Clear();
  recorder_.KeepFindings();
  pnl_xml::SetLiteralEvaluation(true);
  const std::vector<std::string> parsed = summary(Run({"en", "ru"}));
  pnl_xml::SetLiteralEvaluation(false);
  EXPECT_EQ(parsed, scanned);
  EXPECT_EQ((std::vector<std::string>{
                "placeholder-mismatch a:5 [A & B AB <%s>] [A & B AB <%d>]",
                "untranslated b:6 [<i>%d</i>\nx ] [<i>%d</i>\nx ]",
                "punctuation-mismatch c:9 [Bold %s:] [Жирный %s]",
                "newline-mismatch d:10 [Two\nlines] [Две строки]",
            }),
            scanned);
}

// Language, section and message names written with references, quotes,
// tabs and newlines, and a message past the last line the parser counts
// (65535): the scanner reads every field of every finding as the parser.
TEST_F(CheckTextsTest, HostileNamesAndFarLinesReadAlikeEitherWay) {
  const std::string sections =
      "<messages name=\"s&amp;&lt;&quot;'&#9;&#10;\">\n"
      "<msg name=\"m&amp;1\">%s and %d</msg>\n"
      "<msg name=\"m\t2\n\">Two words</msg>\n"
      "</messages>\n"
      "<messages name='q\"&#38;'>\n" + std::string(70000, '\n') +
      "<msg name=\"far&#x26;\">Far away.</msg>\n</messages>\n";
  dir_.Write("etc/xml/m_msg_e&n.xml", LanguageFile("e&amp;n", sections));
  std::string translated = sections;
  translated.replace(translated.find("%s and %d"), 9, "%d and %s");
  translated.replace(translated.find("Far away."), 9, "Far away");
  dir_.Write("etc/xml/m_msg_r\tu.xml", LanguageFile("r&#9;u", translated));
  auto summary = [](const std::vector<Finding>& found) {
    std::vector<std::string> lines;
    for (const Finding& f : found)
      lines.push_back(f.kind + "|" + f.object + "|" + f.section + "|" + f.message_name + "|" +
                      f.language + "|" + f.file + ":" + std::to_string(f.line) + "|" + f.difference + "|" +
                      f.reference_text + "|" + f.text);
    return lines;
  };
  const std::vector<std::string> scanned = summary(Run({"e&n", "r\tu"}));
  recorder_.Clear();
  recorder_.KeepFindings();
  pnl_xml::SetLiteralEvaluation(true);
  const std::vector<std::string> parsed = summary(Run({"e&n", "r\tu"}));
  pnl_xml::SetLiteralEvaluation(false);
  EXPECT_EQ(parsed, scanned);
  const std::string first = "s&<\"'\t\n";
  EXPECT_EQ((std::vector<std::string>{
                "placeholder-mismatch|" + first + "|" + first + "|m&1|r\tu|etc/xml/m_msg_r\tu.xml:5|"
                "e&n has %s, %d; r\tu has %d, %s|%s and %d|%d and %s",
                "untranslated|" + first + "|" + first + "|m 2 |r\tu|etc/xml/m_msg_r\tu.xml:7|"
                "r\tu has the e&n text|Two words|Two words",
                "punctuation-mismatch|q\"&|q\"&|far&|r\tu|etc/xml/m_msg_r\tu.xml:65535|"
                "e&n ends with \".\"; r\tu ends with no closing mark|Far away.|Far away",
            }),
            scanned);
}

// A file with a DTD is parsed: its own entities read as nothing, as they
// do for every other audit.
TEST_F(CheckTextsTest, AFileWithADtdIsParsed) {
  dir_.Write("etc/xml/m_msg_en.xml",
             "<?xml version=\"1.0\"?>\n<!DOCTYPE pnldata [<!ENTITY co \"ACME\">]>\n"
             "<pnldata><lang name=\"en\"><messages name=\"f\">\n"
             "<msg name=\"a\">&co; Mail:</msg></messages></lang></pnldata>\n");
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\"><msg name=\"a\"> Mail:</msg></messages>\n"));
  const auto found = Run({"en", "ru"});
  ASSERT_EQ(1u, found.size());
  EXPECT_EQ("untranslated", found[0].kind);
  EXPECT_EQ(" Mail:", found[0].reference_text);
}

TEST_F(CheckTextsTest, AFileThatCannotBeParsedGivesNothing) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"f\"><msg name=\"a\">Name</msg></messages>\n"));
  dir_.Write("etc/xml/m_msg_ru.xml", "<pnldata><lang name=\"ru\"><messages name=\"f\">");
  EXPECT_TRUE(Run({"en", "ru"}).empty());
  EXPECT_TRUE(Run({"ru", "en"}).empty());
}

TEST_F(CheckTextsTest, TheFindingsFileNamesBothTexts) {
  dir_.Write("etc/xml/m_msg_en.xml",
             LanguageFile("en", "<messages name=\"f\"><msg name=\"a\">%s files</msg></messages>\n"));
  dir_.Write("etc/xml/m_msg_ru.xml",
             LanguageFile("ru", "<messages name=\"f\"><msg name=\"a\">файлов: %d</msg></messages>\n"));
  recorder_.SetRun("m", "-f", {"en", "ru"});
  Run({"en", "ru"});
  const std::string json = recorder_.ToJson();
  EXPECT_NE(std::string::npos, json.find("\"comparison\": {\n"
                                         "        \"reference_language\": \"en\",\n"
                                         "        \"reference\": \"%s files\",\n"
                                         "        \"text\": \"файлов: %d\",\n"
                                         "        \"difference\": \"en has %s; ru has %d\"\n"
                                         "      },"))
      << json;
  EXPECT_EQ(recorder_.LiteralJson(), json);
}

}  // namespace
