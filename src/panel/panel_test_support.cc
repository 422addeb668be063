#include "panel/panel_test_support.h"

#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "pnl/client.h"

namespace panel_testing {

const char kDecl[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string Ask(const std::string& manager, const std::string& query) {
  pnl_client::Local client(manager, "test");
  return client.Query(query).ToString(true);
}

std::string Reply(const std::string& content) {
  return std::string(kDecl) + "<doc>" + content + "</doc>\n";
}

std::string EmptyReply() { return std::string(kDecl) + "<doc/>\n"; }

int RawConnect(const std::string& manager) {
  std::string path = pnl_client::SocketPath(manager);
  sockaddr_un addr;
  memset(&addr, 0, sizeof(addr));
  addr.sun_family = AF_UNIX;
  strcpy(addr.sun_path, path.c_str());
  int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

pid_t PanelPid(const testing_support::ScratchDir& dir, const std::string& manager) {
  return static_cast<pid_t>(atol(dir.Read("var/run/" + manager + ".pid").c_str()));
}

}  // namespace panel_testing
