#include "findings/paths.h"

namespace findings {

std::string FindingsDir() { return "var/msglint"; }

std::string FindingsFile() { return FindingsDir() + "/findings.json"; }

std::string XmlDir() { return "etc/xml"; }

std::string DescriptionFileName(const std::string& manager) { return manager + ".xml"; }

std::string DescriptionFile(const std::string& manager) {
  return XmlDir() + "/" + DescriptionFileName(manager);
}

std::string MessageFileName(const std::string& manager, const std::string& lang) {
  return manager + "_msg_" + lang + ".xml";
}

std::string MessageFile(const std::string& manager, const std::string& lang) {
  return XmlDir() + "/" + MessageFileName(manager, lang);
}

}  // namespace findings
