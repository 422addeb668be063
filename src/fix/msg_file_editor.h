// Adds messages to the bytes of a message file (etc/xml/M_msg_L.xml)
// without touching anything else of it: comments, CDATA, the order and
// indentation of what is there, non-ASCII text, the XML declaration and a
// byte-order mark all stay byte for byte. Only UTF-8 files are edited.
//
// A message for section S of language L goes where the panel and the
// column-hint check both find it: into the last `messages name="S"` child
// of a `lang name="L"` child of the root `pnldata` (the panel reads every
// such section; the column-hint check keeps only the last). When language
// L has no such section, a new one is appended to the last `lang name="L"`
// element; when the file has no such language, a new `lang` element is
// appended to the root. New lines copy the line ending of the file and the
// indentation of their neighbours.
#ifndef FIX_MSG_FILE_EDITOR_H_
#define FIX_MSG_FILE_EDITOR_H_

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pnl/xml.h"

namespace fix {

// One message to add: <msg name="NAME" ATTR="VALUE"...>TEXT</msg>, with the
// text and the values escaped for XML.
struct NewMessage {
  std::string name;
  std::string text;
  std::vector<std::pair<std::string, std::string>> attributes;
};

class MsgFileEditor {
 public:
  // Takes the bytes of a message file; `origin` names it in messages.
  // False, with `error` set ("origin:LINE: message" for a malformed file),
  // when the file is not a well-formed UTF-8 document with a root element
  // `pnldata`; the editor then adds nothing.
  bool Load(const std::string& bytes, const std::string& origin,
            std::string* error);

  // Queues `message` for section `section` of language `lang`. False when
  // a message of that name is already there (in any section of that name
  // of that language) or already queued: it is never added twice.
  bool Add(const std::string& lang, const std::string& section,
           const NewMessage& message);

  // Queues a new text for the first message `name` in the sections
  // `section` of language `lang`, and the removal of each attribute of its
  // start tag that has one of the names and values in `drop`. The rest of
  // its start tag stays as written; the text replaces everything between
  // its tags. False when the file has no such message, or its text is
  // already queued.
  bool SetText(const std::string& lang, const std::string& section,
               const std::string& name, const std::string& text,
               const std::vector<std::pair<std::string, std::string>>& drop);

  // Whether anything was queued.
  bool Changed() const { return !queued_.empty() || !texts_.empty(); }

  // The bytes of the file with every queued message in place.
  std::string Result() const;

 private:
  struct Queued {
    std::string lang;
    std::string section;
    NewMessage message;
  };
  struct NewText {
    long element;
    std::string text;
    std::vector<std::pair<std::string, std::string>> drop;
  };

  // The first message `name` of the sections `section` of language
  // `lang`; -1 when there is none.
  long FindMessage(const std::string& lang, const std::string& section,
                   const std::string& name) const;
  // One change of the bytes: `remove` bytes at `pos` replaced by `insert`.
  struct Change {
    std::size_t pos;
    std::size_t remove;
    std::string insert;
  };
  // The changes that give the queued texts.
  void TextChanges(std::vector<Change>* changes) const;

  // The indices of the child elements of element `index`, in order.
  const std::vector<long>& Children(long index) const;
  // The last child of `parent` named `name` whose "name" attribute is
  // `name_attr`; -1 when there is none.
  long LastChild(long parent, const std::string& name,
                 const std::string& name_attr) const;
  // The blanks that begin the line where `pos` stands, when only blanks
  // come before it on that line.
  std::optional<std::string> IndentBefore(std::size_t pos) const;
  // The indentation of new children of `element`; none when its children
  // stand on one line with it.
  std::optional<std::string> ChildIndent(long element) const;

  std::string text_;
  std::vector<pnl_xml::ElementSpan> spans_;
  std::vector<std::vector<long>> children_;
  std::string newline_ = "\n";
  std::string unit_ = "  ";  // one level of indentation
  std::vector<Queued> queued_;
  std::vector<NewText> texts_;
};

// The start tag `tag` ("<msg name=\"a\" todo=\"translate\">", or without
// its ">") without each attribute that has one of the names and values in
// `drop`, with the blanks before it; everything else as written.
std::string DropAttributes(
    const std::string& tag,
    const std::vector<std::pair<std::string, std::string>>& drop);

// The text escaped as element content and as an attribute value.
std::string EscapeText(const std::string& text);
std::string EscapeAttribute(const std::string& value);

}  // namespace fix

#endif  // FIX_MSG_FILE_EDITOR_H_
