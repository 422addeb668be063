#include "pnl/server.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
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

namespace pnl_server {

namespace {

using Clock = std::chrono::steady_clock;

const pnl_log::Module kLog("server", "kern");

// How long a reply may take to be taken by its client.
const auto kWriteDeadline = std::chrono::seconds(10);

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
  int Run();

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
  pnl_file::DirHandle run_dir_;
  pnl_proc::StopSignals* signals_ = nullptr;
  std::vector<Connection> connections_;
  Clock::time_point last_request_;
};

int Server::Run() {
  if (pnl::Status opened = run_dir_.Open("var/run", true); !opened.ok()) {
    kLog.Write(3, "cannot open var/run: %s", opened.message().c_str());
    pnl_proc::StartDone(false);
    return 1;
  }
  pnl_file::LockFile lock;
  if (pnl::Status locked = lock.Lock(run_dir_, manager_ + ".lock"); locked.IsBusy()) {
    kLog.Write(5, "the panel of %s is already running", manager_.c_str());
    pnl_proc::StartDone(true);
    return 0;
  } else if (!locked.ok()) {
    kLog.Write(3, "cannot lock: %s", locked.message().c_str());
    pnl_proc::StartDone(false);
    return 1;
  }

  pnl_proc::StopSignals signals;
  if (!signals.status().ok()) {
    kLog.Write(3, "%s", signals.status().message().c_str());
    pnl_proc::StartDone(false);
    return 1;
  }
  signals_ = &signals;

  if (!Listen()) {
    pnl_proc::StartDone(false);
    return 1;
  }
  if (pnl::Status written = run_dir_.WriteFile(
          manager_ + ".pid", str::Str(static_cast<long>(getpid())) + "\n");
      !written.ok()) {
    kLog.Write(3, "cannot write the pid file: %s", written.message().c_str());
    Cleanup();
    pnl_proc::StartDone(false);
    return 1;
  }
  kLog.Write(5, "serving %s (pid %ld)", manager_.c_str(),
             static_cast<long>(getpid()));
  pnl_proc::StartDone(true);
  Serve();
  Cleanup();
  return 0;
}

bool Server::Listen() {
  const std::string name = manager_ + ".socket";
  const std::string path = pnl_client::SocketPath(manager_);
  sockaddr_un addr;
  memset(&addr, 0, sizeof(addr));
  addr.sun_family = AF_UNIX;
  if (name.size() >= sizeof(addr.sun_path)) {
    kLog.Write(3, "socket path too long: %s", path.c_str());
    return false;
  }
  memcpy(addr.sun_path, name.c_str(), name.size() + 1);
  // Holding the lock, a socket there is a stale one; anything else (a
  // link, a regular file) is not ours to remove.
  const std::string found = pnl_file::Describe(path);
  if (!found.empty() && found != "a socket") {
    kLog.Write(3, "cannot listen on %s: it is %s", path.c_str(), found.c_str());
    return false;
  }
  run_dir_.Remove(name);
  listen_fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listen_fd_ < 0) {
    kLog.Write(3, "cannot make a socket: %s", strerror(errno));
    return false;
  }
  // The socket is bound by name inside the directory held open, so no link
  // on the way can put it elsewhere: bind() takes a path, so the process
  // steps into the directory for that one call. Nobody but the owner may
  // connect, from the very first moment.
  int here = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (here < 0 || fchdir(run_dir_.fd()) != 0) {
    kLog.Write(3, "cannot enter var/run: %s", strerror(errno));
    if (here >= 0) close(here);
    return false;
  }
  mode_t old_mask = umask(077);
  int r = bind(listen_fd_, reinterpret_cast<sockaddr*>(&addr), sizeof(addr));
  int bind_errno = errno;
  umask(old_mask);
  int back = fchdir(here);
  close(here);
  if (back != 0) {
    kLog.Write(3, "cannot return to the installation: %s", strerror(errno));
    return false;
  }
  if (r != 0) {
    kLog.Write(3, "cannot bind %s: %s", path.c_str(), strerror(bind_errno));
    return false;
  }
  fchmodat(run_dir_.fd(), name.c_str(), 0600, 0);
  if (listen(listen_fd_, 64) != 0) {
    kLog.Write(3, "cannot listen on %s: %s", path.c_str(), strerror(errno));
    run_dir_.Remove(name);
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
    fds.push_back({signals_->fd(), POLLIN, 0});
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
  run_dir_.Remove(manager_ + ".socket");
  run_dir_.Remove(manager_ + ".pid");
  if (listen_fd_ >= 0) close(listen_fd_);
  listen_fd_ = -1;
}

}  // namespace

pnl::Status StartDetached(const std::string& manager, const Handler& handler,
                          const ServerOptions& options) {
  pnl_proc::CloseDescriptorsFrom(3);
  pnl_file::DirHandle run_dir, log_dir;
  pnl::Status opened = run_dir.Open("var/run", true);
  if (opened.ok()) opened = log_dir.Open("var/log", true);
  if (!opened.ok()) return pnl::Status::Error("cannot use " + opened.message());
  // The log is the detached server's only voice: a link or anything but a
  // regular file there stops the start.
  const std::string log_path = "var/log/" + manager + ".log";
  const std::string found = pnl_file::Describe(log_path);
  if (!found.empty() && found != "a regular file")
    return pnl::Status::Error("unsafe installation: " + log_path + " is " + found);
  bool detached = false;
  pnl::Status started = pnl_proc::Detach(&detached);
  if (!detached) {
    if (started.ok()) return started;
    return pnl::Status::Error("the panel of " + manager + " did not start: " +
                              started.message() + " (see var/log/" + manager + ".log)");
  }
  pnl_log::Init(manager, 5);
  Server server(manager, handler, options);
  exit(server.Run());
}

}  // namespace pnl_server
