#include "fix/findings_reader.h"

#include <gtest/gtest.h>

namespace {

using fix::Findings;
using fix::ReadFindings;

TEST(FindingsReaderTest, TakesTheMissingMessagesThatANewMessageFixes) {
  const char text[] = R"({
    "schema": "msglint-findings", "version": 1,
    "run": {"manager": "shop", "mode": "full", "arguments": ["-f", "en", "ru"],
            "languages": ["en", "ru"]},
    "statistics": [],
    "findings": [
      {"id": 1, "kind": "missing-menu-item-description", "level": "error",
       "audit": "missing-messages", "manager": "shop", "object": "mainmenu",
       "element": {"type": "menu-item", "name": "orders"}, "language": "en",
       "result_bit": 8,
       "message": {"name": "menu_orders", "section": "desktop",
                   "file": "etc/xml/shop_msg_en.xml",
                   "add": "<msg name=\"menu_orders\"></msg>"},
       "location": {"file": "etc/xml/shop.xml", "line": 3},
       "report": ["There is no description for menu item \"orders\" for language en."],
       "audit_line": "Message orders en", "input_problem": false},
      {"id": 2, "kind": "empty-hint", "manager": "shop", "object": "order",
       "element": {"type": "field", "name": "sum"}, "language": "en",
       "message": {"name": "hint_sum", "section": "order",
                   "file": "etc/xml/shop_msg_en.xml"}, "input_problem": false},
      {"id": 3, "kind": "wrong-text-color", "manager": "shop", "object": "orders",
       "element": {"type": "column", "name": "state"}, "language": null,
       "message": null, "input_problem": false},
      {"id": 4, "kind": "missing-hint", "manager": "shop", "object": "order",
       "element": {"type": "field", "name": "note"}, "language": "ru",
       "message": {"name": "hint_note", "section": "order",
                   "file": "etc/xml/shop_msg_ru.xml"}, "input_problem": true},
      {"id": 5, "kind": "missing-column-hint", "manager": "shop", "object": "orders",
       "element": {"type": "column", "name": "state"}, "language": "ru",
       "message": {"name": "hint_state", "section": "orders",
                   "file": "etc/xml/shop_msg_ru.xml"}}
    ],
    "input_problems": []
  })";
  Findings findings;
  std::string error;
  ASSERT_TRUE(ReadFindings(text, &findings, &error)) << error;
  EXPECT_EQ("shop", findings.manager);
  EXPECT_EQ((std::vector<std::string>{"en", "ru"}), findings.languages);
  ASSERT_EQ(3u, findings.missing.size());
  const fix::MissingMessage& menu = findings.missing[0];
  EXPECT_EQ(1, menu.id);
  EXPECT_EQ("missing-menu-item-description", menu.kind);
  EXPECT_EQ("shop", menu.manager);
  EXPECT_EQ("mainmenu", menu.object);
  EXPECT_EQ("orders", menu.element);
  EXPECT_EQ("en", menu.language);
  EXPECT_EQ("menu_orders", menu.name);
  EXPECT_EQ("desktop", menu.section);
  EXPECT_EQ("etc/xml/shop_msg_en.xml", menu.file);
  EXPECT_FALSE(menu.input_problem);
  EXPECT_EQ(4, findings.missing[1].id);
  EXPECT_TRUE(findings.missing[1].input_problem);
  EXPECT_EQ("missing-column-hint", findings.missing[2].kind);
  EXPECT_EQ("orders", findings.missing[2].section);
  EXPECT_FALSE(findings.missing[2].input_problem);
}

TEST(FindingsReaderTest, RefusesWhatIsNotAFindingsFileOfVersionOne) {
  Findings findings;
  std::string error;
  EXPECT_FALSE(ReadFindings("{\"schema\": ", &findings, &error));
  EXPECT_EQ("not JSON", error);
  EXPECT_FALSE(ReadFindings("[1, 2]", &findings, &error));
  EXPECT_EQ("not a findings file of msglint", error);
  EXPECT_FALSE(ReadFindings(
      R"({"schema": "msglint-findings", "version": 2, "findings": []})",
      &findings, &error));
  EXPECT_EQ("a findings file of another version than 1", error);
  EXPECT_FALSE(ReadFindings(R"({"schema": "msglint-findings", "version": 1})",
                            &findings, &error));
  EXPECT_EQ("no list of findings", error);
  // Members of the wrong type are passed over, not trusted.
  EXPECT_TRUE(ReadFindings(
      R"({"schema": "msglint-findings", "version": 1, "run": [],
          "findings": [7, {"kind": "missing-title", "language": 3,
                           "message": {"name": "title", "section": "a"}},
                       {"kind": "missing-title", "language": "en",
                        "message": {"name": "title", "section": ["a"]}}]})",
      &findings, &error)) << error;
  EXPECT_TRUE(findings.missing.empty());
}

TEST(FindingsReaderTest, KindsThatNeedAText) {
  EXPECT_TRUE(fix::NeedsText("missing-hint"));
  EXPECT_TRUE(fix::NeedsText("missing-label"));
  EXPECT_TRUE(fix::NeedsText("missing-checkbox-description"));
  EXPECT_TRUE(fix::NeedsText("missing-button-short-name"));
  EXPECT_TRUE(fix::NeedsText("missing-button-hint"));
  EXPECT_FALSE(fix::NeedsText("missing-title"));
  EXPECT_FALSE(fix::NeedsText("missing-column-description"));
  EXPECT_FALSE(fix::NeedsText("missing-menu-item-description"));
  EXPECT_FALSE(fix::NeedsText("missing-column-hint"));
  EXPECT_FALSE(fix::IsFixableKind("empty-hint"));
  EXPECT_FALSE(fix::IsFixableKind("missing-convert"));
  EXPECT_FALSE(fix::IsFixableKind("missing-text-color"));
}

}  // namespace
