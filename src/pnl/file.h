// Paths, directories, existence and removal. The only place, with proc.h,
// where the rest of the project touches the file system's calls.
//
// What can fail returns a pnl::Status whose message is a sentence about the
// path ("var/log/msglint.log is a symbolic link", "var/test_msgs: No space
// left on device"); the caller decides whether and where to tell it.
#ifndef PNL_FILE_H_
#define PNL_FILE_H_

#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pnl/status.h"

namespace pnl_file {

// The process's current working directory, absolute, without a trailing
// "/" (except for the root directory itself, "/").
std::string GetCurrentDir();

// True when `name` is usable as one path component inside its directory:
// not empty, not "." or "..", without "/" and without a NUL byte. Manager
// names, language codes and cache file names must pass it before they
// become part of a path.
bool IsPlainName(const std::string& name);
// True when `name` is short enough to be the name of a file that WriteFile
// writes: with the temporary name it is written under first, at most
// NAME_MAX (255) bytes, so `name` has at most 239.
bool FitsFileName(const std::string& name);

// True when `path` is a regular file, or a symbolic link to one.
bool IsRegularFile(const std::string& path);

// True when a file, directory or other entry exists at `path` (a symbolic
// link counts when its target exists).
bool Exists(const std::string& path);

// Removes the file, or the directory with everything in it. A symbolic link
// is removed as a link, never what it points to, and links met inside a
// directory are not followed; the removal works by descriptor from the
// parent directory, reached as DirHandle reaches it (so, below the current
// directory, a link on the way refuses the removal). Refused (logged, silent to the caller): an
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

// A file written from the start through a 64 kB buffer, as a stream with
// a full buffer writes: a text that fits in what is left of the buffer is
// kept; one that does not fills it, and the buffer is written. Open creates
// the file (mode 0644) or empties it, but only as a regular file: a
// symbolic link, a FIFO, a device or a directory there is refused (logged),
// so that writing never follows a link onto another file nor waits for a
// reader. Below the current directory no directory on the way may be a
// link either.
class OutputFile {
 public:
  OutputFile() = default;
  // Closes the file, what is kept written, a failure not told.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  pnl::Status Open(const std::string& path);
  // Adds `text`; not ok when the buffer had to be written and could not.
  pnl::Status Append(std::string_view text);
  // Writes what is kept and closes the file.
  pnl::Status Close();

 private:
  pnl::Status Drain();
  pnl::Status Put(std::string_view text);

  int fd_ = -1;
  std::string path_;
  std::string kept_;
};

// Writes `text` to `path`, replacing the file (through a temporary file
// renamed into place), as DirHandle::WriteFile does in the directory of
// `path`.
pnl::Status WriteFile(const std::string& path, const std::string& text);
// The same with the text given as pieces in order, so that a large file
// need not be held whole in memory.
pnl::Status WriteFile(const std::string& path, const std::vector<std::string_view>& pieces);
// The text of a file given piece by piece, for a file too large to be
// held whole in memory even as views: Next sets `piece` to the next piece
// (valid until the next call) and returns true, or returns false at the
// end; status() then says why when the pieces could not all be had.
class PieceSource {
 public:
  virtual ~PieceSource() = default;
  virtual bool Next(std::string_view* piece) = 0;
  virtual pnl::Status status() const { return pnl::Status(); }
};
pnl::Status WriteFile(const std::string& path, PieceSource& source);

// An open descriptor (standard output, say) written in large blocks: what
// is put is kept until 64 kB have gathered, then written whole, so that a
// report of a hundred thousand lines costs a few hundred writes. sync() (an
// ostream's flush) writes what is kept: a program flushes before it says
// anything on standard error, so that both come out in the order it said
// them. The destructor writes what is left. A failed write is kept: ok()
// turns false and later output is dropped.
class BlockOutput : public std::streambuf {
 public:
  explicit BlockOutput(int fd);
  ~BlockOutput() override;
  BlockOutput(const BlockOutput&) = delete;
  BlockOutput& operator=(const BlockOutput&) = delete;
  bool ok() const { return ok_; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* s, std::streamsize n) override;
  int sync() override;

 private:
  // Writes what is kept; false when a write failed, now or before.
  bool Drain();

  int fd_;
  std::string kept_;
  bool ok_ = true;
};

// Scratch data kept out of memory: a file that no other process can reach
// (created in the system's temporary directory, $TMPDIR or /tmp, and
// unlinked at once), gone with the object.
class ScratchFile {
 public:
  ScratchFile();
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  // False when no such file could be made.
  bool ok() const { return fd_ >= 0; }
  // Appends `data`; `start` gets where it starts (-1 when it could not all
  // be written).
  pnl::Status Append(std::string_view data, long long* start);
  // Reads `size` bytes at `offset` into `out`; not ok when they cannot all
  // be read.
  pnl::Status Read(long long offset, std::size_t size, std::string* out) const;

