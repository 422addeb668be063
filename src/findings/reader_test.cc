#include "findings/reader.h"

#include <gtest/gtest.h>

namespace {

using findings::Document;
using findings::Fault;
using findings::Read;

const char kDoc[] = R"({
  "schema": "msglint-findings", "version": 1,
  "run": {"manager": "shop", "mode": "full", "arguments": ["-f", "en", "ru"],
          "languages": ["en", "ru"]},
  "statistics": [],
  "findings": [
    {"id": 1, "kind": "missing-hint", "level": "error", "audit": "missing-messages",
     "manager": "shop", "object": "order", "element": {"type": "field", "name": "note"},
     "language": "ru", "result_bit": 2,
     "message": {"name": "hint_note", "section": "order", "file": "etc/xml/shop_msg_ru.xml",
                 "add": "<msg name=\"hint_note\"></msg>"},
     "location": {"file": "etc/xml/shop.xml", "line": 9},
     "report": "There is no hint\n", "audit_line": "HINT order.note ru",
     "input_problem": true},
    {"id": 2, "kind": "wrong-text-color", "manager": "shop", "object": "orders",
     "element": {"type": "column", "name": "state"}, "language": null,
     "message": null, "location": null, "input_problem": false}
  ],
  "input_problems": []
})";

TEST(ReaderTest, GivesTheRunAndEveryFinding) {
  Document doc;
  ASSERT_EQ(Fault::kNone, Read(kDoc, &doc));
  EXPECT_EQ("shop", doc.manager);
  EXPECT_EQ((std::vector<std::string>{"en", "ru"}), doc.languages);
  ASSERT_EQ(2u, doc.findings.size());
  const findings::Entry& hint = doc.findings[0];
  EXPECT_EQ(1, hint.id);
  EXPECT_EQ("missing-hint", hint.kind);
  EXPECT_EQ("error", hint.level);
  EXPECT_EQ("missing-messages", hint.audit);
  EXPECT_EQ("shop", hint.manager);
  EXPECT_EQ("order", hint.object);
  EXPECT_EQ("field", hint.element_type);
  EXPECT_EQ("note", hint.element);
  EXPECT_EQ("ru", hint.language);
  EXPECT_EQ(2, hint.result_bit);
  EXPECT_TRUE(hint.has_message);
  EXPECT_EQ("hint_note", hint.message);
  EXPECT_EQ("order", hint.section);
  EXPECT_EQ("etc/xml/shop_msg_ru.xml", hint.message_file);
  EXPECT_EQ("<msg name=\"hint_note\"></msg>", hint.add);
  EXPECT_EQ("etc/xml/shop.xml", hint.file);
  EXPECT_EQ(9, hint.line);
  EXPECT_EQ("There is no hint\n", hint.report);
  EXPECT_EQ("HINT order.note ru", hint.audit_line);
  EXPECT_TRUE(hint.input_problem);

  const findings::Entry& color = doc.findings[1];
  EXPECT_EQ("", color.language);
  EXPECT_FALSE(color.has_message);
  EXPECT_EQ("", color.file);
  EXPECT_EQ(0, color.line);
  EXPECT_FALSE(color.input_problem);
  EXPECT_EQ("shop", doc.json["run"]["manager"]);
}

TEST(ReaderTest, SaysWhatIsWrong) {
  Document doc;
  EXPECT_EQ(Fault::kNotJson, Read("{\"schema\": ", &doc));
  EXPECT_EQ(Fault::kForeign, Read("[1, 2]", &doc));
  EXPECT_EQ(Fault::kForeign, Read(R"({"schema": "other", "version": 1, "findings": []})", &doc));
  EXPECT_EQ(Fault::kOtherVersion,
            Read(R"({"schema": "msglint-findings", "version": 2, "findings": []})", &doc));
  EXPECT_EQ(Fault::kOtherVersion,
            Read(R"({"schema": "msglint-findings", "version": "1", "findings": []})", &doc));
  EXPECT_EQ(Fault::kNoFindings, Read(R"({"schema": "msglint-findings", "version": 1})", &doc));
  EXPECT_TRUE(doc.json.is_null());
}

TEST(ReaderTest, MembersOfTheWrongTypeReadAsAbsent) {
  Document doc;
  ASSERT_EQ(Fault::kNone,
            Read(R"({"schema": "msglint-findings", "version": 1, "run": [],
                     "findings": [7, {"kind": "missing-title", "id": 1.5, "language": 3,
                                      "message": {"name": "title", "section": ["a"]}}]})",
                 &doc));
  EXPECT_EQ("", doc.manager);
  ASSERT_EQ(2u, doc.findings.size());
  EXPECT_EQ("", doc.findings[0].kind);
  EXPECT_EQ(0, doc.findings[1].id);
  EXPECT_EQ("", doc.findings[1].language);
  EXPECT_TRUE(doc.findings[1].has_message);
  EXPECT_EQ("", doc.findings[1].section);
}

}  // namespace
