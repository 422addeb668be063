// bin/kern [-m M]: the reference panel. It serves manager M, given by -m or
// else by the name it was started as (a link bin/M -> kern serves M), in
// the installation that is the current directory. It detaches and exits 0
// once the panel is ready to answer.
#include <stdio.h>
#include <string.h>

#include <string>

#include "panel/cache.h"
#include "panel/panel.h"
#include "panel/server.h"

namespace {

void Usage() { fprintf(stderr, "usage: kern [-m manager]\n"); }

}  // namespace

int main(int argc, char** argv) {
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
  if (!panel::SafeName(manager)) {
    fprintf(stderr, "kern: invalid manager name \"%s\"\n", manager.c_str());
    return 1;
  }

  panel::Panel panel(manager);
  panel::ServerOptions options;
  options.too_long_reply = panel::Panel::ErrorReply("request too long");
  return panel::StartDetached(
      manager,
      [&panel](const std::string& request) { return panel.Handle(request); },
      options);
}
