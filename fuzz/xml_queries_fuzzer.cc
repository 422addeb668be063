// Fuzz target: an XML file loaded by the XML layer and asked the query
// shapes of the audits, once evaluated as written and twice the fast way
// (the second time from the kept parse of the unchanged file); and the
// same text read by the element scanner, whose "name" of every element
// must be the one the parsed document holds. Any difference is a crash.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "pnl/xml.h"

namespace {

// Query shapes with one name: "{}" stands for the name.
const char* const kNamedShapes[] = {
    "//messages/msg[@name='{}']",
    "//msg[@name='{}']",
    "//messages[@name='{}']",
    "//pnldata/metadata[@name='{}']",
    "//metadata[@name=\"{}\"]",
    "//pnldata/metadata[@name='{}']/form",
    "//pnldata/metadata[@name='{}']/form/field[(boolean(@if)=false or @if!='windows') and "
    "not(@noname)]",
    "//pnldata/metadata[@name='{}']/coldata//setcolor",
    "//pnldata/metadata[@name='{}']/toolbar//toolbtn",
    "//form/field[@name='{}']",
    "//form/field/*[@name='{}']",
    "//form/page/*[@name='{}']",
    "//form/page/field[@name='{}']",
    "//form/page/field/*[@name='{}']",
    "//coldata/col[@name='{}']",
    "//coldata/col/prop[@name='{}']",
    "//toolbar//toolbtn[@func='{}']",
    "//toolbar//toolbtn[@name='{}']",
    "//elem/action[text()='{}']",
    "/pnldata/lang[@name='{}']/messages",
};

// Query shapes without a name.
const char* const kFixedShapes[] = {
    "//include",
    "//msg",
    "//pnldata",
    "/pnldata/metadata",
    "//pnldata/metadata",
    "//pnldata/mainmenu/node/@name",
    "//pnldata/mainmenu/node/node/@name",
    "//messages[@name='common']/msg",
    "//input[@type=\"text\" and not(@check)]",
    "/*/*",
    "//pnldata/*[1]/*",
    "//pnldata/*[2]/*[1]/*[last()]",
    "//mainmenu/node | //metadata",
};

// The queries for a document: the fixed shapes, and the named shapes with
// the first names of the document's elements (a bounded number).
std::vector<std::string> Queries(const pnl_xml::Xml& doc) {
  std::vector<std::string> queries(std::begin(kFixedShapes), std::end(kFixedShapes));
  std::set<std::string> names;
  for (const char* attribute : {"//@name", "//@func", "//@id"}) {
    for (pnl_xml::XmlNode node : pnl_xml::XPath(doc, attribute)) {
      if (names.size() >= 6) break;
      names.insert(node.Str());
    }
  }
  for (const std::string& name : names) {
    for (const char* shape : kNamedShapes) {
      std::string query = shape;
      const std::string::size_type at = query.find("{}");
      if (at != std::string::npos) query.replace(at, 2, name);
      queries.push_back(query);
    }
  }
  return queries;
}

// What each query selects: name, "name" attribute and text of each node.
std::vector<std::string> Evaluate(const pnl_xml::Xml& doc,
                                  const std::vector<std::string>& queries) {
  std::vector<std::string> results;
  for (const std::string& query : queries) {
    std::string selected = query + " ->";
    for (pnl_xml::XmlNode node : pnl_xml::XPath(doc, query))
      selected += " [" + node.Name() + "=" + node.GetProp("name") + "/" + node.Str() + "]";
    results.push_back(selected);
  }
  return results;
}

void Compare(const std::vector<std::string>& literal, const std::vector<std::string>& fast,
             const char* what) {
  if (literal == fast) return;
  for (size_t i = 0; i < literal.size() && i < fast.size(); ++i) {
    if (literal[i] != fast[i]) {
      fprintf(stderr, "%s differs:\n  literal: %s\n  fast:    %s\n", what, literal[i].c_str(),
              fast[i].c_str());
      break;
    }
  }
  abort();
}

// The element scanner reads every element's "name" as the parsed document
// holds it. A DTD's own entities are left as written by the scanner (it
// never expands them), so a text that declares any is not compared.
void CompareScannedNames(const std::string& text) {
  if (text.find("<!DOCTYPE") != std::string::npos) return;
  std::vector<pnl_xml::ElementSpan> spans;
  if (!pnl_xml::ScanElements(text, "input", &spans).ok()) return;
  pnl_xml::Xml doc;
  if (!doc.LoadQuietly(text, "input")) return;
  const pnl_xml::XPath elements(doc, "//*");
  if (elements.size() != spans.size()) {
    fprintf(stderr, "the scanner found %zu elements, the parser %zu\n", spans.size(),
            elements.size());
    abort();
  }
  for (size_t i = 0; i < spans.size(); ++i) {
    std::string held;
    elements[i].GetNoNsProp("name", &held);
    if (held != spans[i].name_attr) {
      fprintf(stderr, "element %zu: the scanner read the name \"%s\", the document holds \"%s\"\n",
              i, spans[i].name_attr.c_str(), held.c_str());
      abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string dir = fuzz_support::EnterScratchDir();
  static unsigned long counter = 0;
  // A new path for every input: the layer keeps parses by path.
  const std::string path = dir + "/in-" + std::to_string(++counter) + ".xml";
  fuzz_support::WriteFile(path.substr(dir.size() + 1),
                          std::string(reinterpret_cast<const char*>(data), size));

  std::vector<std::string> queries;
  std::vector<std::string> literal;
  {
    pnl_xml::SetLiteralEvaluation(true);
    pnl_xml::Xml doc;
    doc.LoadFromFile(path);
    queries = Queries(doc);
    literal = Evaluate(doc, queries);
  }
  pnl_xml::SetLiteralEvaluation(false);
  std::vector<std::string> first;
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile(path);
    first = Evaluate(doc, queries);
  }
  std::vector<std::string> again;
  {
    pnl_xml::Xml doc;
    doc.LoadFromFile(path);
    again = Evaluate(doc, queries);
  }
  Compare(literal, first, "first fast load");
  Compare(literal, again, "second fast load");

  // The same text parsed from memory.
  {
    pnl_xml::Xml doc;
    doc.LoadFromString(std::string(reinterpret_cast<const char*>(data), size), "input");
    Compare(literal, Evaluate(doc, queries), "load from memory");
  }
  CompareScannedNames(std::string(reinterpret_cast<const char*>(data), size));
  fuzz_support::EmptyScratchDir();
  return 0;
}
