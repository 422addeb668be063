// The texts audit: a translated message should say what the reference
// language's message of the same name says in the same shape. For every
// language of a full run but the reference language, each message with a
// text is compared with the message of the same name in the section of the
// same name of the reference language's message file: the printf
// conversions, the line breaks, the blanks at either end, the closing
// punctuation, and whether the text was translated at all.
//
// The audit prints nothing and changes neither the audit file nor the
// run's status: its findings go to the findings file only.
#ifndef TESTUTILS_TEXTS_H_
#define TESTUTILS_TEXTS_H_

#include <string>
#include <string_view>
#include <vector>

#include "testutils/findings.h"

namespace texts {

// One difference between a translation and its reference text.
struct Difference {
  std::string kind;  // "placeholder-mismatch", ..., "untranslated"
  // What differs, in words: "en has %s, %d; ru has %d".
  std::string words;
};

// One printf conversion of a text: "%[N$][flags][width][.prec][length]conv".
struct Conversion {
  std::string written;  // as the text writes it: "%1$-5s"
  int number = 0;       // its N$, or its position among the conversions
  char letter = 0;      // d i o u x X e E f F g G a A c s p
};

// The conversions of `text` in the order written; "%%" is no conversion,
// nor is a "%" that starts none.
std::vector<Conversion> ConversionsOf(std::string_view text);

// How many letters `text` holds outside its conversions. A letter is a
// code point that is alphabetic in glibc's C.UTF-8 locale (Latin,
// Cyrillic, Greek, CJK, ...), whatever the process's locale; digits,
// punctuation and symbols are not. Bytes that are not UTF-8 are no letters.
int LetterCount(std::string_view text);

// Compares `text` of language `lang` with `reference`, the text of the
// reference language `reference_lang`: every difference found, in the
// order of the kinds in the findings table.
std::vector<Difference> Compare(std::string_view reference, std::string_view text,
                                const std::string& reference_lang, const std::string& lang);

// The reference language of a run of `langs`: "en" when the run has it,
// otherwise the first; "" for a run without languages.
std::string ReferenceLanguage(const std::vector<std::string>& langs);

// Walks the message files of `manager` under `work_dir` for `langs` and
// records a finding in `recorder` for every difference. Each file is read
// and parsed once; a file that cannot be read or parsed (an input problem
// of the run already) gives no findings.
void CheckTexts(FindingsRecorder& recorder, const std::string& work_dir,
                const std::string& manager, const std::vector<std::string>& langs);

}  // namespace texts

#endif  // TESTUTILS_TEXTS_H_
