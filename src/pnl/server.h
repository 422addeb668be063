// The server side of a manager's local socket: detaching from the caller,
// making sure one server at most serves a manager (var/run/M.lock), the
// pid file var/run/M.pid and the loop that reads requests from
// var/run/M.socket and writes replies.
//
// Everything is relative to the current directory, the installation, and
// reached through pnl_file::DirHandle: a link at var, var/run, var/log or
// any file of the server there stops the start (logged, nothing written).
#ifndef PNL_SERVER_H_
#define PNL_SERVER_H_

#include <functional>
#include <string>

#include "pnl/status.h"

namespace pnl_server {

// Turns a request line into the reply text.
using Handler = std::function<std::string(const std::string& request)>;

struct ServerOptions {
  // Seconds a connection may take to send its request.
  int read_seconds = 3;
  // Seconds without requests after which the panel exits.
  int idle_seconds = 60;
  // Longest request accepted, in bytes, newline excluded.
  std::size_t max_request = 64 * 1024;
  // The reply to a longer request.
  std::string too_long_reply;
};

// Starts the server of `manager` in the background and returns, in the
// starting process, ok once the detached server is ready to answer (or
// another server of the manager already runs), not ok when it could not
// start, the message saying why ("cannot use var/run is a symbolic link",
// "unsafe installation: var/log/M.log is a directory", "the panel of M did
// not start: ... (see var/log/M.log)"). The detached process serves
// requests with `handler` and never returns from this function.
pnl::Status StartDetached(const std::string& manager, const Handler& handler,
                          const ServerOptions& options);

}  // namespace pnl_server

#endif  // PNL_SERVER_H_
