// Where the files that the programs share stand in an installation: the
// findings file that a run writes and the report tool and the fixer read,
// and a manager's description and message files. Every path is relative to
// the installation directory.
#ifndef FINDINGS_PATHS_H_
#define FINDINGS_PATHS_H_

#include <string>

namespace findings {

// "var/msglint", and the findings file in it, "var/msglint/findings.json".
std::string FindingsDir();
std::string FindingsFile();

// "etc/xml": the directory of the descriptions and message files.
std::string XmlDir();

// The main description of `manager`: "M.xml" in XmlDir().
std::string DescriptionFileName(const std::string& manager);
std::string DescriptionFile(const std::string& manager);

// The messages of `manager` in language `lang`: "M_msg_L.xml" in XmlDir().
std::string MessageFileName(const std::string& manager, const std::string& lang);
std::string MessageFile(const std::string& manager, const std::string& lang);

}  // namespace findings

#endif  // FINDINGS_PATHS_H_
