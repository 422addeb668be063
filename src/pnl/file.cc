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

// A failure about a path: `text` says it, `error` is the errno value.
pnl::Status Fail(const std::string& text, int error) {
  return pnl::Status::FromErrno(error, text);
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
pnl::Status OpenParent(const std::string& path, DirHandle* dir, std::string* name) {
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
  if (pnl::Status opened = dir.Open(parts.first, false); !opened.ok()) {
    // A missing directory on the way means nothing stands at the path.
    return opened.IsNotFound() ? std::string() : opened.message();
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

pnl::Status DirHandle::Open(const std::string& path, bool create) {
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
    return pnl::Status();
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
  return pnl::Status();
}

pnl::Status DirHandle::OpenSub(const std::string& name, bool create,
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
  return pnl::Status();
}

pnl::Status DirHandle::OpenFile(const std::string& name, bool truncate, int mode,
                                int* opened) const {
  *opened = -1;
  const std::string shown = Join(path_, name);
  if (!IsPlainName(name)) return Fail(shown + ": not a plain name", EINVAL);
  int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  if (!truncate) flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  int fd = openat(fd_, name.c_str(), flags, mode);
  if (fd < 0) {
    int error = errno;
    struct stat st;
    if (fstatat(fd_, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
        !S_ISREG(st.st_mode))
      return Fail(shown + " is " + KindOf(st.st_mode), error);
    return Fail(shown + ": " + strerror(error), error);
  }
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    std::string kind = KindOf(st.st_mode);
    close(fd);
    return Fail(shown + " is " + kind, EINVAL);
  }
  // Emptied only once it is known to be a regular file of its own.
  if ((truncate && ftruncate(fd, 0) != 0) || fcntl(fd, F_SETFL, flags & O_APPEND) != 0) {
    int error = errno;
    close(fd);
    return Fail(shown + ": " + strerror(error), error);
  }
  *opened = fd;
  return pnl::Status();
}

pnl::Status DirHandle::WriteFile(const std::string& name, const std::string& text) const {
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

pnl::Status DirHandle::WriteFile(const std::string& name,
                                 const std::vector<std::string_view>& pieces) const {
  VectorSource source(pieces);
  return WriteFile(name, source);
}

pnl::Status DirHandle::WriteFile(const std::string& name, PieceSource& source) const {
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
  // Why the source could not give every piece, when it could not.
  pnl::Status source_status;
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
  if (error == 0) source_status = source.status();
  if (close(fd) != 0 && error == 0 && source_status.ok()) error = errno;
  if (error == 0 && source_status.ok() &&
      renameat(fd_, tmp.c_str(), fd_, name.c_str()) != 0)
    error = errno;
  if (!source_status.ok()) {
    unlinkat(fd_, tmp.c_str(), 0);
    return source_status.WithMessage(shown + ": " + source_status.cause());
  }
  if (error != 0) {
    unlinkat(fd_, tmp.c_str(), 0);
    return Fail(shown + ": " + strerror(error), error);
  }
  return pnl::Status();
}

pnl::Status DirHandle::Remove(const std::string& name) const {
  const std::string shown = Join(path_, name);
  if (!IsPlainName(name)) return Fail(shown + ": not a plain name", EINVAL);
  struct stat st;
  if (fstatat(fd_, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return pnl::Status();
  if (!S_ISDIR(st.st_mode)) {
    if (unlinkat(fd_, name.c_str(), 0) != 0 && errno != ENOENT)
      return Fail(shown + ": " + strerror(errno), errno);
    return pnl::Status();
  }
  int sub = openat(fd_, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (sub < 0) return Fail(shown + ": " + strerror(errno), errno);
  bool emptied = EmptyDirectory(sub);
  if (unlinkat(fd_, name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT)
    return Fail(shown + ": " + strerror(errno), errno);
  (void)emptied;
  return pnl::Status();
}

LockFile::~LockFile() {
  if (fd_ >= 0) close(fd_);
}

pnl::Status LockFile::Lock(const DirHandle& dir, const std::string& name) {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
  if (pnl::Status opened = dir.OpenFile(name, false, 0600, &fd_); !opened.ok()) return opened;
  if (flock(fd_, LOCK_EX | LOCK_NB) == 0) return pnl::Status();
  int error = errno;
  close(fd_);
  fd_ = -1;
  return Fail(Join(dir.path(), name) + ": " + strerror(error), error);
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
  if (pnl::Status opened = OpenParent(path, &parent, &name); !opened.ok()) {
    if (!opened.IsNotFound() && Log().Check(4))
      Log().Write(4, "Cannot remove \"%s\": %s", path.c_str(), opened.message().c_str());
    return;
  }
  if (pnl::Status removed = parent.Remove(name); !removed.ok() && Log().Check(4))
    Log().Write(4, "Cannot remove \"%s\": %s", path.c_str(), removed.message().c_str());
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

pnl::Status WriteFile(const std::string& path, const std::string& text) {
  return WriteFile(path, std::vector<std::string_view>{text});
}

pnl::Status WriteFile(const std::string& path, const std::vector<std::string_view>& pieces) {
  DirHandle dir;
  std::string name;
  if (pnl::Status opened = OpenParent(path, &dir, &name); !opened.ok()) return opened;
  return dir.WriteFile(name, pieces);
}

pnl::Status WriteFile(const std::string& path, PieceSource& source) {
  DirHandle dir;
  std::string name;
  if (pnl::Status opened = OpenParent(path, &dir, &name); !opened.ok()) return opened;
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

pnl::Status ScratchFile::Append(std::string_view data, long long* start) {
  *start = -1;
  if (fd_ < 0) return Fail("scratch file: " + std::string(strerror(EBADF)), EBADF);
  std::size_t done = 0;
  while (done < data.size()) {
    ssize_t n = pwrite(fd_, data.data() + done, data.size() - done, size_ + done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const int error = n == 0 ? ENOSPC : errno;
      return Fail("scratch file: " + std::string(strerror(error)), error);
    }
    done += static_cast<std::size_t>(n);
  }
  *start = size_;
  size_ += static_cast<long long>(data.size());
  return pnl::Status();
}

pnl::Status ScratchFile::Read(long long offset, std::size_t size, std::string* out) const {
  out->resize(size);
  std::size_t done = 0;
  while (done < size) {
    ssize_t n = pread(fd_, out->data() + done, size - done, offset + done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const int error = n == 0 ? EIO : errno;
      return Fail("scratch file: " + std::string(strerror(error)), error);
    }
    done += static_cast<std::size_t>(n);
  }
  return pnl::Status();
}

OutputFile::~OutputFile() {
  if (fd_ >= 0) Close();
}

pnl::Status OutputFile::Open(const std::string& path) {
  if (fd_ >= 0) Close();
  path_ = path;
  kept_.clear();
  DirHandle dir;
  std::string name;
  pnl::Status opened = OpenParent(path, &dir, &name);
  if (opened.ok()) opened = dir.OpenFile(name, true, 0644, &fd_);
  if (!opened.ok() && Log().Check(3)) Log().Write(3, "Cannot open %s", opened.message().c_str());
  if (opened.ok()) kept_.reserve(kBlock);
  return opened;
}

pnl::Status OutputFile::Append(std::string_view text) {
  // As a stream with a full buffer does: what fits is kept; what does not
  // writes the buffer first.
  if (kept_.size() + text.size() <= kBlock) {
    kept_.append(text);
    return pnl::Status();
  }
  const std::size_t fits = kBlock - kept_.size();
  kept_.append(text.substr(0, fits));
  text.remove_prefix(fits);
  pnl::Status status = Drain();
  while (status.ok() && text.size() >= kBlock) {
    status = Put(text.substr(0, kBlock));
    text.remove_prefix(kBlock);
  }
  kept_.append(text);
  return status;
}

pnl::Status OutputFile::Close() {
  pnl::Status status = Drain();
  if (fd_ >= 0 && close(fd_) != 0 && status.ok())
    status = Fail(path_ + ": " + strerror(errno), errno);
  fd_ = -1;
  return status;
}

pnl::Status OutputFile::Drain() {
  pnl::Status status = Put(kept_);
  kept_.clear();
  return status;
}

pnl::Status OutputFile::Put(std::string_view text) {
  if (fd_ < 0) return Fail(path_ + ": " + strerror(EBADF), EBADF);
  if (text.empty()) return pnl::Status();
  if (!WriteAll(fd_, text)) return Fail(path_ + ": " + strerror(errno), errno);
  return pnl::Status();
}

pnl::Status ReadFile(const std::string& path, std::string& text) {
  text.clear();
  // Non-blocking open: a FIFO or device put where a file should be must not
  // stop the program; only regular files are read.
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return Fail(path + ": cannot read: " + strerror(errno), errno);
  struct stat st;
  if (fstat(fd, &st) != 0) {
    int saved = errno;
    close(fd);
    return Fail(path + ": cannot read: " + strerror(saved), saved);
  }
  if (!S_ISREG(st.st_mode)) {
    close(fd);
    if (S_ISDIR(st.st_mode))
      return Fail(path + ": cannot read: " + strerror(EISDIR), EISDIR);
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
  if (ok) return pnl::Status();
  text.clear();
  return Fail(path + ": cannot read: " + strerror(saved), saved);
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


// What stands at `path`, and whether a file may be put there.
pnl::Status Replaceable(const std::string& path, struct stat* st, bool* exists) {
  *exists = lstat(path.c_str(), st) == 0;
  if (!*exists && errno != ENOENT) return Fail(strerror(errno), errno);
  if (*exists && S_ISLNK(st->st_mode)) return pnl::Status::Error("is a symbolic link");
  if (*exists && !S_ISREG(st->st_mode)) return pnl::Status::Error("is not a regular file");
  // Renaming over a read-only file would succeed; its mode says it must
  // not change (also for root, whom access() lets through).
  if (*exists &&
      ((st->st_mode & 0222) == 0 || access(path.c_str(), W_OK) != 0))
    return pnl::Status::Error("is read-only");
  return pnl::Status();
}

}  // namespace

pnl::Status CanReplace(const std::string& path) {
  struct stat st;
  bool exists;
  return Replaceable(path, &st, &exists);
}

pnl::Status ReplaceFile(const std::string& path, const std::string& text) {
  struct stat st;
  bool exists;
  if (pnl::Status replaceable = Replaceable(path, &st, &exists); !replaceable.ok())
    return replaceable;
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
  if (fd < 0) return Fail(strerror(errno), errno);
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
    if (Log().Check(3))
      Log().Write(3, "Cannot write %s: %s", path.c_str(), strerror(saved));
    return Fail(strerror(saved), saved);
  }
  // The rename itself is made durable with the directory.
  int dir_fd = open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir_fd >= 0) {
    fsync(dir_fd);
    close(dir_fd);
  }
  return pnl::Status();
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

pnl::Status MakeDirs(const std::string& path) {
  if (path.empty()) return Fail("empty path", EINVAL);
  const std::string below = BelowCurrentDir(path);
  if (below[0] != '/') {
    DirHandle dir;
    return dir.Open(below, true);
  }
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  if (std::filesystem::is_directory(path, ec)) return pnl::Status();
  const int error = ec ? ec.value() : ENOTDIR;
  return Fail(path + ": " + strerror(error), error);
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
