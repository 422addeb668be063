// The paths below the installation that a run writes or removes, and what
// must stand there for the run to go on.
#include "testutils/unsafe_paths.h"

#include <set>
#include <utility>

#include "pnl/file.h"

namespace {

// What may stand at a path the run uses.
enum class Kind { kDirectory, kFile, kSocket, kNotALink };

bool Fits(Kind kind, const std::string& found) {
  switch (kind) {
    case Kind::kDirectory: return found == "a directory";
    case Kind::kFile: return found == "a regular file";
    case Kind::kSocket: return found == "a socket";
    case Kind::kNotALink: return found != "a symbolic link";
  }
  return false;
}

}  // namespace

std::vector<std::string> unsafe_paths(const std::string& manager) {
  std::vector<std::pair<std::string, Kind>> paths = {
      {"var", Kind::kDirectory},
      {"var/.xmlcache", Kind::kDirectory},
  };
  std::vector<std::string> managers = {manager};
  if (manager != "kern") managers.push_back("kern");
  for (const std::string& m : managers) {
    paths.push_back({"var/.xmlcache/" + m, Kind::kDirectory});
    paths.push_back({"var/.xmlcache/" + m + ".hash", Kind::kFile});
  }
  paths.push_back({"var/log", Kind::kDirectory});
  paths.push_back({"var/log/msglint.log", Kind::kFile});
  for (const std::string& m : managers) paths.push_back({"var/log/" + m + ".log", Kind::kFile});
  paths.push_back({"var/run", Kind::kDirectory});
  for (const std::string& m : managers) {
    paths.push_back({"var/run/" + m + ".lock", Kind::kFile});
    paths.push_back({"var/run/" + m + ".pid", Kind::kFile});
    paths.push_back({"var/run/" + m + ".socket", Kind::kSocket});
  }
  // The audit file and the exclusion list: a directory there is the
  // audit's own failure to open its file; only a link is refused here.
  paths.push_back({"var/test_msgs", Kind::kNotALink});
  paths.push_back({"ecl.xml", Kind::kNotALink});

  std::vector<std::string> unsafe;
  std::set<std::string> told;
  for (const auto& [path, kind] : paths) {
    const std::string found = pnl_file::Describe(path);
    if (found.empty() || Fits(kind, found)) continue;
    // A component above the path that is wrong comes back as a sentence of
    // its own; every path under it says the same, once is enough.
    const std::string sentence = found.rfind("a ", 0) == 0 ? path + " is " + found : found;
    if (told.insert(sentence).second) unsafe.push_back(sentence);
  }
  return unsafe;
}
