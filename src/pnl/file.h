// Paths, directories, existence and removal. The only place, with proc.h,
// where the rest of the project touches the file system's calls.
#ifndef PNL_FILE_H_
#define PNL_FILE_H_

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace pnl_file {

// The process's current working directory, absolute, without a trailing
// "/" (except for the root directory itself, "/").
std::string GetCurrentDir();

// True when `name` is usable as one path component inside its directory:
// not empty, not "." or "..", without "/" and without a NUL byte. Manager
// names, language codes and cache file names must pass it before they
// become part of a path.
bool IsPlainName(const std::string& name);

// True when `path` is a regular file, or a symbolic link to one.
bool IsRegularFile(const std::string& path);

// True when a file, directory or other entry exists at `path` (a symbolic
// link counts when its target exists).
bool Exists(const std::string& path);

// Removes the file, or the directory with everything in it. A symbolic link
// is removed as a link, never what it points to, and links met inside a
// directory are not followed. Refused (logged, silent to the caller): an
// empty path, a path with a "." or ".." component or an empty component,
// and a path that is the current directory or one of its ancestors.
// Failure is silent.
void Remove(const std::string& path);

// first: the directory part (before the last "/", "" when there is none);
// second: the name after the last "/".
std::pair<std::string, std::string> SplitPath(const std::string& path);

// `a` and `b` joined by exactly one "/".
std::string ConcatPath(const std::string& a, const std::string& b);

// The `n` following arguments, each a NUL-terminated char string, joined
// by "/" (as ConcatPath does).
std::string ConcatNPath(int n, ...);

// A normalised copy of a path: runs of "/" become one, "/./" becomes "/",
// a trailing "/" (or "/.") is dropped. Nothing else changes, so a
// well-formed path, or a command line of well-formed words, comes back as
// it was.
std::string GoodPath(const std::string& path);

// Opens `path` for reading and writing as stdio's mode "w+" does (created
// with mode 0644, or emptied), but only as a regular file: a symbolic link,
// a FIFO, a device or a directory there is refused (nullptr, logged), so
// that writing never follows a link onto another file nor waits for a
// reader. The caller closes the stream with fclose.
FILE* OpenForWriting(const std::string& path);

// Writes `text` to `path`, replacing the file (through a temporary file
// renamed into place). Returns false on failure.
bool WriteFile(const std::string& path, const std::string& text);
// Reads the whole regular file; false when it cannot be read (a FIFO or a
// device is never opened for reading).
bool ReadFile(const std::string& path, std::string& text);
// An identity of the regular file at `path` (device, inode, size, change
// times): equal stamps mean the file has not changed. "" when there is no
// regular file there.
std::string Stamp(const std::string& path);
// True when `path` itself is a symbolic link (whether or not its target
// exists).
bool IsLink(const std::string& path);
// Creates the directory and its missing parents; true when it exists after.
bool MakeDirs(const std::string& path);

// True when the file descriptor `fd` (2: standard error) is a terminal.
bool IsTerminal(int fd);

// A directory reader. Entries come in ascending byte order of their names,
// without "." and "..", so the same directory lists the same on every
// machine. A directory that does not exist or cannot be read has no entries.
class Dir {
 public:
  explicit Dir(const std::string& dir);
  ~Dir();
  Dir(const Dir&) = delete;
  Dir& operator=(const Dir&) = delete;

  // Moves to the next entry; false when there is none.
  bool Read();
  // The current entry's name, and its path: dir + "/" + name.
  std::string Name() const;
  std::string FullName() const;

 private:
  std::string dir_;
  std::vector<std::string> names_;
  std::size_t next_ = 0;  // index of the entry after the current one
};

}  // namespace pnl_file

#endif  // PNL_FILE_H_
