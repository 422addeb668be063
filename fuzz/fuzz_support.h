// Helpers shared by the fuzz targets: a scratch installation directory that
// is the current directory for the whole fuzzing process, and the splitting
// of one input into several files.
#ifndef FUZZ_FUZZ_SUPPORT_H_
#define FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>


namespace fuzz_support {

// Makes a new empty directory under the system's temporary directory the
// current directory (once per process; later calls only empty it again) and
// returns its absolute path.
std::string EnterScratchDir();

// Removes everything in the current (scratch) directory.
void EmptyScratchDir();

// Writes `text` to `rel` under the current directory, creating parents.
void WriteFile(const std::string& rel, const std::string& text);
std::string ReadFile(const std::string& rel);

// The parts of an input separated by lines "====": "a\n====\nb" gives "a"
// and "b". Missing parts are empty.
std::vector<std::string> SplitParts(const uint8_t* data, size_t size, size_t count);

}  // namespace fuzz_support

#endif  // FUZZ_FUZZ_SUPPORT_H_
