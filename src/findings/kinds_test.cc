#include "findings/kinds.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "findings/reader.h"

namespace {

using findings::FindKind;

TEST(KindsTest, EachKindOnceWithALevelAndAHelpText) {
  std::set<std::string> names;
  for (const findings::Kind& kind : findings::Kinds()) {
    EXPECT_TRUE(names.insert(kind.name).second) << kind.name;
    EXPECT_TRUE(std::string(kind.level) == "error" || std::string(kind.level) == "warning" ||
                std::string(kind.level) == "note")
        << kind.name;
    EXPECT_FALSE(std::string(kind.help).empty()) << kind.name;
    EXPECT_FALSE(std::string(kind.audit).empty()) << kind.name;
  }
  EXPECT_EQ(34u, names.size());
}

TEST(KindsTest, LevelsAndHelpOfKnownAndUnknownKinds) {
  EXPECT_EQ("error", findings::LevelOf("missing-hint"));
  EXPECT_EQ("warning", findings::LevelOf("missing-column-hint"));
  EXPECT_EQ("note", findings::LevelOf("unused-message"));
  EXPECT_EQ("error", findings::LevelOf("no-such-kind"));
  EXPECT_EQ("A form field's hint_FIELD message has no text.", findings::HelpOf("empty-hint"));
  EXPECT_EQ("A finding of msglint.", findings::HelpOf("no-such-kind"));
  EXPECT_EQ(nullptr, FindKind("no-such-kind"));
}

TEST(KindsTest, AuditsAndResultBits) {
  EXPECT_STREQ("missing-messages", FindKind("wrong-text-color")->audit);
  EXPECT_EQ(1, FindKind("wrong-text-color")->result_bit);
  EXPECT_EQ(16, FindKind("missing-title")->result_bit);
  EXPECT_STREQ("column-hints", FindKind("missing-column-hint")->audit);
  EXPECT_EQ(0, FindKind("missing-column-hint")->result_bit);
  EXPECT_STREQ("unused", FindKind("include-not-found")->audit);
}

// The texts audit's kinds never change the run's status.
TEST(KindsTest, TheTextsAuditsKinds) {
  const std::pair<const char*, const char*> levels[] = {
      {"placeholder-mismatch", "error"}, {"newline-mismatch", "warning"},
      {"whitespace-mismatch", "warning"}, {"punctuation-mismatch", "note"},
      {"untranslated", "note"}};
  for (const auto& [name, level] : levels) {
    const findings::Kind* kind = FindKind(name);
    ASSERT_NE(nullptr, kind) << name;
    EXPECT_STREQ(level, kind->level) << name;
    EXPECT_STREQ("texts", kind->audit) << name;
    EXPECT_EQ(0, kind->result_bit) << name;
    EXPECT_FALSE(kind->fixable) << name;
  }
}

// The fixer adds the missing messages; those whose audit also reports an
// empty text stay reported until the text is written.
TEST(KindsTest, WhatTheFixerCanAdd) {
  std::set<std::string> fixable, need_text;
  for (const findings::Kind& kind : findings::Kinds()) {
    if (kind.fixable) fixable.insert(kind.name);
    if (kind.needs_text) need_text.insert(kind.name);
    if (kind.needs_text) {
      EXPECT_TRUE(kind.fixable) << kind.name;
    }
    if (kind.fixable) {
      EXPECT_TRUE(std::string(kind.name).starts_with("missing-")) << kind.name;
    }
  }
  EXPECT_EQ((std::set<std::string>{"missing-title", "missing-hint", "missing-label",
                                   "missing-checkbox-description", "missing-column-description",
                                   "missing-menu-item-description", "missing-button-short-name",
                                   "missing-button-hint", "missing-column-hint"}),
            fixable);
  EXPECT_EQ((std::set<std::string>{"missing-hint", "missing-label", "missing-checkbox-description",
                                   "missing-button-short-name", "missing-button-hint"}),
            need_text);
}

// The findings files that the end-to-end cases expect of their runs give
// every kind the level, audit and result bit of the table.
TEST(KindsTest, TheEndToEndCasesAgreeWithTheTable) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(FINDINGS_E2E_CASES_DIR)) {
    const std::filesystem::path path = entry.path() / "expected_findings";
    if (!std::filesystem::exists(path)) continue;
    ++files;
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    findings::Document doc;
    ASSERT_EQ(findings::Fault::kNone, findings::Read(text.str(), &doc)) << path;
    for (const findings::Entry& f : doc.findings) {
      const findings::Kind* kind = FindKind(f.kind);
      ASSERT_NE(nullptr, kind) << path << ": " << f.kind;
      EXPECT_EQ(kind->level, f.level) << path << ": " << f.kind;
      EXPECT_EQ(kind->audit, f.audit) << path << ": " << f.kind;
      EXPECT_EQ(kind->result_bit, f.result_bit) << path << ": " << f.kind;
    }
  }
  EXPECT_GT(files, 0);
}

}  // namespace
