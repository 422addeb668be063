#include "support/example_install.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace testing_support {

void InstallExample(const ScratchDir& scratch) {
  const fs::path prefix(MSGLINT_INSTALLED_PREFIX);
  for (const char* program : {"bin/kern", "sbin/pnlctl", "sbin/msglint", "sbin/msglint-report",
                              "sbin/msglint-fix", "lib/modules/msglint.so"}) {
    ASSERT_TRUE(fs::exists(prefix / program)) << program;
    fs::create_directories((fs::path(scratch.path()) / program).parent_path());
    fs::create_symlink(prefix / program, fs::path(scratch.path()) / program);
  }
  fs::copy(fs::path(MSGLINT_SOURCE_DIR) / "examples/install", scratch.path(),
           fs::copy_options::recursive);
  scratch.AddManagerLink("mailpnl");
}

}  // namespace testing_support
