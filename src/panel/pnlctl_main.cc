// sbin/pnlctl -m M FUNC [key=value ...]: calls function FUNC of manager M's
// panel (starting the panel if needed). Exits 0 when the panel answers
// <ok/>, 1 otherwise with the panel's error on standard error. Standard
// output stays empty, except for "pnlctl --help" and "pnlctl --version".
#include <stdio.h>
#include <string.h>

#include <string>

#include "pnl/client.h"
#include "pnl/str.h"
#include "pnl/xml.h"
#include "version/version.h"

namespace {

int Usage() {
  fprintf(stderr, "usage: pnlctl -m manager function [key=value ...]\n");
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "--help") == 0) {
    printf("usage: pnlctl -m manager function [key=value ...]\n"
           "Calls a function of the manager's panel in the installation that is\n"
           "the current directory. Manual: man pnlctl.\n");
    return 0;
  }
  if (argc == 2 && strcmp(argv[1], "--version") == 0) {
    printf("pnlctl (msglint) %s\n", MSGLINT_VERSION);
    return 0;
  }
  if (argc < 4 || strcmp(argv[1], "-m") != 0) return Usage();
  std::string manager = argv[2];
  std::string function = argv[3];
  if (manager.empty() || function.empty()) return Usage();

  std::string query = "func=" + str::UrlEncode(function);
  for (int i = 4; i < argc; ++i) {
    std::string arg = argv[i];
    size_t eq = arg.find('=');
    if (eq == std::string::npos) return Usage();
    query += "&" + str::UrlEncode(arg.substr(0, eq)) + "=" +
             str::UrlEncode(arg.substr(eq + 1));
  }

  pnl_client::Local client(manager, "pnlctl");
  pnl_xml::Xml reply = client.Query(query);
  pnl_xml::XmlNode root = reply.GetRoot();
  for (pnl_xml::XmlNode child = root.FirstChild(); child; child = child.Next())
    if (child.Name() == "ok") return 0;

  std::string error;
  if (!root) {
    fprintf(stderr, "pnl_client: %s\n", client.Error().c_str());
    error = "no reply";
  } else {
    pnl_xml::XmlNode node = root.FindNode("error");
    error = node ? node.Str() : "no <ok/> in the reply";
  }
  fprintf(stderr, "pnlctl: %s: %s\n", manager.c_str(), error.c_str());
  return 1;
}
