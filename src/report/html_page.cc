#include "report/html_page.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <vector>

#include "findings/json.h"
#include "findings/kinds.h"
#include "report/page_script.h"
#include "report/page_style.h"
#include "report/report.h"

namespace report {

namespace {

using findings::At;
using findings::Num;
using findings::Str;

// Gives each distinct text one index. The data is built twice: the first
// time the table only counts how often each text is used, and then it gives
// the most used texts the smallest indexes (ties in the order first used),
// so that the numbers of the findings' rows are mostly one or two digits.
// The empty text is always 0.
class StringTable {
 public:
  StringTable() { Index(""); }
  int Index(const std::string& text) {
    if (!frozen_) {
      auto [it, added] = seen_.emplace(text, Use{static_cast<long>(seen_.size()), 0});
      ++it->second.count;
      return 0;
    }
    return final_.at(text);
  }
  // Ends the counting: from now on Index gives each text its final index.
  void Freeze() {
    std::vector<std::pair<const std::string*, Use>> order;
    for (const auto& [text, use] : seen_) order.emplace_back(&text, use);
    std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
      const bool a_empty = a.first->empty(), b_empty = b.first->empty();
      if (a_empty != b_empty) return a_empty;
      if (a.second.count != b.second.count) return a.second.count > b.second.count;
      return a.second.first < b.second.first;
    });
    for (const auto& [text, use] : order) {
      final_.emplace(*text, static_cast<int>(texts_.size()));
      texts_.push_back(*text);
    }
    frozen_ = true;
  }
  const Json& texts() const { return texts_; }

 private:
  struct Use {
    long first;  // the order in which it was first used
    long count;
  };
  bool frozen_ = false;
  std::map<std::string, Use> seen_;
  std::map<std::string, int> final_;
  Json texts_ = Json::array();
};

// The lines the run printed for a finding, without the last newline.
std::string ReportText(const Json& finding) {
  std::string text = Str(At(finding, "report"));
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// One row of a finding of the run.
Json FindingRow(const Json& f, int state, StringTable& s) {
  const Json& element = At(f, "element");
  const Json& message = At(f, "message");
  const Json& location = At(f, "location");
  const Json& comparison = At(f, "comparison");
  Json row = Json::array({state, s.Index(Str(At(f, "level"))), s.Index(Str(At(f, "kind"))),
                          s.Index(Str(At(f, "object"))), s.Index(Str(At(element, "type"))),
                          s.Index(Str(At(element, "name"))), s.Index(Str(At(f, "language"))),
                          s.Index(Str(At(message, "name"))), s.Index(Str(At(message, "section"))),
                          s.Index(Str(At(message, "file"))), s.Index(Str(At(message, "add"))),
                          s.Index(Str(At(location, "file"))), Num(At(location, "line")),
                          ReportText(f)});
  if (comparison.is_object())
    row.push_back(Json::array({s.Index(Str(At(comparison, "reference_language"))),
                               Str(At(comparison, "reference")), Str(At(comparison, "text")),
                               Str(At(comparison, "difference"))}));
  return row;
}

// One row of a finding of the baseline that the run no longer has.
Json AbsentRow(const FindingIdentity& id, StringTable& s) {
  return Json::array({2, s.Index(findings::LevelOf(id.kind)), s.Index(id.kind), s.Index(id.object),
                      s.Index(id.element_type), s.Index(id.element), s.Index(id.language),
                      s.Index(id.message), 0, 0, 0, 0, 0, ""});
}

Json FindingRows(const Json& doc, const Comparison* baseline, StringTable& s) {
  Json rows = Json::array();
  if (!baseline) {
    for (const Json& f : At(doc, "findings")) rows.push_back(FindingRow(f, 0, s));
    return rows;
  }
  for (BaselineState wanted : {BaselineState::kNew, BaselineState::kUnchanged}) {
    size_t i = 0;
    for (const Json& f : At(doc, "findings"))
      if (baseline->states[i++] == wanted)
        rows.push_back(FindingRow(f, wanted == BaselineState::kNew ? 0 : 1, s));
  }
  for (const FindingIdentity& id : baseline->absent) rows.push_back(AbsentRow(id, s));
  return rows;
}

// A percentage as the findings file gives it (84.6), 0 when it has none.
Json Percent(const Json& value) { return value.is_number() ? value : Json(0); }

Json StatisticsRows(const Json& doc, StringTable& s) {
  Json rows = Json::array();
  for (const Json& l : At(doc, "statistics")) {
    Json objects = Json::array();
    for (const Json& o : At(l, "objects"))
      objects.push_back(Json::array({s.Index(Str(At(o, "object"))), Num(At(o, "required")),
                                     Num(At(o, "present")), Num(At(o, "missing")), Num(At(o, "empty")),
                                     Percent(At(o, "percent"))}));
    rows.push_back(Json::array({s.Index(Str(At(l, "language"))), Num(At(l, "required")),
                                Num(At(l, "present")), Num(At(l, "missing")), Num(At(l, "empty")),
                                Percent(At(l, "percent")), objects}));
  }
  return rows;
}

// The help text of each kind of the findings, in the order of the kinds.
Json HelpRows(const Json& doc, StringTable& s) {
  std::map<std::string, bool> present;
  for (const Json& f : At(doc, "findings")) present[Str(At(f, "kind"))] = true;
  Json rows = Json::array();
  for (const findings::Kind& kind : findings::Kinds())
    if (present.count(kind.name)) rows.push_back(Json::array({s.Index(kind.name), kind.help}));
  return rows;
}

Json ProblemLines(const Json& doc) {
  Json lines = Json::array();
  const std::string text = InputProblemLines(doc);
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = text.find('\n', start);
    lines.push_back(text.substr(start, end - start));
    start = end == std::string::npos ? text.size() : end + 1;
  }
  return lines;
}

