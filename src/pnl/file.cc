#include "pnl/file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "pnl/log.h"

namespace pnl_file {

namespace {

// Writes are gathered into blocks of this size.
const std::size_t kBlock = 64 * 1024;

const pnl_log::Module& Log() { return pnl_log::LibraryLog(); }

// The components of `path` between its "/" separators. A leading "/" gives
// no component of its own.
std::vector<std::string> Components(const std::string& path) {
  std::vector<std::string> parts;
  std::string::size_type start = (!path.empty() && path[0] == '/') ? 1 : 0;
  while (start <= path.size()) {
    std::string::size_type end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

// True when `dir` is `path` or one of its ancestors; both absolute and
// without "." or ".." components.
bool IsSameOrAncestor(const std::string& dir, const std::string& path) {
  if (dir == "/") return true;
  if (path.compare(0, dir.size(), dir) != 0) return false;
  return path.size() == dir.size() || path[dir.size()] == '/';
}

// Why `path` must not be removed; "" when it may be.
std::string RefusalReason(const std::string& path) {
  if (path.empty()) return "empty path";
  if (path == "/") return "root directory";
  for (const std::string& part : Components(path)) {
    if (part.empty()) return "empty path component";
    if (part == "." || part == "..") return "\".\" or \"..\" in the path";
  }
  std::string cwd = GetCurrentDir();
  std::string absolute = path[0] == '/' ? path : ConcatPath(cwd, path);
  if (IsSameOrAncestor(absolute, cwd))
    return "the current directory or one of its ancestors";
  // The same test through symbolic links in the directory part: a path
  // that is not itself a link but resolves to the current directory or
  // above is refused as well.
  struct stat st;
  if (lstat(path.c_str(), &st) == 0 && !S_ISLNK(st.st_mode)) {
    std::error_code ec;
    std::filesystem::path real = std::filesystem::canonical(path, ec);
    if (!ec && IsSameOrAncestor(real.string(), cwd))
      return "the current directory or one of its ancestors";
  }
  return "";
}

thread_local std::string g_last_error;

bool Fail(const std::string& text, int error) {
  g_last_error = text;
  errno = error;
  return false;
}

std::string KindOf(mode_t mode) {
  if (S_ISLNK(mode)) return "a symbolic link";
  if (S_ISDIR(mode)) return "a directory";
  if (S_ISREG(mode)) return "a regular file";
  if (S_ISFIFO(mode)) return "a FIFO";
  if (S_ISSOCK(mode)) return "a socket";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  return "something else";
}

std::string Join(const std::string& dir, const std::string& name) {
  if (dir.empty() || dir == ".") return name;
  return ConcatPath(dir, name);
}

// Removes everything inside the directory open at `fd` (which it closes),
// never following a link.
bool EmptyDirectory(int fd) {
  DIR* handle = fdopendir(fd);
  if (handle == nullptr) {
    close(fd);
    return false;
  }
  std::vector<std::string> names;
  while (struct dirent* entry = readdir(handle)) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
      continue;
    names.push_back(entry->d_name);
  }
  bool ok = true;
  int dir_fd = dirfd(handle);
  for (const std::string& name : names) {
    struct stat st;
    if (fstatat(dir_fd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISDIR(st.st_mode)) {
      int sub = openat(dir_fd, name.c_str(),
                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (sub < 0 || !EmptyDirectory(sub)) ok = false;
      if (unlinkat(dir_fd, name.c_str(), AT_REMOVEDIR) != 0) ok = false;
    } else if (unlinkat(dir_fd, name.c_str(), 0) != 0 && errno != ENOENT) {
      ok = false;
    }
  }
  closedir(handle);
  return ok;
}

// Opens the directory of `path` (the part before its last "/") as a
// handle; `name` gets the last component.
bool OpenParent(const std::string& path, DirHandle* dir, std::string* name) {
  std::pair<std::string, std::string> parts = SplitPath(BelowCurrentDir(path));
  std::string parent = parts.first;
  if (parent.empty() && !path.empty() && BelowCurrentDir(path)[0] == '/')
    parent = "/";
  *name = parts.second;
  return dir->Open(parent, false);
}

// Writes all of `text` to `fd`; false with errno set on failure.
bool WriteAll(int fd, std::string_view text) {
  const char* data = text.data();
  size_t left = text.size();
  while (left > 0) {
    ssize_t n = write(fd, data, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) {
      errno = EIO;
      return false;
    }
    data += n;
    left -= static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

BlockOutput::BlockOutput(int fd) : fd_(fd) { kept_.reserve(kBlock); }

BlockOutput::~BlockOutput() { Drain(); }

BlockOutput::int_type BlockOutput::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  kept_ += traits_type::to_char_type(c);
  if (kept_.size() >= kBlock && !Drain()) return traits_type::eof();
  return c;
}

std::streamsize BlockOutput::xsputn(const char* s, std::streamsize n) {
  kept_.append(s, static_cast<std::size_t>(n));
  if (kept_.size() >= kBlock && !Drain()) return 0;
  return n;
}

int BlockOutput::sync() { return Drain() ? 0 : -1; }

bool BlockOutput::Drain() {
  if (ok_ && !kept_.empty()) ok_ = WriteAll(fd_, kept_);
  kept_.clear();
  return ok_;
}

const std::string& LastError() { return g_last_error; }

std::string BelowCurrentDir(const std::string& path) {
  if (path.empty() || path[0] != '/') return path;
  std::string cwd = GetCurrentDir();
  if (cwd.empty()) return path;
  if (cwd == "/") return path.substr(1);
  if (path.compare(0, cwd.size(), cwd) != 0) return path;
  if (path.size() == cwd.size()) return ".";
  if (path[cwd.size()] != '/') return path;
  std::string rest = path.substr(cwd.size() + 1);
  return rest.empty() ? "." : rest;
}

std::string Describe(const std::string& path) {
  std::pair<std::string, std::string> parts = SplitPath(BelowCurrentDir(path));
  DirHandle dir;
  if (!dir.Open(parts.first, false)) {
    // A missing directory on the way means nothing stands at the path.
    return errno == ENOENT ? std::string() : LastError();
  }
  struct stat st;
  if (fstatat(dir.fd(), parts.second.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
    return std::string();
  return KindOf(st.st_mode);
}

DirHandle::~DirHandle() {
  if (fd_ >= 0) close(fd_);
}

DirHandle::DirHandle(DirHandle&& other) noexcept
    : fd_(other.fd_), path_(std::move(other.path_)) {
  other.fd_ = -1;
}

DirHandle& DirHandle::operator=(DirHandle&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) close(fd_);
    fd_ = other.fd_;
    path_ = std::move(other.path_);
    other.fd_ = -1;
  }
  return *this;
}

bool DirHandle::Open(const std::string& path, bool create) {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
  path_ = path;
  const std::string below = BelowCurrentDir(path);
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  int fd;
  std::string walked;
  std::vector<std::string> parts;
  if (!below.empty() && below[0] == '/') {
    // Outside the current directory: the system resolves the path.
    if (create) MakeDirs(below);
    fd = open(below.c_str(), flags);
    if (fd < 0) return Fail(path + ": " + strerror(errno), errno);
    fd_ = fd;
    return true;
  }
  fd = open(".", flags);
  if (fd < 0) return Fail(std::string(".: ") + strerror(errno), errno);
  for (const std::string& part : Components(below)) {
    if (part.empty() || part == ".") continue;
    walked = Join(walked, part);
    if (part == "..") {
      close(fd);
      return Fail(walked + ": \"..\" is not walked", EINVAL);
    }
    int next = openat(fd, part.c_str(), flags | O_NOFOLLOW);
    if (next < 0 && errno == ENOENT && create) {
      if (mkdirat(fd, part.c_str(), 0777) != 0 && errno != EEXIST) {
        int error = errno;
        close(fd);
        return Fail(walked + ": " + strerror(error), error);
      }
      next = openat(fd, part.c_str(), flags | O_NOFOLLOW);
    }
    if (next < 0) {
      int error = errno;
      struct stat st;
      if ((error == ELOOP || error == ENOTDIR) &&
          fstatat(fd, part.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        close(fd);
        return Fail(walked + " is " + KindOf(st.st_mode), error);
      }
      close(fd);
      return Fail(walked + ": " + strerror(error), error);
    }
    close(fd);
    fd = next;
  }
  fd_ = fd;
  return true;
}

bool DirHandle::OpenSub(const std::string& name, bool create,
                        DirHandle* sub) const {
  if (!IsPlainName(name)) return Fail(Join(path_, name) + ": not a plain name", EINVAL);
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;
  int fd = openat(fd_, name.c_str(), flags);
  if (fd < 0 && errno == ENOENT && create) {
    if (mkdirat(fd_, name.c_str(), 0777) != 0 && errno != EEXIST)
      return Fail(Join(path_, name) + ": " + strerror(errno), errno);
    fd = openat(fd_, name.c_str(), flags);
  }
  if (fd < 0) {
    int error = errno;
    struct stat st;
    if ((error == ELOOP || error == ENOTDIR) &&
        fstatat(fd_, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0)
      return Fail(Join(path_, name) + " is " + KindOf(st.st_mode), error);
    return Fail(Join(path_, name) + ": " + strerror(error), error);
  }
  DirHandle opened;
  opened.fd_ = fd;
  opened.path_ = Join(path_, name);
  *sub = std::move(opened);
  return true;
}

int DirHandle::OpenFile(const std::string& name, bool truncate, int mode) const {
  const std::string shown = Join(path_, name);
  if (!IsPlainName(name)) {
    Fail(shown + ": not a plain name", EINVAL);
    return -1;
  }
  int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  if (!truncate) flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  int fd = openat(fd_, name.c_str(), flags, mode);
  if (fd < 0) {
    int error = errno;
    struct stat st;
    if (fstatat(fd_, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
        !S_ISREG(st.st_mode))
      Fail(shown + " is " + KindOf(st.st_mode), error);
    else
      Fail(shown + ": " + strerror(error), error);
    return -1;
  }
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    std::string kind = KindOf(st.st_mode);
    close(fd);
    Fail(shown + " is " + kind, EINVAL);
    return -1;
  }
  // Emptied only once it is known to be a regular file of its own.
  if ((truncate && ftruncate(fd, 0) != 0) || fcntl(fd, F_SETFL, flags & O_APPEND) != 0) {
    int error = errno;
    close(fd);
    Fail(shown + ": " + strerror(error), error);
    return -1;
  }
  return fd;
}

bool DirHandle::WriteFile(const std::string& name, const std::string& text) const {
  return WriteFile(name, std::vector<std::string_view>{text});
}

namespace {

// The pieces of a vector, in order.
class VectorSource : public PieceSource {
 public:
  explicit VectorSource(const std::vector<std::string_view>& pieces) : pieces_(pieces) {}
  bool Next(std::string_view* piece) override {
    if (next_ == pieces_.size()) return false;
    *piece = pieces_[next_++];
    return true;
  }

 private:
  const std::vector<std::string_view>& pieces_;
  std::size_t next_ = 0;
};

}  // namespace

bool DirHandle::WriteFile(const std::string& name,
                          const std::vector<std::string_view>& pieces) const {
  VectorSource source(pieces);
  return WriteFile(name, source);
}

bool DirHandle::WriteFile(const std::string& name, PieceSource& source) const {
  const std::string shown = Join(path_, name);
  if (!IsPlainName(name)) return Fail(shown + ": not a plain name", EINVAL);
  struct stat st;
  mode_t mode;
  if (fstatat(fd_, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
    if (!S_ISREG(st.st_mode))
      return Fail(shown + " is " + KindOf(st.st_mode), S_ISDIR(st.st_mode) ? EISDIR : ELOOP);
    mode = st.st_mode & 07777;
  } else {
    mode_t mask = umask(0);
    umask(mask);
    mode = 0666 & ~mask;
  }
  // A temporary name of our own in the same directory.
  std::string tmp;
  int fd = -1;
  for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
    tmp = "." + name + "." + std::to_string(static_cast<long>(getpid())) + "." +
          std::to_string(attempt) + ".tmp";
    fd = openat(fd_, tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0 && errno != EEXIST) break;
  }
  if (fd < 0) return Fail(shown + ": " + strerror(errno), errno);
  fchmod(fd, mode);
  int error = 0;
  // Small pieces are gathered into blocks: a large file made of many short
  // pieces costs a few system calls rather than one per piece.
  std::string block;
  std::string_view piece;
  while (error == 0 && source.Next(&piece)) {
    if (block.size() + piece.size() <= kBlock) {
      block.append(piece);
      continue;
    }
    if (!WriteAll(fd, block) || (piece.size() >= kBlock && !WriteAll(fd, piece))) {
      error = errno;
      break;
    }
    block.clear();
    if (piece.size() < kBlock) block.append(piece);
  }
  if (error == 0 && !WriteAll(fd, block)) error = errno;
  if (error == 0) error = source.Error();
  if (close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && renameat(fd_, tmp.c_str(), fd_, name.c_str()) != 0) error = errno;
  if (error != 0) {
    unlinkat(fd_, tmp.c_str(), 0);
    return Fail(shown + ": " + strerror(error), error);
  }
  return true;
}

bool DirHandle::Remove(const std::string& name) const {
  const std::string shown = Join(path_, name);
  if (!IsPlainName(name)) return Fail(shown + ": not a plain name", EINVAL);
  struct stat st;
  if (fstatat(fd_, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return true;
  if (!S_ISDIR(st.st_mode)) {
    if (unlinkat(fd_, name.c_str(), 0) != 0 && errno != ENOENT)
      return Fail(shown + ": " + strerror(errno), errno);
    return true;
  }
  int sub = openat(fd_, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (sub < 0) return Fail(shown + ": " + strerror(errno), errno);
  bool emptied = EmptyDirectory(sub);
  if (unlinkat(fd_, name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT)
    return Fail(shown + ": " + strerror(errno), errno);
  (void)emptied;
  return true;
}

LockFile::~LockFile() {
  if (fd_ >= 0) close(fd_);
}

LockFile::Result LockFile::Lock(const DirHandle& dir, const std::string& name) {
  if (fd_ >= 0) close(fd_);
  fd_ = dir.OpenFile(name, false, 0600);
  if (fd_ < 0) return kFailed;
  if (flock(fd_, LOCK_EX | LOCK_NB) == 0) return kLocked;
  int error = errno;
  close(fd_);
  fd_ = -1;
  if (error == EWOULDBLOCK) return kHeldByAnother;
  Fail(Join(dir.path(), name) + ": " + strerror(error), error);
  return kFailed;
}

std::string GetCurrentDir() {
  std::string buffer(256, '\0');
  for (;;) {
    if (getcwd(buffer.data(), buffer.size()) != nullptr) {
      buffer.resize(strlen(buffer.c_str()));
      break;
    }
    if (errno != ERANGE || buffer.size() > (1u << 20)) return std::string();
    buffer.resize(buffer.size() * 2);
  }
  while (buffer.size() > 1 && buffer.back() == '/') buffer.pop_back();
  return buffer;
}

bool IsPlainName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

// A file is written under a temporary name first (see DirHandle::WriteFile):
// "." + name + "." + pid (at most 7 digits) + "." + attempt (at most 2) +
// ".tmp" is 16 bytes longer than the name.
bool FitsFileName(const std::string& name) { return name.size() + 16 <= NAME_MAX; }

bool IsRegularFile(const std::string& path) {
  struct stat st;
  return !path.empty() && stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool Exists(const std::string& path) {
  struct stat st;
  return !path.empty() && stat(path.c_str(), &st) == 0;
}

void Remove(const std::string& path) {
  std::string reason = RefusalReason(path);
  if (!reason.empty()) {
    if (Log().Check(3))
      Log().Write(3, "Refusing to remove \"%s\": %s", path.c_str(),
                  reason.c_str());
    return;
  }
  DirHandle parent;
  std::string name;
  if (!OpenParent(path, &parent, &name)) {
    if (errno != ENOENT && Log().Check(4))
      Log().Write(4, "Cannot remove \"%s\": %s", path.c_str(), LastError().c_str());
    return;
  }
  if (!parent.Remove(name) && Log().Check(4))
    Log().Write(4, "Cannot remove \"%s\": %s", path.c_str(), LastError().c_str());
}

std::pair<std::string, std::string> SplitPath(const std::string& path) {
  std::string::size_type pos = path.rfind('/');
  if (pos == std::string::npos) return {std::string(), path};
  return {path.substr(0, pos), path.substr(pos + 1)};
}

std::string ConcatPath(const std::string& a, const std::string& b) {
  std::string::size_type end = a.size();
  while (end > 0 && a[end - 1] == '/') --end;
  std::string::size_type start = 0;
  while (start < b.size() && b[start] == '/') ++start;
  std::string joined(a, 0, end);
  joined += '/';
  joined.append(b, start, std::string::npos);
  return joined;
}

std::string ConcatNPath(int n, ...) {
  std::string path;
  va_list args;
  va_start(args, n);
  for (int i = 0; i < n; ++i) {
    const char* piece = va_arg(args, const char*);
    std::string text = piece != nullptr ? piece : "";
    path = i == 0 ? text : ConcatPath(path, text);
  }
  va_end(args);
  return path;
}

std::string GoodPath(const std::string& path) {
  std::string out;
  out.reserve(path.size());
  for (std::string::size_type i = 0; i < path.size(); ++i) {
    char c = path[i];
    bool after_slash = !out.empty() && out.back() == '/';
    if (c == '/' && after_slash) continue;  // a run of "/"
    if (c == '.' && after_slash &&
        (i + 1 == path.size() || path[i + 1] == '/'))
      continue;  // "/./" or a trailing "/."
    out += c;
  }
  if (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

bool WriteFile(const std::string& path, const std::string& text) {
  return WriteFile(path, std::vector<std::string_view>{text});
}

bool WriteFile(const std::string& path, const std::vector<std::string_view>& pieces) {
  DirHandle dir;
  std::string name;
  if (!OpenParent(path, &dir, &name)) return false;
  return dir.WriteFile(name, pieces);
}

bool WriteFile(const std::string& path, PieceSource& source) {
  DirHandle dir;
  std::string name;
  if (!OpenParent(path, &dir, &name)) return false;
  return dir.WriteFile(name, source);
}

ScratchFile::ScratchFile() {
  const char* base = getenv("TMPDIR");
  const std::string dir = base != nullptr && *base == '/' ? base : "/tmp";
  fd_ = open(dir.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd_ >= 0) return;
  // A file system without unnamed files: a named one, unlinked at once.
  std::string tmpl = dir + "/msglint-XXXXXX";
  fd_ = mkostemp(tmpl.data(), O_CLOEXEC);
  if (fd_ >= 0) unlink(tmpl.c_str());
}

ScratchFile::~ScratchFile() {
  if (fd_ >= 0) close(fd_);
}

long long ScratchFile::Append(std::string_view data) {
  if (fd_ < 0) {
    errno = EBADF;
    return -1;
  }
  const long long start = size_;
  std::size_t done = 0;
  while (done < data.size()) {
    ssize_t n = pwrite(fd_, data.data() + done, data.size() - done, size_ + done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n == 0) errno = ENOSPC;
      return -1;
    }
    done += static_cast<std::size_t>(n);
  }
  size_ += static_cast<long long>(data.size());
  return start;
}

bool ScratchFile::Read(long long offset, std::size_t size, std::string* out) const {
  out->resize(size);
  std::size_t done = 0;
  while (done < size) {
    ssize_t n = pread(fd_, out->data() + done, size - done, offset + done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n == 0) errno = EIO;
      return false;
    }
    done += static_cast<std::size_t>(n);
  }
  return true;
}

FILE* OpenForWriting(const std::string& path) {
  DirHandle dir;
  std::string name;
  int fd = -1;
  if (OpenParent(path, &dir, &name)) fd = dir.OpenFile(name, true, 0644);
  if (fd < 0) {
    int error = errno;
    if (Log().Check(3)) Log().Write(3, "Cannot open %s", LastError().c_str());
    errno = error;
    return nullptr;
  }
  FILE* stream = fdopen(fd, "w+");
  if (stream == nullptr) close(fd);
  return stream;
}

bool ReadFile(const std::string& path, std::string& text) {
  text.clear();
  // Non-blocking open: a FIFO or device put where a file should be must not
  // stop the program; only regular files are read.
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat st;
  if (fstat(fd, &st) != 0) {
    int saved = errno;
    close(fd);
    errno = saved;
    return false;
  }
  if (!S_ISREG(st.st_mode)) {
    close(fd);
    if (S_ISDIR(st.st_mode)) {
      errno = EISDIR;
      return false;
    }
    return Fail(path + " is " + KindOf(st.st_mode) + ", not a regular file", EINVAL);
  }
  if (st.st_size > 0) text.reserve(static_cast<size_t>(st.st_size));
  char buffer[65536];
  bool ok = true;
  for (;;) {
    ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n < 0) {
      if (errno == EINTR) continue;
      ok = false;
      break;
    }
    if (n == 0) break;
    text.append(buffer, static_cast<size_t>(n));
  }
  int saved = errno;
  close(fd);
  errno = saved;
  if (!ok) text.clear();
  return ok;
}

std::string Stamp(const std::string& path) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return std::string();
  return std::to_string(st.st_dev) + ":" + std::to_string(st.st_ino) + ":" +
         std::to_string(st.st_size) + ":" + std::to_string(st.st_mtim.tv_sec) + "." +
         std::to_string(st.st_mtim.tv_nsec) + ":" + std::to_string(st.st_ctim.tv_sec) + "." +
         std::to_string(st.st_ctim.tv_nsec);
}

bool IsLink(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

namespace {


// What stands at `path`, and whether a file may be put there; false with
// `error` set when not.
bool Replaceable(const std::string& path, struct stat* st, bool* exists,
                 std::string* error) {
  error->clear();
  *exists = lstat(path.c_str(), st) == 0;
  if (!*exists && errno != ENOENT) {
    *error = strerror(errno);
    return false;
  }
  if (*exists && S_ISLNK(st->st_mode)) {
    *error = "is a symbolic link";
    return false;
  }
  if (*exists && !S_ISREG(st->st_mode)) {
    *error = "is not a regular file";
    return false;
  }
  // Renaming over a read-only file would succeed; its mode says it must
  // not change (also for root, whom access() lets through).
  if (*exists &&
      ((st->st_mode & 0222) == 0 || access(path.c_str(), W_OK) != 0)) {
    *error = "is read-only";
    return false;
  }
  return true;
}

}  // namespace

bool CanReplace(const std::string& path, std::string* error) {
  struct stat st;
  bool exists;
  return Replaceable(path, &st, &exists, error);
}

bool ReplaceFile(const std::string& path, const std::string& text,
                 std::string* error) {
  struct stat st;
  bool exists;
  if (!Replaceable(path, &st, &exists, error)) return false;
  mode_t mode;
  if (exists) {
    mode = st.st_mode & 07777;
  } else {
    mode_t mask = umask(0);
    umask(mask);
    mode = 0666 & ~mask;
  }

  std::pair<std::string, std::string> parts = SplitPath(path);
  std::string dir = parts.first;
  if (dir.empty() && !path.empty() && path[0] == '/') dir = "/";
  std::string tmpl = (dir.empty() ? std::string() : ConcatPath(dir, "")) +
                     "." + parts.second + ".XXXXXX";
  int fd = mkostemp(tmpl.data(), O_CLOEXEC);
  if (fd < 0) {
    *error = strerror(errno);
    return false;
  }
  bool ok = fchmod(fd, mode) == 0;
  if (ok && exists && fchown(fd, st.st_uid, st.st_gid) != 0) {
    // Another owner cannot be given by an ordinary user; the file is then
    // the writer's, as any new file would be.
  }
  if (ok) ok = WriteAll(fd, text);
  if (ok) ok = fsync(fd) == 0;
  int saved = errno;
  if (close(fd) != 0 && ok) {
    ok = false;
    saved = errno;
  }
  if (ok && rename(tmpl.c_str(), path.c_str()) != 0) {
    ok = false;
    saved = errno;
  }
  if (!ok) {
    unlink(tmpl.c_str());
    *error = strerror(saved);
    if (Log().Check(3))
      Log().Write(3, "Cannot write %s: %s", path.c_str(), error->c_str());
    return false;
  }
  // The rename itself is made durable with the directory.
  int dir_fd = open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir_fd >= 0) {
    fsync(dir_fd);
    close(dir_fd);
  }
  return true;
}

TempDir::TempDir() {
  const char* base = getenv("TMPDIR");
  std::string tmpl = std::string(base != nullptr && *base == '/' ? base : "/tmp") +
                     "/msglint-XXXXXX";
  if (mkdtemp(tmpl.data()) != nullptr) path_ = tmpl;
}

TempDir::~TempDir() {
  if (!path_.empty()) Remove(path_);
}

bool MakeDirs(const std::string& path) {
  if (path.empty()) return Fail("empty path", EINVAL);
  const std::string below = BelowCurrentDir(path);
  if (below[0] != '/') {
    DirHandle dir;
    return dir.Open(below, true);
  }
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  return std::filesystem::is_directory(path, ec);
}

Dir::Dir(const std::string& dir) : dir_(dir) {
  DIR* handle = opendir(dir.c_str());
  if (handle == nullptr) return;
  while (struct dirent* entry = readdir(handle)) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
      continue;
    names_.push_back(entry->d_name);
  }
  closedir(handle);
  // std::string compares bytes as unsigned chars: memcmp order.
  std::sort(names_.begin(), names_.end());
}

Dir::~Dir() {}

bool Dir::Read() {
  if (next_ >= names_.size()) return false;
  ++next_;
  return true;
}

std::string Dir::Name() const {
  return next_ == 0 ? std::string() : names_[next_ - 1];
}

std::string Dir::FullName() const {
  return next_ == 0 ? std::string() : dir_ + "/" + Name();
}

}  // namespace pnl_file
