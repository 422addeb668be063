#include "fix/po_catalog.h"

#include <gtest/gtest.h>

#include <string>

#include "fix/po_testdata.h"

namespace {

findings::Entry Of(const std::string& kind, const std::string& object,
                   const std::string& element) {
  findings::Entry e;
  e.kind = kind;
  e.object = object;
  e.element = element;
  e.has_message = true;
  e.message = "m";
  e.section = object;
  return e;
}

TEST(PoCatalogTest, WhatEachKindOfMessageIsFor) {
  EXPECT_EQ("label of field \"note\" in form \"mailbox.edit\"",
            fix::PurposeOf(Of("empty-label", "mailbox.edit", "note")));
  EXPECT_EQ("hint of field \"name\" in form \"mailbox.edit\"",
            fix::PurposeOf(Of("missing-hint", "mailbox.edit", "name")));
  EXPECT_EQ("description of check box \"antispam\" in form \"mailbox.edit\"",
            fix::PurposeOf(Of("missing-checkbox-description", "mailbox.edit", "antispam")));
  EXPECT_EQ("title of form \"autoreply\"", fix::PurposeOf(Of("missing-title", "autoreply", "")));
  EXPECT_EQ("hint of column \"state\" in list \"mailbox\"",
            fix::PurposeOf(Of("missing-column-hint", "mailbox", "state")));
  EXPECT_EQ("description of column \"state\" in list \"mailbox\"",
            fix::PurposeOf(Of("missing-column-description", "mailbox", "state")));
  EXPECT_EQ("short name of button \"edit\" in list \"mailbox\"",
            fix::PurposeOf(Of("empty-button-short-name", "mailbox", "edit")));
  EXPECT_EQ("hint of button \"delete\" in list \"mailbox\"",
            fix::PurposeOf(Of("missing-button-hint", "mailbox", "delete")));
  EXPECT_EQ("menu item \"mailqueue\"",
            fix::PurposeOf(Of("missing-menu-item-description", "mainmenu", "mailqueue")));
  // Findings of other kinds ask for no text.
  EXPECT_EQ("", fix::PurposeOf(Of("missing-text-color", "mailbox", "state")));
  EXPECT_FALSE(fix::IsMissingOrEmpty(Of("unused-message", "mailbox", "")));
  EXPECT_TRUE(fix::IsMissingOrEmpty(Of("empty-hint", "mailbox.edit", "domain")));
}

TEST(PoCatalogTest, FindingsOfTheLanguageInReportOrderThenMessagesToTranslate) {
  po_testdata::Shop shop;
  findings::Document doc;
  ASSERT_EQ(findings::Fault::kNone, findings::Read(po_testdata::kFindings, &doc));
  std::size_t doubtful = 0;
  std::vector<fix::NeededMessage> needed =
      fix::NeededMessages(doc, "shop", "ru", fix::MessageTexts("shop", "ru", false), &doubtful);
  EXPECT_EQ(0u, doubtful);
  std::string got;
  for (const fix::NeededMessage& m : needed)
    got += m.section + "/" + m.name + (m.in_file ? " in file" : "") + "\n";
  EXPECT_EQ(
      "order/hint_sum\n"
      "order/sum in file\n"
      "order/note in file\n"
      "order/gift_desc\n"
      "desktop/menu_stock in file\n",
      got);
  // Findings that an input problem may have caused are left out.
  doc.findings[1].input_problem = true;
  needed = fix::NeededMessages(doc, "shop", "ru", fix::MessageTexts("shop", "ru", false), &doubtful);
  EXPECT_EQ(1u, doubtful);
  EXPECT_EQ(4u, needed.size());
}

TEST(PoCatalogTest, AMessageMarkedTodoIsForWhatAnotherLanguagesFindingSays) {
  po_testdata::Shop shop;
  findings::Document doc;
  ASSERT_EQ(findings::Fault::kNone, findings::Read(po_testdata::kFindings, &doc));
  fix::MessageTexts ru("shop", "ru", false);
  std::size_t doubtful = 0;
  std::vector<fix::NeededMessage> needed = fix::NeededMessages(doc, "shop", "ru", ru, &doubtful);
  ASSERT_EQ(5u, needed.size());
  EXPECT_EQ((std::vector<std::string>{"message \"menu_stock\" of section \"desktop\""}),
            needed[4].purposes);
  // An English finding of the same message says what it is for, and where.
  findings::Entry& en = doc.findings[0];
  en.kind = "missing-menu-item-description";
  en.object = "mainmenu";
  en.element = "stock";
  en.section = "desktop";
  en.message = "menu_stock";
  en.line = 3;
  needed = fix::NeededMessages(doc, "shop", "ru", ru, &doubtful);
  ASSERT_EQ(5u, needed.size());
  EXPECT_EQ((std::vector<std::string>{"menu item \"stock\""}), needed[4].purposes);
  EXPECT_EQ((std::vector<std::pair<std::string, std::size_t>>{
                {"etc/xml/shop.xml", 3}, {"etc/xml/shop_msg_ru.xml", 6}}),
            needed[4].places);
}

}  // namespace
