// The lines of the messages in a manager's message files, for the SARIF
// locations of a repeated text: its finding names each message that holds
// the text by section and name, not by line. The files are read from the
// installation when first asked for, with a plain scan of their lines
// (<messages name="S"> opens section S, <msg name="N"> is message N of it),
// as the module writes the lines of the other findings.
#ifndef REPORT_MESSAGE_LINES_H_
#define REPORT_MESSAGE_LINES_H_

#include <map>
#include <string>
#include <utility>

namespace report {

class MessageLines {
 public:
  // The message files are read under `root`, the installation directory.
  explicit MessageLines(std::string root) : root_(std::move(root)) {}

  // The line of the first message `name` in the first section `section` of
  // `file` (a path relative to the installation); 0 when the file cannot
  // be read or has no such message.
  long Line(const std::string& file, const std::string& section, const std::string& name);

  // The lines of a message file's text, as Line finds them.
  using Index = std::map<std::pair<std::string, std::string>, long>;
  static Index IndexOf(const std::string& text);

 private:
  std::string root_;
  std::map<std::string, Index> files_;
};

}  // namespace report

#endif  // REPORT_MESSAGE_LINES_H_
