// The panel's process and socket handling: detaching from the caller,
// making sure one panel at most serves a manager, and the loop that reads
// requests from var/run/M.socket and writes replies.
//
// Everything is relative to the current directory, the installation.
#ifndef PANEL_SERVER_H_
#define PANEL_SERVER_H_

#include <functional>
#include <string>

namespace panel {

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

// Starts the panel of `manager` in the background and returns the exit
// status for the starting process: 0 once the detached panel is ready to
// answer (or another panel of the manager already runs), 1 when it could
// not start. The detached process serves requests with `handler` and never
// returns from this function.
int StartDetached(const std::string& manager, const Handler& handler,
                  const ServerOptions& options);

}  // namespace panel

#endif  // PANEL_SERVER_H_
