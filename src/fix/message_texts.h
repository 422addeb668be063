// The messages of one language as the panel finds them: for a section and
// a name, the first message of that name in the sections of that name of
// the language's `lang` elements, the base manager's file first (when
// asked for), then the manager's. Files that are missing or malformed give
// no messages.
#ifndef FIX_MESSAGE_TEXTS_H_
#define FIX_MESSAGE_TEXTS_H_

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pnl/xml.h"

namespace fix {

// One message as a message file holds it.
struct FoundMessage {
  std::string section;
  std::string name;
  std::string text;
  std::string file;       // the message file that holds it
  long line = 0;          // the line of its element there
  bool to_translate = false;  // marked todo="translate"
};

class MessageTexts {
 public:
  // The messages of `lang` in the manager's message file, after those of
  // the base manager kern when `with_base` is set.
  MessageTexts(const std::string& manager, const std::string& lang, bool with_base);

  std::optional<FoundMessage> Find(const std::string& section,
                                   const std::string& name) const;

  // Every message marked todo="translate", in the order of the files.
  std::vector<FoundMessage> ToTranslate() const;

 private:
  // Calls `visit` for each message of the language until it returns true.
  template <typename Visit>
  void Each(Visit visit) const;

  std::string lang_;
  std::vector<std::string> files_;
  std::vector<pnl_xml::Xml> docs_;
  // The first message of each section and name, found at once however
  // many messages are looked up.
  std::map<std::pair<std::string, std::string>, FoundMessage> first_;
};

}  // namespace fix

#endif  // FIX_MESSAGE_TEXTS_H_
