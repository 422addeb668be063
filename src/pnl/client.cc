// The local client. Platform code: it talks to the panel over a Unix
// socket and starts the panel program when nothing answers.
#include "pnl/client.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/proc.h"

namespace pnl_client {

namespace {

const pnl_log::Module kLog("pnl_client", "pnl");

// How hard a query tries before it gives up.
const int kMaxAttempts = 6;
const auto kRetryBudget = std::chrono::seconds(10);
// How long one attempt waits for the whole reply.
const auto kReplyDeadline = std::chrono::seconds(60);
// How long a starting panel program may take to report that it is ready.
const auto kStartDeadline = std::chrono::seconds(5);

using Clock = std::chrono::steady_clock;

int MillisUntil(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - Clock::now());
  if (left.count() < 0) return 0;
  return static_cast<int>(left.count());
}

// Connects to the manager's socket; -1 when nothing listens there.
int Connect(const std::string& manager) {
  std::string path = SocketPath(manager);
  sockaddr_un addr;
  memset(&addr, 0, sizeof(addr));
  addr.sun_family = AF_UNIX;
  if (path.size() >= sizeof(addr.sun_path)) return -1;
  memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

// Sends the whole request; false when the connection broke.
bool SendAll(int fd, const std::string& data, Clock::time_point deadline) {
  size_t done = 0;
  while (done < data.size()) {
    ssize_t n = send(fd, data.data() + done, data.size() - done,
                     MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      done += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      int wait = MillisUntil(deadline);
      if (wait == 0) return false;
      pollfd p = {fd, POLLOUT, 0};
      poll(&p, 1, wait);
      continue;
    }
    return false;
  }
  return true;
}

// Reads until the panel closes the connection or the deadline passes.
// Returns what was read ("" when the connection closed without a reply).
std::string ReadReply(int fd, Clock::time_point deadline) {
  std::string reply;
  char buf[8192];
  for (;;) {
    int wait = MillisUntil(deadline);
    if (wait == 0) return "";  // a half reply is no reply
    pollfd p = {fd, POLLIN, 0};
    int r = poll(&p, 1, wait);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) continue;  // timed out: the loop sees the deadline
    ssize_t n = recv(fd, buf, sizeof(buf), MSG_DONTWAIT);
    if (n > 0) {
      reply.append(buf, static_cast<size_t>(n));
      continue;
    }
    if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK))
      continue;
    if (n < 0) return "";  // reset by a panel that went away
    return reply;          // end of file: the whole reply
  }
}

// Starts the panel program of `manager` and waits until it has exited,
// which it does once its daemon is ready to answer. Returns false when no
// program could be run.
bool StartPanel(const std::string& manager) {
  std::string own = "bin/" + manager;
  std::vector<std::string> args;
  if (access(own.c_str(), X_OK) == 0) {
    args = {own};
  } else {
    args = {"bin/kern", "-m", manager};
  }
  if (access(args[0].c_str(), X_OK) != 0) {
    kLog.Write(4, "no panel program for manager \"%s\"", manager.c_str());
    return false;
  }
  // The starter writes nothing on its caller's streams.
  pid_t pid = -1;
  if (pnl::Status spawned = pnl_proc::Spawn(args, pnl_proc::SpawnOptions(), &pid);
      !spawned.ok()) {
    kLog.Write(3, "cannot start the panel of \"%s\": %s: %s", manager.c_str(),
               pnl_proc::CommandLine(args).c_str(), spawned.message().c_str());
    return false;
  }
  kLog.Write(5, "started %s for manager \"%s\" (pid %d)", args[0].c_str(),
             manager.c_str(), static_cast<int>(pid));
  auto deadline = Clock::now() + kStartDeadline;
  for (;;) {
    int status = 0;
    pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid) {
      if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        kLog.Write(4, "the panel program of \"%s\" failed to start",
                   manager.c_str());
      return true;
    }
    if (r < 0 && errno != EINTR) return true;  // reaped elsewhere
    if (Clock::now() >= deadline) {
      kLog.Write(3, "the panel program of \"%s\" did not get ready",
                 manager.c_str());
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace

pnl::Status Exchange(const std::string& manager, const std::string& client_name,
                     const std::string& query, std::string* reply) {
  reply->clear();
  std::string request = query;
  // The query is one line: anything after a newline is not sent.
  size_t nl = request.find('\n');
  if (nl != std::string::npos) request.erase(nl);
  request += '\n';

  if (pnl_file::IsPlainName(manager)) {
    auto give_up = Clock::now() + kRetryBudget;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
      if (attempt > 0) {
        if (Clock::now() >= give_up) break;
        int pause = 100 * attempt;
        if (pause > 500) pause = 500;
        std::this_thread::sleep_for(std::chrono::milliseconds(pause));
      }
      int fd = Connect(manager);
      if (fd < 0) {
        StartPanel(manager);
        fd = Connect(manager);
        if (fd < 0) continue;
      }
      auto deadline = Clock::now() + kReplyDeadline;
      // A panel that refuses the request (too long) still answers it, so
      // the reply is read even when sending broke off.
      SendAll(fd, request, deadline);
      *reply = ReadReply(fd, deadline);
      close(fd);
      if (reply->empty()) {
        kLog.Write(4, "manager \"%s\" closed the connection without a reply",
                   manager.c_str());
        continue;
      }
      return pnl::Status();
    }
  }
  const pnl::Status unanswered = pnl::Status::Error(
      "no answer from manager \"" + manager + "\" to query \"" + query + "\"");
  kLog.Write(3, "%s: %s", client_name.c_str(), unanswered.message().c_str());
  return unanswered;
}

std::string SocketPath(const std::string& manager) {
  return "var/run/" + manager + ".socket";
}

std::string PidPath(const std::string& manager) {
  return "var/run/" + manager + ".pid";
}

}  // namespace pnl_client
