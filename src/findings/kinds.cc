#include "findings/kinds.h"

namespace findings {

namespace {

constexpr char kMissing[] = "missing-messages";
constexpr char kTexts[] = "texts";

// name, level, audit, result bit, fixable, needs a text, help.
constexpr Kind kKinds[] = {
    {"self-included-condition", "warning", kMissing, 0, false, false,
     "An element repeats a condition (if) of an element that encloses it."},
    {"missing-menu-item-description", "error", kMissing, 8, true, false,
     "A main menu item has no menu_ITEM message in the desktop section."},
    {"missing-convert", "error", kMissing, 16, false, false,
     "A domain input has no convert attribute; it should say convert=\"punycode\"."},
    {"wrong-convert", "error", kMissing, 16, false, false,
     "A domain input's convert attribute is not \"punycode\"."},
    {"textdata-named-like-field", "note", kMissing, 0, false, false,
     "A field's textdata has the field's own name."},
    {"missing-title", "error", kMissing, 16, true, false,
     "A form has no title message (title or title_new) in its section."},
    {"missing-hint", "error", kMissing, 2, true, true,
     "A form field has no hint_FIELD message in the form's section."},
    {"empty-hint", "error", kMissing, 2, false, false,
     "A form field's hint_FIELD message has no text."},
    {"missing-checkbox-description", "error", kMissing, 8, true, true,
     "A check box has no description message in the form's section."},
    {"empty-checkbox-description", "error", kMissing, 8, false, false,
     "A check box's description message has no text."},
    {"missing-label", "error", kMissing, 4, true, true,
     "A form field has no label: no message named like the field in the form's section."},
    {"empty-label", "error", kMissing, 4, false, false,
     "A form field's label message has no text (the report calls it an empty hint)."},
    {"missing-column-description", "error", kMissing, 8, true, false,
     "A list column has no message named like the column in the list's section."},
    {"missing-background-color", "error", kMissing, 1, false, false,
     "A msg column has no background setcolor rule in its coldata."},
    {"empty-background-color", "error", kMissing, 1, false, false,
     "A background setcolor rule of a column names no colour."},
    {"wrong-background-color", "error", kMissing, 1, false, false,
     "A background setcolor rule names a colour other than red, green, blue, yellow or cyan."},
    {"missing-text-color", "error", kMissing, 1, false, false,
     "A msg column has no text setcolor rule."},
    {"empty-text-color", "error", kMissing, 1, false, false,
     "A text setcolor rule of a column names no colour."},
    {"wrong-text-color", "error", kMissing, 1, false, false,
     "A text setcolor rule names a colour other than red, green, blue, yellow or cyan."},
    {"missing-button-short-name", "error", kMissing, 2, true, true,
     "A toolbar button has no short_BUTTON message in the list's section."},
    {"empty-button-short-name", "error", kMissing, 2, false, false,
     "A toolbar button's short_BUTTON message has no text."},
    {"missing-button-hint", "error", kMissing, 2, true, true,
     "A toolbar button has no hint_BUTTON message in the list's section."},
    {"empty-button-hint", "error", kMissing, 2, false, false,
     "A toolbar button's hint_BUTTON message has no text."},
    {"input-without-validator", "warning", "validator", 0, false, false,
     "A text input has no check attribute (validator)."},
    {"repeated-message", "note", "repeats", 0, false, false,
     "The same text is given by several messages."},
    {"unused-message", "note", "unused", 0, false, false,
     "A message that nothing in its form or list uses."},
    {"include-not-found", "warning", "unused", 0, false, false,
     "An include names a section that does not exist in this language."},
    {"no-such-action", "note", "actionlist", 0, false, false,
     "A message section is named after no action of the manager."},
    {"missing-column-hint", "warning", "column-hints", 0, true, false,
     "A list column has no hint_COLUMN message in the list's section."},
    {"placeholder-mismatch", "error", kTexts, 0, false, false,
     "A translation's printf conversions (%s, %1$d, ...) differ from the reference language's text."},
    {"newline-mismatch", "warning", kTexts, 0, false, false,
     "A translation has another number of line breaks than the reference language's text."},
    {"whitespace-mismatch", "warning", kTexts, 0, false, false,
     "A translation begins or ends with whitespace where the reference language's text does not, or the other way round."},
    {"punctuation-mismatch", "note", kTexts, 0, false, false,
     "A translation ends with another closing mark (: . ? ! or an ellipsis) than the reference language's text."},
    {"untranslated", "note", kTexts, 0, false, false,
     "A translation is the reference language's text itself."},
};

}  // namespace

std::span<const Kind> Kinds() { return kKinds; }

const Kind* FindKind(std::string_view name) {
  for (const Kind& kind : kKinds)
    if (name == kind.name) return &kind;
  return nullptr;
}

std::string LevelOf(std::string_view kind) {
  const Kind* found = FindKind(kind);
  return found ? found->level : "error";
}

std::string HelpOf(std::string_view kind) {
  const Kind* found = FindKind(kind);
  return found ? found->help : "A finding of msglint.";
}

}  // namespace findings
