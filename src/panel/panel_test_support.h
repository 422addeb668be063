// What the tests of the panel share: asking a running panel (through the
// client, or over a bare connection to its socket), the replies it gives,
// and the pid it wrote.
#ifndef PANEL_PANEL_TEST_SUPPORT_H_
#define PANEL_PANEL_TEST_SUPPORT_H_

#include <sys/types.h>

#include <string>

#include "support/scratch_dir.h"

namespace panel_testing {

// The XML declaration that starts every reply and cache file.
extern const char kDecl[];

// The reply of `manager`'s panel (started when none runs) to `query`, as
// the client gets it.
std::string Ask(const std::string& manager, const std::string& query);

// A reply document holding `content`, and one holding nothing.
std::string Reply(const std::string& content);
std::string EmptyReply();

// A connection to the socket of `manager`'s panel that has sent nothing;
// -1 when nothing listens there.
int RawConnect(const std::string& manager);

// The pid in `manager`'s pid file under `dir`; 0 when there is none.
pid_t PanelPid(const testing_support::ScratchDir& dir, const std::string& manager);

}  // namespace panel_testing

#endif  // PANEL_PANEL_TEST_SUPPORT_H_
