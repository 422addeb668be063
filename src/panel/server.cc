#include "panel/server.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <vector>

#include "pnl/client.h"
#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/proc.h"
#include "pnl/str.h"

namespace panel {

namespace {

using Clock = std::chrono::steady_clock;

const pnl_log::Module kLog("server", "panel");

// How long a reply may take to be taken by its client.
const auto kWriteDeadline = std::chrono::seconds(10);

// Written to by the signal handler so that the poll loop wakes up.
int g_signal_write_fd = -1;

void OnStopSignal(int) {
  int saved = errno;
  char c = 's';
  if (write(g_signal_write_fd, &c, 1) < 0) {
    // Nothing to do: the pipe is full, so a wake-up is already pending.
  }
  errno = saved;
}

int MillisUntil(Clock::time_point deadline, Clock::time_point now) {
  if (deadline <= now) return 0;
  auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
  return static_cast<int>(left.count()) + 1;
}

// Writes the whole reply, waiting at most kWriteDeadline.
void WriteAll(int fd, const std::string& text) {
  auto deadline = Clock::now() + kWriteDeadline;
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
    if (n > 0) {
      done += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      int wait = MillisUntil(deadline, Clock::now());
      if (wait == 0) break;
      pollfd p = {fd, POLLOUT, 0};
      poll(&p, 1, wait);
      continue;
    }
    break;
  }
  if (done < text.size()) kLog.Write(4, "a reply could not be delivered");
}

// Tells the starting process how the start went: '1' ready, '0' failed.
void Report(int& fd, char status) {
  if (fd < 0) return;
  ssize_t n;
  do {
    n = write(fd, &status, 1);
  } while (n < 0 && errno == EINTR);
  close(fd);
  fd = -1;
}

struct Connection {
  int fd;
  std::string data;
  Clock::time_point deadline;
};

class Server {
 public:
  Server(const std::string& manager, const Handler& handler,
         const ServerOptions& options)
      : manager_(manager), handler_(handler), options_(options) {}

  // Sets up and serves; returns the process's exit status.
  int Run(int ready_fd);

 private:
  bool Listen();
  void Serve();
  void Accept();
  // Reads what the connection sent; true when it is finished with.
  bool ReadFrom(Connection& conn);
  void Cleanup();

  std::string manager_;
  Handler handler_;
  ServerOptions options_;
  int listen_fd_ = -1;
  int signal_fds_[2] = {-1, -1};
  std::vector<Connection> connections_;
  Clock::time_point last_request_;
};

int Server::Run(int ready_fd) {
  std::string lock_path = "var/run/" + manager_ + ".lock";
  int lock_fd = open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock_fd < 0) {
    kLog.Write(3, "cannot open %s: %s", lock_path.c_str(), strerror(errno));
    Report(ready_fd, '0');
    return 1;
  }
  if (flock(lock_fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) {
      kLog.Write(5, "the panel of %s is already running", manager_.c_str());
      Report(ready_fd, '1');
      return 0;
    }
    kLog.Write(3, "cannot lock %s: %s", lock_path.c_str(), strerror(errno));
    Report(ready_fd, '0');
    return 1;
  }

  if (pipe2(signal_fds_, O_CLOEXEC | O_NONBLOCK) != 0) {
    kLog.Write(3, "cannot make a pipe: %s", strerror(errno));
    Report(ready_fd, '0');
    return 1;
  }
  g_signal_write_fd = signal_fds_[1];
  struct sigaction action;
  memset(&action, 0, sizeof(action));
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGHUP, SIG_IGN);

  if (!Listen()) {
    Report(ready_fd, '0');
    return 1;
  }
  if (!pnl_file::WriteFile(pnl_client::PidPath(manager_),
                           str::Str(static_cast<long>(getpid())) + "\n")) {
    kLog.Write(3, "cannot write %s", pnl_client::PidPath(manager_).c_str());
    Cleanup();
    Report(ready_fd, '0');
    return 1;
  }
  kLog.Write(5, "serving %s (pid %ld)", manager_.c_str(),
             static_cast<long>(getpid()));
  Report(ready_fd, '1');
  Serve();
  Cleanup();
  return 0;
}

bool Server::Listen() {
  std::string path = pnl_client::SocketPath(manager_);
  sockaddr_un addr;
  memset(&addr, 0, sizeof(addr));
  addr.sun_family = AF_UNIX;
  if (path.size() >= sizeof(addr.sun_path)) {
    kLog.Write(3, "socket path too long: %s", path.c_str());
    return false;
  }
  memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  // Holding the lock, a socket there is a stale one of an earlier panel;
  // anything else there is not ours to remove.
  struct stat st;
  if (lstat(path.c_str(), &st) == 0 && !S_ISSOCK(st.st_mode)) {
    kLog.Write(3, "%s is not a socket: left as it is", path.c_str());
    return false;
  }
  unlink(path.c_str());
  listen_fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listen_fd_ < 0) {
    kLog.Write(3, "cannot make a socket: %s", strerror(errno));
    return false;
  }
  // Nobody but the owner may connect, from the very first moment.
  mode_t old_mask = umask(077);
  int r = bind(listen_fd_, reinterpret_cast<sockaddr*>(&addr), sizeof(addr));
  int bind_errno = errno;
  umask(old_mask);
  if (r != 0) {
    kLog.Write(3, "cannot bind %s: %s", path.c_str(), strerror(bind_errno));
    return false;
  }
  chmod(path.c_str(), 0600);
  if (listen(listen_fd_, 64) != 0) {
    kLog.Write(3, "cannot listen on %s: %s", path.c_str(), strerror(errno));
    unlink(path.c_str());
    return false;
  }
  return true;
}

