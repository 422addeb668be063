#include "report/selection.h"

#include <gtest/gtest.h>

namespace {

using report::Json;
using report::Selection;

// Four findings of two languages, three kinds and two objects, and one of
// no language.
const char kDoc[] = R"({
  "schema": "msglint-findings", "version": 1,
  "run": {"manager": "m", "mode": "full", "arguments": ["-f", "en", "ru"], "languages": ["en", "ru"]},
  "statistics": [{"language": "en", "required": 4, "present": 3, "missing": 1, "empty": 0, "percent": 75.0},
                 {"language": "ru", "required": 4, "present": 2, "missing": 2, "empty": 0, "percent": 50.0}],
  "findings": [
    {"id": 1, "kind": "missing-hint", "level": "error", "object": "user.edit",
     "element": {"type": "field", "name": "name"}, "language": "en",
     "message": {"name": "hint_name"}},
    {"id": 2, "kind": "missing-hint", "level": "error", "object": "user.edit",
     "element": {"type": "field", "name": "name"}, "language": "ru",
     "message": {"name": "hint_name"}},
    {"id": 3, "kind": "missing-column-hint", "level": "warning", "object": "user",
     "element": {"type": "column", "name": "name"}, "language": "ru",
     "message": {"name": "hint_name"}},
    {"id": 4, "kind": "unused-message", "level": "note", "object": "user",
     "element": {"type": "message", "name": "x"}, "language": "en", "message": {"name": "x"}},
    {"id": 5, "kind": "input-without-validator", "level": "warning", "object": "user.edit",
     "element": {"type": "field", "name": "name"}, "language": null, "message": null}],
  "input_problems": []
})";

Json Doc() { return Json::parse(kDoc); }

// The ids of the findings that `selection` keeps.
std::vector<long> Ids(const Selection& selection, const Json& doc = Doc()) {
  std::vector<long> ids;
  const Json kept = selection.Apply(doc, nullptr, nullptr);
  for (const Json& f : kept["findings"]) ids.push_back(f["id"]);
  return ids;
}

TEST(SelectionTest, WithoutOptionsKeepsEverything) {
  Selection selection;
  EXPECT_TRUE(selection.Everything());
  EXPECT_EQ((std::vector<long>{1, 2, 3, 4, 5}), Ids(selection));
}

TEST(SelectionTest, MinLevelKeepsThatLevelAndAbove) {
  Selection selection;
  EXPECT_EQ("", selection.SetMinLevel("warning"));
  EXPECT_EQ((std::vector<long>{1, 2, 3, 5}), Ids(selection));
  EXPECT_EQ("", selection.SetMinLevel("error"));
  EXPECT_EQ((std::vector<long>{1, 2}), Ids(selection));
  EXPECT_EQ("unknown level 'fatal' (error, warning or note)", selection.SetMinLevel("fatal"));
}

TEST(SelectionTest, LanguagesKeepTheirFindingsAndStatistics) {
  Selection selection;
  EXPECT_EQ("", selection.SetLanguages("ru"));
  EXPECT_EQ((std::vector<long>{2, 3}), Ids(selection));
  const Json kept = selection.Apply(Doc(), nullptr, nullptr);
  ASSERT_EQ(1u, kept["statistics"].size());
  EXPECT_EQ("ru", kept["statistics"][0]["language"]);

  Selection both;
  EXPECT_EQ("", both.SetLanguages("ru,en"));
  EXPECT_EQ((std::vector<long>{1, 2, 3, 4}), Ids(both));
  EXPECT_EQ("", both.CheckLanguages(Doc()));

  Selection unknown;
  EXPECT_EQ("", unknown.SetLanguages("en,de"));
  EXPECT_EQ("unknown language 'de' (not a language of the run)", unknown.CheckLanguages(Doc()));
  EXPECT_EQ("an empty language in 'en,'", Selection().SetLanguages("en,"));
  EXPECT_EQ("an empty language in 'en,,ru'", Selection().SetLanguages("en,,ru"));
  EXPECT_EQ("an empty language in ''", Selection().SetLanguages(""));
}

TEST(SelectionTest, KindsAreThoseOfTheTable) {
  Selection selection;
  EXPECT_EQ("", selection.SetKinds("missing-hint,unused-message"));
  EXPECT_EQ((std::vector<long>{1, 2, 4}), Ids(selection));
  EXPECT_EQ("unknown kind 'missing-hints'", Selection().SetKinds("missing-hint,missing-hints"));
}

TEST(SelectionTest, ObjectKeepsItsFindings) {
  Selection selection;
  selection.SetObject("user");
  EXPECT_EQ((std::vector<long>{3, 4}), Ids(selection));
  Selection none;
  none.SetObject("nothing");
  EXPECT_EQ(std::vector<long>{}, Ids(none));
}

TEST(SelectionTest, OptionsCombineAsAll) {
  Selection selection;
  selection.SetLanguages("ru");
  selection.SetMinLevel("warning");
  selection.SetObject("user");
  EXPECT_EQ(std::vector<long>{3}, Ids(selection));
  selection.SetKinds("missing-hint");
  EXPECT_EQ(std::vector<long>{}, Ids(selection));
}

TEST(SelectionTest, NewOnlyKeepsTheNewFindingsAndNoAbsentOne) {
  Json before = Doc();
  before["findings"].erase(0);                // the English hint is new
  before["findings"][0]["language"] = "de";   // a Russian hint fixed, one new
  const report::Comparison all = report::Compare(Doc(), report::Baseline::Of(before));
  ASSERT_EQ(1u, all.absent.size());

  Selection selection;
  selection.SetNewOnly();
  report::Comparison kept;
  const Json doc = selection.Apply(Doc(), &all, &kept);
  ASSERT_EQ(2u, doc["findings"].size());
  EXPECT_EQ(1, doc["findings"][0]["id"]);
  EXPECT_EQ(2, doc["findings"][1]["id"]);
  EXPECT_EQ(2u, kept.identities.size());
  EXPECT_EQ(report::BaselineState::kNew, kept.states[1]);
  EXPECT_TRUE(kept.absent.empty());

  // Without --new-only the absent finding is kept when its language is.
  Selection german;
  german.SetLanguages("de");
  report::Comparison fixed;
  EXPECT_TRUE(german.Apply(Doc(), &all, &fixed)["findings"].empty());
  EXPECT_EQ(1u, fixed.absent.size());
}

}  // namespace
