// Small string helpers.
#ifndef PNL_STR_H_
#define PNL_STR_H_

#include <string>

namespace str {

// Returns the text before the first `sep` and leaves in `text` what follows
// that `sep`; with no `sep`, returns all of `text` and leaves it empty.
std::string GetWord(std::string& text, char sep);

// The mirror image: returns the text after the last `sep` and leaves in
// `text` what precedes it; with no `sep`, returns all and leaves it empty.
std::string RGetWord(std::string& text, char sep);

// True when `text` begins with `prefix`.
bool StartsWith(const std::string& text, const std::string& prefix);

// The decimal text of `value`.
std::string Str(long value);

// Percent-decoding of one URL-query component ("+" is a blank, "%XX" a
// byte; a malformed escape stays as it stands), and the encoding that
// undoes it (unreserved characters stay, a blank becomes "+").
std::string UrlDecode(const std::string& text);
std::string UrlEncode(const std::string& text);

}  // namespace str

#endif  // PNL_STR_H_
