// Where a message stands in a manager's message file: the one reader of
// message-file lines, used by the module for its findings and by
// msglint-report for the SARIF locations of a repeated text.
#ifndef FINDINGS_SOURCE_LINES_H_
#define FINDINGS_SOURCE_LINES_H_

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace findings {

// Lines of the messages sections and messages of the installation's message
// files (etc/xml/M_msg_L.xml), found by walking the parsed file (never by a
// query built from names). A file that is not well-formed is never handed
// to the parser that reports on standard error; it gives no lines.
class SourceLines {
 public:
  struct File;
  // The file read last, by any SourceLines of a run, and the path and stamp
  // it was read with: the audits of a run ask one after the other for lines
  // of the same message file, which is then parsed once rather than once
  // per audit. The run keeps it; it
  // holds the file while it is unchanged (same size, modification time and
  // inode), and an empty LastFile lets go of it.
  struct LastFile {
    std::string path;
    std::string stamp;
    std::shared_ptr<File> file;
  };

  SourceLines(std::string work_dir, LastFile& last)
      : work_dir_(std::move(work_dir)), last_(last) {}

  // Line of msg `name` of section `section` (of section itself when `name`
  // is empty) in language `lang`'s message file of `manager`; 0 if absent.
  long Message(const std::string& manager, const std::string& lang,
               const std::string& section, const std::string& name);

 private:
  File& Load(const std::string& rel);
  std::string work_dir_;
  LastFile& last_;
  std::map<std::string, std::shared_ptr<File>> files_;
};

}  // namespace findings

#endif  // FINDINGS_SOURCE_LINES_H_