 private:
  int fd_ = -1;
  long long size_ = 0;
};

// Reads the whole regular file. When it cannot be read the message is
// "PATH: cannot read: REASON", with the code of the failure (not found,
// not a directory on the way, a directory); a FIFO or a device is never
// opened for reading, and the message then says what stands there, "PATH
// is a FIFO, not a regular file".
pnl::Status ReadFile(const std::string& path, std::string& text);
// An identity of the regular file at `path` (device, inode, size, change
// times): equal stamps mean the file has not changed. "" when there is no
// regular file there.
std::string Stamp(const std::string& path);
// Sets `real` to the absolute path of `path` with every symbolic link,
// "." and ".." resolved; not ok when it cannot be resolved.
pnl::Status RealPath(const std::string& path, std::string* real);
// True when `path` itself is a symbolic link (whether or not its target
// exists).
bool IsLink(const std::string& path);
// Creates the directory and its missing parents; ok when it exists after.
// Below the current directory no component may be a link.
pnl::Status MakeDirs(const std::string& path);

// Replaces the file at `path` by `text` so that the path always holds
// either the old bytes or the new ones whole: the text goes to a temporary
// file in the same directory, is synced, gets the old file's mode (and
// owner, where allowed), and is renamed over `path`; the directory is
// synced after. A missing file is created. Refused, with nothing written:
// a symbolic link at `path` (never written through), anything there but a
// regular file, and a read-only file. Not ok, with the message saying what
// went wrong ("is a symbolic link", "is read-only", "No space left on
// device", ...); the temporary file is removed then.
pnl::Status ReplaceFile(const std::string& path, const std::string& text);
// The checks that ReplaceFile makes before it writes anything: ok when a
// file could be replaced at `path` now.
pnl::Status CanReplace(const std::string& path);

// A new private directory under the system's temporary directory ($TMPDIR
// or /tmp), removed with everything in it when the object dies. path() is
// "" when it could not be created.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// What stands at `path`, its components not followed: "" when nothing
// does, else "a symbolic link", "a directory", "a regular file", "a FIFO",
// "a socket", "a device" or "something else". A component above the last
// that is a link or not a directory is described instead, with its path:
// "var is a symbolic link".
std::string Describe(const std::string& path);

// The part of `path` below the current directory when it lies there
// ("/inst/var/log" in /inst gives "var/log"); otherwise `path` as it is.
std::string BelowCurrentDir(const std::string& path);

// A directory held open by descriptor, so that what is done in it is done
// in that directory even if a link is swapped in on its path meanwhile.
//
// A path below the current directory (relative, or absolute and under it)
// is reached one component at a time with O_NOFOLLOW | O_DIRECTORY: a
// symbolic link at any component, or anything that is not a directory,
// refuses the open. Every file the programs create, write or remove inside
// an installation goes through such a handle. The directories of a path
// outside the current directory (a test's scratch file, say) are opened as
// the system finds them; only the last component of what is written there
// is never followed.
class DirHandle {
 public:
  DirHandle() = default;
  ~DirHandle();
  DirHandle(DirHandle&& other) noexcept;
  DirHandle& operator=(DirHandle&& other) noexcept;
  DirHandle(const DirHandle&) = delete;
  DirHandle& operator=(const DirHandle&) = delete;

  // Opens the directory `path`; with `create`, missing components are made
  // (mode 0777 less the umask). Not ok when a component is a link, not a
  // directory, missing (without `create`) or cannot be opened. "" and "."
  // are the current directory.
  pnl::Status Open(const std::string& path, bool create);
  bool IsOpen() const { return fd_ >= 0; }
  // The path the handle was opened with.
  const std::string& path() const { return path_; }
  int fd() const { return fd_; }

  // Opens the entry `name` (a plain name) for writing as a regular file:
  // created with `mode` when missing, emptied with `truncate`, else
  // appended to. A link, FIFO, device, socket or directory there is
  // refused. `fd` gets the descriptor (close-on-exec), or -1.
  pnl::Status OpenFile(const std::string& name, bool truncate, int mode, int* fd) const;
  // Replaces the entry `name` by a regular file holding `text`, written to
  // a temporary file in this directory and renamed into place; the mode of
  // a file replaced is kept. A link or anything but a regular file at
  // `name` is refused and left alone. A short write (a full disk) removes
  // the temporary file and fails.
  pnl::Status WriteFile(const std::string& name, const std::string& text) const;
  pnl::Status WriteFile(const std::string& name,
                        const std::vector<std::string_view>& pieces) const;
  pnl::Status WriteFile(const std::string& name, PieceSource& source) const;
  // Removes the entry `name`: a file, a link (as a link), or a directory
  // with everything in it, walked by descriptor without following any
  // link. Ok when nothing is left there.
  pnl::Status Remove(const std::string& name) const;
  // Opens the subdirectory `name` (not following a link), creating it with
  // `create`.
  pnl::Status OpenSub(const std::string& name, bool create, DirHandle* sub) const;

 private:
  int fd_ = -1;
  std::string path_;
};

// An exclusive lock on a regular file of a directory, held while the
// object lives (flock, released by the system when the process dies).
class LockFile {
 public:
  LockFile() = default;
  ~LockFile();
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;
  // Opens (creating it, mode 0600) the entry `name` of `dir` as DirHandle
  // does, never through a link, and takes the lock without waiting. Busy
  // (IsBusy()) when another process holds it; another failure when the
  // file cannot be opened or locked.
  pnl::Status Lock(const DirHandle& dir, const std::string& name);

 private:
  int fd_ = -1;
};

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