std::string Escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

// What the page shows before its script has run, and where the script
// draws: the summary, the filters, the count, the messages to copy and the
// rows.
constexpr char kBody[] =
    "<div id=\"summary\"><noscript><p>This page draws its findings with JavaScript; "
    "msglint-report --check or --format json gives them as text.</p></noscript></div>\n"
    "<h2 id=\"findings\">Findings</h2>\n"
    "<form id=\"filters\" autocomplete=\"off\"></form>\n"
    "<p id=\"count\"></p>\n"
    "<div id=\"copy\"></div>\n"
    "<div id=\"list-head\" class=\"row head\"></div>\n"
    "<div id=\"list\"><div id=\"spacer\"></div><div id=\"rows\"></div></div>\n"
    "<div id=\"detail\"></div>\n";

// The data of the page with the indexes that `s` gives.
Json Data(const Json& doc, const Comparison* baseline, StringTable& s) {
  const std::string manager = Str(At(At(doc, "run"), "manager"));
  std::string command = "sbin/msglint " + manager;
  for (const Json& a : At(At(doc, "run"), "arguments")) command += " " + Str(a);
  Json data;
  data["manager"] = manager;
  data["command"] = command;
  data["baseline"] = baseline != nullptr;
  data["statistics"] = StatisticsRows(doc, s);
  data["problems"] = ProblemLines(doc);
  data["help"] = HelpRows(doc, s);
  data["findings"] = FindingRows(doc, baseline, s);
  return data;
}

}  // namespace

Json PageData(const Json& doc, const Comparison* baseline) {
  StringTable s;
  Data(doc, baseline, s);
  s.Freeze();
  Json data = Data(doc, baseline, s);
  data["strings"] = s.texts();
  return data;
}

namespace {

// Writes the JSON text `json` as the text of a script element: every '<'
// as \u003c. Inside a script element only "</script" and "<!--" mean
// something, and both begin with '<'. It stands only inside strings in JSON
// text, where the escape reads as the character itself.
void WriteScriptText(std::ostream& out, const std::string& json) {
  size_t start = 0;
  for (size_t at = json.find('<'); at != std::string::npos; at = json.find('<', start)) {
    out.write(json.data() + start, static_cast<std::streamsize>(at - start));
    out << "\\u003c";
    start = at + 1;
  }
  out.write(json.data() + start, static_cast<std::streamsize>(json.size() - start));
}

std::string Dump(const Json& data) { return data.dump(-1, ' ', false, Json::error_handler_t::replace); }

}  // namespace

std::string ScriptJson(const Json& data) {
  std::ostringstream out;
  WriteScriptText(out, Dump(data));
  return out.str();
}

void WriteHtml(std::ostream& out, const Json& doc, const Comparison* baseline) {
  const std::string manager = Escape(Str(At(At(doc, "run"), "manager")));
  out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
  out << "<title>msglint findings: " << manager << "</title>\n";
  out << "<style>\n" << kPageStyle << "</style>\n</head>\n<body>\n";
  out << "<h1>msglint findings: " << manager << "</h1>\n";
  out << kBody;
  out << "<script type=\"application/json\" id=\"findings-data\">";
  WriteScriptText(out, Dump(PageData(doc, baseline)));
  out << "</script>\n";
  out << "<script>\n" << kPageScript << "</script>\n</body>\n</html>\n";
}

std::string ToHtml(const Json& doc, const Comparison* baseline) {
  std::ostringstream out;
  WriteHtml(out, doc, baseline);
  return out.str();
}

}  // namespace report
