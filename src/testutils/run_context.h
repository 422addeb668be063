// One run of the audits: the manager it checks, its report mode and
// languages and the installation it runs in. kelmain makes it from its
// command line; tests and the audit fuzz target make their own.
#ifndef TESTUTILS_RUN_CONTEXT_H_
#define TESTUTILS_RUN_CONTEXT_H_

#include <string>
#include <vector>

struct RunContext {
  std::string manager;
  // "-f" (every audit) or "-s" (the column hints and the missing-message
  // audit only).
  std::string mode = "-f";
  // The languages kept for the audits.
  std::vector<std::string> langs;
  // The installation directory.
  std::string work_dir;
  // Whether the action-list audit runs in full mode: it asks the manager's
  // running panel, which a run without panels does not have.
  bool check_actions = true;

  bool Full() const { return mode == "-f"; }
  // The manager's XML cache, var/.xmlcache/M.
  std::string CacheDir() const { return work_dir + "/var/.xmlcache/" + manager; }
};

#endif  // TESTUTILS_RUN_CONTEXT_H_