void Server::Serve() {
  last_request_ = Clock::now();
  const auto idle_time = std::chrono::seconds(options_.idle_seconds);
  for (;;) {
    Clock::time_point now = Clock::now();
    Clock::time_point wake = last_request_ + idle_time;
    for (const Connection& conn : connections_)
      if (conn.deadline < wake) wake = conn.deadline;

    std::vector<pollfd> fds;
    fds.push_back({signal_fds_[0], POLLIN, 0});
    fds.push_back({listen_fd_, POLLIN, 0});
    for (const Connection& conn : connections_)
      fds.push_back({conn.fd, POLLIN, 0});
    int r = poll(fds.data(), fds.size(), MillisUntil(wake, now));
    if (r < 0 && errno != EINTR) {
      kLog.Write(3, "poll failed: %s", strerror(errno));
      return;
    }
    if (r > 0 && fds[0].revents != 0) {
      kLog.Write(5, "stopping on a signal");
      return;
    }

    // Connections first, so that those accepted now are not in `fds`.
    now = Clock::now();
    std::vector<Connection> open;
    for (size_t i = 0; i < connections_.size(); ++i) {
      Connection& conn = connections_[i];
      bool done = false;
      if (r > 0 && fds[i + 2].revents != 0) done = ReadFrom(conn);
      if (!done && Clock::now() >= conn.deadline) {
        kLog.Write(4, "dropping a connection that sent no request in %d s",
                   options_.read_seconds);
        done = true;
      }
      if (done)
        close(conn.fd);
      else
        open.push_back(std::move(conn));
    }
    connections_ = std::move(open);

    if (r > 0 && fds[1].revents != 0) Accept();

    if (connections_.empty() && Clock::now() >= last_request_ + idle_time) {
      kLog.Write(5, "no request for %d s: exiting", options_.idle_seconds);
      return;
    }
  }
}

void Server::Accept() {
  for (;;) {
    int fd = accept4(listen_fd_, nullptr, nullptr,
                     SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      return;  // EAGAIN: nothing more waiting, or a passing error
    }
    connections_.push_back(
        {fd, "", Clock::now() + std::chrono::seconds(options_.read_seconds)});
  }
}

bool Server::ReadFrom(Connection& conn) {
  char buf[8192];
  for (;;) {
    ssize_t n = recv(conn.fd, buf, sizeof(buf), 0);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return false;
    if (n <= 0) {
      kLog.Write(4, "a connection closed without a request");
      return true;
    }
    conn.data.append(buf, static_cast<size_t>(n));
    size_t newline = conn.data.find('\n');
    size_t length = newline == std::string::npos ? conn.data.size() : newline;
    if (length > options_.max_request) {
      kLog.Write(3, "request longer than %zu bytes refused",
                 options_.max_request);
      WriteAll(conn.fd, options_.too_long_reply);
      return true;
    }
    if (newline == std::string::npos) continue;
    std::string request = conn.data.substr(0, newline);
    if (!request.empty() && request.back() == '\r') request.pop_back();
    std::string reply = handler_(request);
    last_request_ = Clock::now();
    WriteAll(conn.fd, reply);
    return true;
  }
}

void Server::Cleanup() {
  unlink(pnl_client::SocketPath(manager_).c_str());
  unlink(pnl_client::PidPath(manager_).c_str());
  if (listen_fd_ >= 0) close(listen_fd_);
  listen_fd_ = -1;
}

}  // namespace

int StartDetached(const std::string& manager, const Handler& handler,
                  const ServerOptions& options) {
  signal(SIGPIPE, SIG_IGN);
  pnl_proc::CloseDescriptorsFrom(3);
  if (!pnl_file::MakeDirs("var/run") || !pnl_file::MakeDirs("var/log")) {
    fprintf(stderr, "kern: cannot create var/run and var/log\n");
    return 1;
  }
  int ready[2];
  if (pipe2(ready, O_CLOEXEC) != 0) {
    fprintf(stderr, "kern: cannot make a pipe: %s\n", strerror(errno));
    return 1;
  }
  pid_t pid = fork();
  if (pid < 0) {
    fprintf(stderr, "kern: cannot fork: %s\n", strerror(errno));
    return 1;
  }
  if (pid > 0) {
    close(ready[1]);
    char status = '0';
    ssize_t n;
    do {
      n = read(ready[0], &status, 1);
    } while (n < 0 && errno == EINTR);
    close(ready[0]);
    return n == 1 && status == '1' ? 0 : 1;
  }

  // The detached panel.
  close(ready[0]);
  setsid();
  int null_fd = open("/dev/null", O_RDWR);
  if (null_fd >= 0) {
    dup2(null_fd, 0);
    dup2(null_fd, 1);
    dup2(null_fd, 2);
    if (null_fd > 2) close(null_fd);
  }
  pnl_log::Init(manager, 5);
  Server server(manager, handler, options);
  exit(server.Run(ready[1]));
}

}  // namespace panel
