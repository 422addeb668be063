// The paths below the installation that a run creates, writes or removes,
// and what must stand there for the run to go on: a run stops before it
// removes or writes anything when a symbolic link, or something of the
// wrong kind, stands at one of them.
#ifndef TESTUTILS_UNSAFE_PATHS_H_
#define TESTUTILS_UNSAFE_PATHS_H_

#include <string>
#include <vector>

// The paths below the current directory that the run of `manager` creates,
// writes or removes and that hold something they must not: one sentence
// each, "var/.xmlcache is a symbolic link", in a fixed order, each once.
// Empty when the run may go on.
std::vector<std::string> unsafe_paths(const std::string& manager);

#endif  // TESTUTILS_UNSAFE_PATHS_H_
