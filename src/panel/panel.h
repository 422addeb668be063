// The panel's answers: turns one request line into the reply document's
// text, doing what the request asks (rebuilding the cache of a language,
// listing actions, writing the checked files of a function).
#ifndef PANEL_PANEL_H_
#define PANEL_PANEL_H_

#include <memory>
#include <string>

#include "panel/cache.h"

namespace panel {

class Panel {
 public:
  explicit Panel(const std::string& manager);

  // The reply to `request` (one line, without its newline): an XML
  // document "<doc>...</doc>". Never fails: a bad request gets
  // "<doc><error>...</error></doc>".
  std::string Handle(const std::string& request);

  // The reply to a request that could not be read (e.g. too long).
  static std::string ErrorReply(const std::string& message);

 private:
  // The manager's cache, kept between requests while its source files
  // stay unchanged.
  ManagerCache& Cache();

  std::string manager_;
  std::unique_ptr<ManagerCache> cache_;
};

}  // namespace panel

#endif  // PANEL_PANEL_H_
