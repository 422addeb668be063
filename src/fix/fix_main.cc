// sbin/msglint-fix: adds the messages that the last msglint run found
// missing to the manager's message files, and takes a language's messages
// out to a translators' PO file and their texts back in.
#include <iostream>
#include <string>
#include <vector>

#include "fix/fixer.h"
#include "version/version.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() == 1 && args[0] == "--version") {
    std::cout << "msglint-fix (msglint) " << MSGLINT_VERSION << std::endl;
    return 0;
  }
  fix::FixOptions options;
  bool help = false;
  std::string error;
  if (!fix::ParseFixArguments(args, &options, &help, &error)) {
    std::cerr << "msglint-fix: " << error << "\n" << fix::kFixUsage << std::endl;
    return 2;
  }
  if (help) {
    std::cout << fix::kFixUsage << std::endl;
    return 0;
  }
  return fix::RunFix(options, std::cout, std::cerr);
}
