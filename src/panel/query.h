// One request to the panel: a URL-query line "func=F&key=value&...".
#ifndef PANEL_QUERY_H_
#define PANEL_QUERY_H_

#include <map>
#include <string>

namespace panel {

class Query {
 public:
  // Parses `line`: parts separated by "&", each "key=value" with key and
  // value percent-decoded; a part without "=" is a key with an empty value.
  // Where a key repeats, its first value counts. Empty parts are passed
  // over. Returns false, with the reason in `error`, when the query names no
  // function.
  bool Parse(const std::string& line, std::string* error);

  // The function named by "func".
  const std::string& Function() const { return Get("func"); }
  // The value of `key`; "" when absent.
  const std::string& Get(const std::string& key) const;

 private:
  std::map<std::string, std::string> values_;
};

}  // namespace panel

#endif  // PANEL_QUERY_H_
