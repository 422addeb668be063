#include "pnl/file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "pnl/log.h"

namespace pnl_file {

namespace {

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

}  // namespace

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
  struct stat st;
  if (lstat(path.c_str(), &st) != 0) return;
  if (!S_ISDIR(st.st_mode)) {
    // A file, or a symbolic link removed as a link.
    if (unlink(path.c_str()) != 0 && Log().Check(4))
      Log().Write(4, "Cannot remove \"%s\": %s", path.c_str(), strerror(errno));
    return;
  }
  // remove_all does not follow the symbolic links that it meets inside.
  std::error_code ec;
  std::filesystem::remove_all(path, ec);
  if (ec && Log().Check(4))
    Log().Write(4, "Cannot remove \"%s\": %s", path.c_str(),
                ec.message().c_str());
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
  std::pair<std::string, std::string> parts = SplitPath(path);
  std::string dir = parts.first;
  if (dir.empty() && !path.empty() && path[0] == '/') dir = "/";
  std::string tmpl = (dir.empty() ? std::string() : ConcatPath(dir, "")) +
                     "." + parts.second + ".XXXXXX";
  int fd = mkostemp(tmpl.data(), O_CLOEXEC);
  if (fd < 0) return false;

  // Keep the mode of the file replaced; a new file gets the usual one.
  struct stat st;
  mode_t mode;
  if (stat(path.c_str(), &st) == 0) {
    mode = st.st_mode & 07777;
  } else {
    mode_t mask = umask(0);
    umask(mask);
    mode = 0666 & ~mask;
  }
  fchmod(fd, mode);

  bool ok = true;
  const char* data = text.data();
  size_t left = text.size();
  while (left > 0) {
    ssize_t n = write(fd, data, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      ok = false;
      break;
    }
    data += n;
    left -= static_cast<size_t>(n);
  }
  if (close(fd) != 0) ok = false;
  if (ok && rename(tmpl.c_str(), path.c_str()) != 0) ok = false;
  if (!ok) unlink(tmpl.c_str());
  return ok;
}

FILE* OpenForWriting(const std::string& path) {
  int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644);
  if (fd < 0) {
    int error = errno;
    if (Log().Check(3)) Log().Write(3, "Cannot open %s: %s", path.c_str(), strerror(error));
    errno = error;
    return nullptr;
  }
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(fd);
    if (Log().Check(3)) Log().Write(3, "Cannot open %s: not a regular file", path.c_str());
    errno = EINVAL;
    return nullptr;
  }
  // Emptied only once it is known to be a regular file of its own.
  if (ftruncate(fd, 0) != 0 || fcntl(fd, F_SETFL, 0) != 0) {
    int error = errno;
    close(fd);
    if (Log().Check(3)) Log().Write(3, "Cannot open %s: %s", path.c_str(), strerror(error));
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
    errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    return false;
  }
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

bool MakeDirs(const std::string& path) {
  if (path.empty()) return false;
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
