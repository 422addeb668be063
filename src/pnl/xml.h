// XML documents, nodes and XPath 1.0 node sets over libxml2.
//
// Xml, XmlNode and XPath are cheap value handles that share the underlying
// document by reference counting: a node or a node set keeps its document
// alive after the Xml object that produced it is gone.
//
// Nothing here throws or aborts on bad input:
//  - a missing or malformed file loads as an empty document (no root), on
//    which every XPath selects nothing; a malformed file gives one line on
//    standard error (path, line, parser message) and a log record;
//  - the parser never loads external entities or DTDs, never touches the
//    network and never expands entities;
//  - an invalid XPath expression selects nothing and is logged;
//  - every operation on an invalid node is harmless (GetProp gives "",
//    SetProp/AppendChild do nothing, navigation gives invalid nodes).
// libxml2's own error printing never reaches standard output or error.
#ifndef PNL_XML_H_
#define PNL_XML_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "pnl/status.h"

namespace pnl_xml {

namespace internal {
struct DocHolder;  // owns one libxml2 document; shared by all handles
}

class Xml;

// A node of a document: an element, or an attribute or text node when an
// XPath selects one. Default-constructed, it refers to no node.
class XmlNode {
 public:
  XmlNode();

  // True when the handle refers to a node.
  explicit operator bool() const;

  // Value of attribute `name`; "" when absent or when the node is invalid.
  std::string GetProp(const char* name) const;
  // Sets or replaces attribute `name`. Does nothing on an invalid node.
  void SetProp(const char* name, const std::string& value);
  // Appends a new empty element `name` as the last child and returns it.
  XmlNode AppendChild(const char* name);
  // Appends a deep copy of `node` (which may belong to another document)
  // as the last child and returns the copy.
  XmlNode AppendChild(const XmlNode& node);

  // First element called `name` among the descendants (depth first).
  XmlNode FindNode(const std::string& name) const;
  // First child node, and next sibling node; invalid past the last.
  // Both yield element nodes only.
  XmlNode FirstChild() const;
  XmlNode Next() const;
  // Ancestor `n` levels up (1 is the parent); invalid above the root element.
  XmlNode Parent(int n) const;

  // Element (or attribute) name; "" for an invalid node.
  std::string Name() const;
  // True for an element in no namespace: the only elements that a name
  // test without a prefix ("form", "//msg") selects.
  bool InNoNamespace() const;
  // The value of the attribute `name` in no namespace, as an XPath
  // comparison ("[@name='x']") takes it, in `value`; false when the node
  // is no element or has no such attribute.
  bool GetNoNsProp(const char* name, std::string* value) const;
  // Text content: the concatenated text and CDATA of the node's subtree
  // (the value of an attribute node). Entity references are not expanded.
  std::string Str() const;
  // The node written as Xml::ToString(true) writes it inside a document
  // (unformatted, UTF-8): a document made of a root element and copies of
  // nodes appended to it is written as the root's start tag, then each
  // child's ToString, then its end tag. "" for an invalid node.
  std::string ToString() const;
  // The line of the file where the element starts, as the parser counted
  // it (for an attribute or text node, the line of its element); 0 for an
  // invalid node or a node that was built rather than parsed.
  long Line() const;

 private:
  friend class Xml;
  friend class XPath;
  XmlNode(std::shared_ptr<internal::DocHolder> doc, void* node);

  std::shared_ptr<internal::DocHolder> doc_;
  void* node_;  // xmlNodePtr, or xmlAttrPtr for attribute nodes
};

// The node set that one XPath 1.0 expression selects in a document, fixed at
// construction, in document order.
class XPath {
 public:
  XPath();
  XPath(const Xml& doc, const std::string& expr);

  std::size_t size() const { return nodes_.size(); }
  bool empty() const { return nodes_.empty(); }
  // Node at position i (from 0); an invalid node when i is out of range.
  XmlNode operator[](unsigned long i) const;

  class iterator {
   public:
    iterator(const XPath* set, std::size_t pos) : set_(set), pos_(pos) {}
    bool operator!=(const iterator& other) const { return pos_ != other.pos_; }
    bool operator==(const iterator& other) const { return pos_ == other.pos_; }
    iterator& operator++() {
      ++pos_;
      return *this;
    }
    XmlNode operator*() const { return (*set_)[pos_]; }
    // Returns a proxy so that it->GetProp(...) works on the node value.
    struct Arrow {
      XmlNode node;
      XmlNode* operator->() { return &node; }
    };
    Arrow operator->() const { return Arrow{(*set_)[pos_]}; }

   private:
    const XPath* set_;
    std::size_t pos_;
  };
  iterator begin() const { return iterator(this, 0); }
  iterator end() const { return iterator(this, nodes_.size()); }

 private:
  std::shared_ptr<internal::DocHolder> doc_;
  std::vector<void*> nodes_;
};

// An XML document.
// A file that cannot be read (other than a missing one) or is not
// well-formed is always logged. The library prints nothing: a program that
// wants such problems told installs a reporter, called with the file's path
// (or the origin of a parsed text) and one line "PATH:LINE: MESSAGE" or
// "PATH: cannot read: REASON". nullptr removes it. A reporter may carry
// what it tells into (the run it belongs to).
using ProblemReporter = std::function<void(const std::string& path, const std::string& line)>;
void SetProblemReporter(ProblemReporter reporter);

class Xml {
 public:
  // An empty document with no root.
  Xml();
  // A new document whose root is an empty element called `root_name`.
  explicit Xml(const std::string& root_name);

