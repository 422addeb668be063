// bin/kern [-m M]: the reference panel. It serves manager M, given by -m or
// else by the name it was started as (a link bin/M -> kern serves M), in
// the installation that is the current directory. It detaches and exits 0
// once the panel is ready to answer. "kern --help" and "kern --version"
// only print.
#include <stdio.h>
#include <string.h>

#include <string>

#include "panel/cache.h"
#include "pnl/file.h"
#include "panel/panel.h"
#include "pnl/server.h"
#include "pnl/xml.h"
#include "version/version.h"

namespace {

void Usage() { fprintf(stderr, "usage: kern [-m manager]\n"); }

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "--help") == 0) {
    printf("usage: kern [-m manager]\n"
           "Serves the manager (by default the name it was started as) of the\n"
           "installation that is the current directory. Manual: man kern.\n");
    return 0;
  }
  if (argc == 2 && strcmp(argv[1], "--version") == 0) {
    printf("kern (msglint) %s\n", MSGLINT_VERSION);
    return 0;
  }
  std::string manager;
  if (argc == 3 && strcmp(argv[1], "-m") == 0) {
    manager = argv[2];
  } else if (argc == 1 && argv[0] != nullptr) {
    manager = argv[0];
    size_t slash = manager.rfind('/');
    if (slash != std::string::npos) manager.erase(0, slash + 1);
  } else {
    Usage();
    return 1;
  }
  if (!pnl_file::IsPlainName(manager)) {
    fprintf(stderr, "kern: invalid manager name \"%s\"\n", manager.c_str());
    return 1;
  }

  // The panel keeps what it needs of each file it reads, not the document.
  pnl_xml::SetKeepParsedFiles(false);
  panel::Panel panel(manager);
  pnl_server::ServerOptions options;
  options.too_long_reply = panel::Panel::ErrorReply("request too long");
  const pnl::Status started = pnl_server::StartDetached(
      manager,
      [&panel](const std::string& request) { return panel.Handle(request); },
      options);
  if (started.ok()) return 0;
  fprintf(stderr, "kern: %s\n", started.message().c_str());
  return 1;
}
