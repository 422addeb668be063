#include "report/selection.h"

#include <sstream>

#include "findings/json.h"
#include "findings/kinds.h"
#include "report/report.h"

namespace report {

namespace {

using findings::At;
using findings::Str;

// The items of a comma-separated list into `out`; "" or what is wrong.
std::string SplitList(const std::string& list, const char* what, std::set<std::string>& out) {
  std::stringstream in(list);
  std::string item;
  bool any = false;
  while (std::getline(in, item, ',')) {
    if (item.empty()) return std::string("an empty ") + what + " in '" + list + "'";
    out.insert(item);
    any = true;
  }
  if (!any || list.back() == ',') return std::string("an empty ") + what + " in '" + list + "'";
  return "";
}

}  // namespace

std::string Selection::SetMinLevel(const std::string& level) {
  min_rank_ = LevelRank(level);
  if (min_rank_ == 0) return "unknown level '" + level + "' (error, warning or note)";
  return "";
}

std::string Selection::SetLanguages(const std::string& list) {
  return SplitList(list, "language", languages_);
}

std::string Selection::SetKinds(const std::string& list) {
  std::set<std::string> kinds;
  if (std::string why = SplitList(list, "kind", kinds); !why.empty()) return why;
  for (const std::string& kind : kinds)
    if (!findings::FindKind(kind)) return "unknown kind '" + kind + "'";
  kinds_.insert(kinds.begin(), kinds.end());
  return "";
}

bool Selection::Everything() const {
  return min_rank_ == 0 && languages_.empty() && kinds_.empty() && object_.empty() && !new_only_;
}

std::string Selection::CheckLanguages(const Json& doc) const {
  std::set<std::string> known;
  for (const Json& l : At(At(doc, "run"), "languages")) known.insert(Str(l));
  for (const Json& s : At(doc, "statistics")) known.insert(Str(At(s, "language")));
  for (const Json& f : At(doc, "findings"))
    if (At(f, "language").is_string()) known.insert(Str(At(f, "language")));
  for (const std::string& lang : languages_)
    if (!known.count(lang)) return "unknown language '" + lang + "' (not a language of the run)";
  return "";
}

bool Selection::Matches(const std::string& level, const std::string& language, const std::string& kind,
                        const std::string& object) const {
  if (min_rank_ && LevelRank(level) < min_rank_) return false;
  if (!languages_.empty() && !languages_.count(language)) return false;
  if (!kinds_.empty() && !kinds_.count(kind)) return false;
  return object_.empty() || object == object_;
}

bool Selection::Selects(const Json& f, BaselineState state) const {
  if (new_only_ && state != BaselineState::kNew) return false;
  return Matches(Str(At(f, "level")), Str(At(f, "language")), Str(At(f, "kind")), Str(At(f, "object")));
}

bool Selection::SelectsAbsent(const FindingIdentity& id) const {
  return !new_only_ && Matches(findings::LevelOf(id.kind), id.language, id.kind, id.object);
}

Json Selection::Apply(Json doc, const Comparison* comparison, Comparison* compared) const {
  if (!languages_.empty()) {
    Json statistics = Json::array();
    for (Json& s : doc["statistics"])
      if (languages_.count(Str(At(s, "language")))) statistics.push_back(std::move(s));
    doc["statistics"] = std::move(statistics);
  }
  Json all = std::move(doc["findings"]);
  Json kept = Json::array();
  size_t index = 0;
  for (Json& f : all) {
    const size_t i = index++;
    const BaselineState state = comparison ? comparison->states[i] : BaselineState::kNew;
    if (!Selects(f, state)) continue;
    kept.push_back(std::move(f));
    if (comparison) {
      compared->identities.push_back(comparison->identities[i]);
      compared->states.push_back(state);
    }
  }
  doc["findings"] = std::move(kept);
  if (comparison)
    for (const FindingIdentity& id : comparison->absent)
      if (SelectsAbsent(id)) compared->absent.push_back(id);
  return doc;
}

}  // namespace report