  // Replaces the document by the parsed file. On a missing or malformed
  // file the document is left empty (no root) and false is returned.
  bool LoadFromFile(const std::string& path);
  // Replaces the document by the parsed text; `origin` names it in
  // messages. On malformed text the document is left empty.
  bool LoadFromString(const std::string& text, const std::string& origin);
  // The same, but malformed text is told nowhere (neither on standard
  // error nor in the log): for readers that only look up what they can.
  bool LoadQuietly(const std::string& text, const std::string& origin);

  // The root element; invalid when there is none.
  XmlNode GetRoot() const;
  // Makes a deep copy of `node` the root of this document (replacing any
  // previous root) and returns the new root. `flag` is unused: pass false.
  XmlNode SetRoot(const XmlNode& node, bool flag);
  // The same as XPath(*this, expr).
  XPath GetNodes(const std::string& expr) const;
  // Deletes every node that `expr` selects, with its subtree. Node handles
  // taken before stay safe to hold (the nodes live until the document dies).
  void RemoveNodes(const std::string& expr);
  // Writes the document to `path` (through a temporary file renamed into
  // place). `raw` false: indented; true: exactly as the tree stands.
  // Not ok when the file could not be written (logged).
  pnl::Status Save(const std::string& path, bool raw) const;
  // The serialised document, as Save would write it.
  std::string ToString(bool raw) const;

 private:
  friend class XPath;
  friend class XmlNode;
  std::shared_ptr<internal::DocHolder> doc_;
};

// Why a text is not a well-formed document: the parser's line and message.
struct ParseProblem {
  int line = 0;
  std::string message;
};

// Parses `text` without a word on standard error or in the log; false,
// with `problem` filled, when it is not well-formed. `origin` names the
// text to the parser.
bool CheckWellFormed(const std::string& text, const std::string& origin,
                     ParseProblem* problem);
// Where one element stands in the bytes of a document, for tools that
// change a file in place without reformatting it. Offsets count bytes of
// the text as given (a byte-order mark included).
struct ElementSpan {
  std::string name;       // the element's name as written (prefix:local)
  // Its "name" attribute as the document holds it and a query compares it
  // (references replaced, blanks normalised); "" when absent.
  std::string name_attr;
  long parent = -1;       // index of the parent's span; -1 for the root
  std::size_t begin = 0;  // the "<" of the start tag
  // Just after the ">" of the start tag; for an empty-element tag
  // ("<a/>"), the "/" of its "/>".
  std::size_t content_begin = 0;
  // The "<" of the end tag; for an empty-element tag, the "/" of its "/>".
  std::size_t content_end = 0;
  std::size_t end = 0;      // just after the last ">" of the element
  bool empty_tag = false;   // written as one empty-element tag
  // The line a parsed document gives the element: that of the ">" ending
  // its start tag, kept in 16 bits (every line past 65535 reads as 65535).
  long line = 0;
};

// Lists every element of `text` in document order (a parent before its
// children). Only UTF-8 text is taken (with or without a byte-order mark;
// any other encoding is refused, because offsets would no longer be those
// of the bytes). Not ok, with the message "origin:LINE: message" (the
// parser's line and message, or the encoding refused), when the text is not
// a well-formed UTF-8 document; nothing is printed or logged. Entities are
// neither loaded nor expanded.
pnl::Status ScanElements(const std::string& text, const std::string& origin,
                         std::vector<ElementSpan>* spans);
// ScanElements for readers that want the elements as a parsed document
// holds them: false also for a text with namespaces ("xmlns" anywhere, a
// prefix in a start tag) or a document type declaration (its default
// attributes and entities are the parser's alone), and whenever the literal
// evaluation is in force, so that such readers parse instead.
bool ScanPlainElements(const std::string& text, const std::string& origin,
                       std::vector<ElementSpan>* spans);

// Two shortcuts keep the audits fast on large managers without changing
// any result: queries of the form "//NAME/REST" are evaluated from the one
// NAME element when the document holds exactly one; and a file loaded again
// while unchanged gets the document parsed before, when that document was
// never changed and nobody holds it (with the node sets of the queries
// already asked of it). SetLiteralEvaluation(true) turns both off: every
// load parses its file and every query is evaluated as written, so that
// the two ways can be checked against each other.
void SetLiteralEvaluation(bool literal);
// Whether SetLiteralEvaluation(true) is in force; the audits' own shortcuts
// follow it too.
bool IsLiteralEvaluation();

// Whether loads keep parsed files for a later load of the same file (on
// unless turned off). A program that reads each file once and keeps only
// what it needs of it (the panel) turns it off, so that no document
// outlives its last handle.
void SetKeepParsedFiles(bool keep);
bool KeepsParsedFiles();
// How many parsed files are kept now.
std::size_t KeptParsedFiles();

}  // namespace pnl_xml

#endif  // PNL_XML_H_
