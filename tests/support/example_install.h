// The example installation (examples/install of the source tree: the base
// manager kern and the mail manager mailpnl) laid out in a scratch
// directory over the installed programs, for the tests that run the
// installed launcher and tools on it as a user does.
#ifndef TESTS_SUPPORT_EXAMPLE_INSTALL_H_
#define TESTS_SUPPORT_EXAMPLE_INSTALL_H_

#include "support/scratch_dir.h"

namespace testing_support {

// Copies the example installation into `scratch`, links the programs of
// the installation that the test e2e_install lays out under the build tree
// (bin/kern, sbin/pnlctl, sbin/msglint, sbin/msglint-report,
// sbin/msglint-fix, lib/modules/msglint.so) into it, and adds the manager
// link bin/mailpnl. A program missing from that installation fails the
// test.
void InstallExample(const ScratchDir& scratch);

}  // namespace testing_support

#endif  // TESTS_SUPPORT_EXAMPLE_INSTALL_H_
