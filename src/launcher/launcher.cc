// sbin/msglint: the launcher of the audit module.
//
// It loads lib/modules/msglint.so of the installation it belongs to (found
// from its own real location, so a symbolic link to it works as well),
// calls the module's entry kelmain with its own argument vector unchanged
// and exits with what kelmain returns. It never changes the current
// directory: the module takes the current directory as the installation to
// audit. A module that cannot be loaded is told on standard error and gives
// exit status 2.
//
// Its only output of its own: "--help" or "--version" as the one and only
// argument is answered here, before the module is loaded, with exit status
// 0. Any other argument vector, one holding "--help" among others included,
// goes to kelmain as it stands.
#include <stdio.h>
#include <string.h>

#include <string>

#include "pnl/file.h"
#include "pnl/module.h"
#include "version/version.h"

namespace {

// Exit status when the module cannot be loaded (the module itself uses 1 for
// command-line errors).
const int kLoadFailure = 2;

// The module's entry: argc and argv as the launcher got them.
typedef int (*EntryFunction)(int argc, char** argv);

// Directory part of `path` ("/" for a file at the root).
std::string DirName(const std::string& path) {
  std::string::size_type slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

int Fail(const std::string& module, const std::string& reason) {
  fprintf(stderr, "msglint: cannot load module %s: %s\n", module.c_str(), reason.c_str());
  return kLoadFailure;
}

void Help(const char* program) {
  printf(
      "Usage: %s pnl_name [-s|-f] language...\n"
      "Audits the XML descriptions and messages of manager pnl_name in the\n"
      "panel installation that is the current directory.\n"
      "\n"
      "Modes:\n"
      "  -f  full report: every audit (the default, also when the second\n"
      "      argument is not a mode)\n"
      "  -s  short report: the column hints and the missing messages only\n"
      "\n"
      "Each language is one argument: en ru, not en,ru. A run stops every\n"
      "process named kern that the user may stop (killall kern) and pauses\n"
      "10 seconds.\n"
      "\n"
      "  --help     show this help and exit (only as the one argument)\n"
      "  --version  show the version and exit (only as the one argument)\n"
      "\n"
      "Manual: man msglint, or share/man/man1/msglint.1.gz of the installation.\n",
      program);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "--help") == 0) {
    Help(argv[0]);
    return fflush(stdout) == 0 ? 0 : 1;
  }
  if (argc == 2 && strcmp(argv[1], "--version") == 0) {
    printf("msglint %s\n", MSGLINT_VERSION);
    return fflush(stdout) == 0 ? 0 : 1;
  }

  std::string self;
  if (pnl::Status found = pnl_file::RealPath("/proc/self/exe", &self); !found.ok())
    return Fail("msglint.so", found.cause());
  const std::string module = DirName(self) + "/../lib/modules/msglint.so";

  void* symbol = nullptr;
  if (pnl::Status loaded = pnl_module::LoadEntry(module, "kelmain", &symbol); !loaded.ok())
    return Fail(module, loaded.message());

  // The module stays loaded until the process ends: kelmain may end the
  // process itself with exit().
  EntryFunction kelmain = reinterpret_cast<EntryFunction>(symbol);
  return kelmain(argc, argv);
}
