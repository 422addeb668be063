#include "report/message_lines.h"

#include <fstream>
#include <sstream>

namespace report {

namespace {

// The value of the attribute name="..." that follows `tag` in `line`,
// with the predefined entities replaced; false when there is none.
bool NameAfter(const std::string& line, const char* tag, std::string& name) {
  const size_t at = line.find(tag);
  if (at == std::string::npos) return false;
  const std::string attribute = "name=\"";
  const size_t start = line.find(attribute, at);
  if (start == std::string::npos) return false;
  const size_t end = line.find('"', start + attribute.size());
  if (end == std::string::npos) return false;
  const std::string raw = line.substr(start + attribute.size(), end - start - attribute.size());
  static const std::pair<const char*, char> kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
  name.clear();
  for (size_t i = 0; i < raw.size();) {
    bool replaced = false;
    for (const auto& [entity, c] : kEntities) {
      if (raw.compare(i, std::char_traits<char>::length(entity), entity) == 0) {
        name += c;
        i += std::char_traits<char>::length(entity);
        replaced = true;
        break;
      }
    }
    if (!replaced) name += raw[i++];
  }
  return true;
}

}  // namespace

MessageLines::Index MessageLines::IndexOf(const std::string& text) {
  Index index;
  std::istringstream in(text);
  std::string line;
  std::string section;
  std::string name;
  long number = 0;
  while (std::getline(in, line)) {
    ++number;
    if (NameAfter(line, "<messages ", name)) section = name;
    if (NameAfter(line, "<msg ", name)) index.emplace(std::make_pair(section, name), number);
  }
  return index;
}

long MessageLines::Line(const std::string& file, const std::string& section, const std::string& name) {
  auto it = files_.find(file);
  if (it == files_.end()) {
    std::ifstream in(root_ + "/" + file, std::ios::binary);
    std::ostringstream text;
    if (in) text << in.rdbuf();
    it = files_.emplace(file, IndexOf(text.str())).first;
  }
  auto found = it->second.find({section, name});
  return found == it->second.end() ? 0 : found->second;
}

}  // namespace report
