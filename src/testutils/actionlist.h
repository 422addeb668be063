// The action-list check (full mode, per language): cached description
// files of the manager whose name is no action that its running panel
// knows.
#ifndef TESTUTILS_ACTIONLIST_H_
#define TESTUTILS_ACTIONLIST_H_

#include <string>

#include "testutils/run_context.h"

// Lists the cached description files of `lang` whose name is no action of
// the running manager.
void check_actionlist(RunContext& run, const std::string& lang);

#endif  // TESTUTILS_ACTIONLIST_H_
