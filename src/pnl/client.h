// The local client: sends queries to a manager's panel running in the
// installation that is the current directory.
//
// The panel of manager M listens on the Unix socket var/run/M.socket. A
// query is one line in URL-query form; the reply is one XML document, after
// which the panel closes the connection. When nothing answers, the client
// starts the panel (bin/M when it is executable, otherwise bin/kern -m M)
// and retries within a bounded time (seconds). A query that still gets no
// answer returns an empty document and writes a log record; status() then
// names the manager and the query, for the caller to tell where it sees
// fit. Nothing here prints, hangs or throws.
#ifndef PNL_CLIENT_H_
#define PNL_CLIENT_H_

#include <string>

#include "pnl/status.h"
#include "pnl/xml.h"

namespace pnl_client {

class Client {
 public:
  virtual ~Client();
  // Sends `query` and returns the reply document (empty on failure).
  pnl_xml::Xml Query(const std::string& query);
  // Ok after an answered Query; else why the last one got no answer: "no
  // answer from manager "M" to query "Q"".
  const pnl::Status& status() const { return status_; }

 protected:
  Client(const std::string& manager, const std::string& client_name);

 private:
  std::string manager_;
  std::string client_name_;
  pnl::Status status_;
};

// A client of the locally running manager `manager`.
class Local : public Client {
 public:
  Local(const std::string& manager, const std::string& client_name);
  ~Local() override;
};

// Sends `query` to `manager`'s panel (starting it when nothing answers, as
// above) and sets `reply` to the text of the reply; not ok (logged, and
// `reply` "") when no answer came. Needs no XML parser: a program that
// only sends requests links this alone.
pnl::Status Exchange(const std::string& manager, const std::string& client_name,
                     const std::string& query, std::string* reply);

// The socket path of `manager`'s panel, relative to the installation
// directory: "var/run/" + manager + ".socket".
std::string SocketPath(const std::string& manager);
// The pid file path, relative likewise: "var/run/" + manager + ".pid".
std::string PidPath(const std::string& manager);

}  // namespace pnl_client

#endif  // PNL_CLIENT_H_
