#include "testutils/MissedCheck.h"

// Placeholder bodies, replaced as each check lands.
void MissedCheck::initExludeList() {}
int MissedCheck::check() { return 0; }
bool MissedCheck::isExcludedProp(std::string, const std::string&) { return false; }
bool MissedCheck::usedFunctionToCheck(const std::string&, const std::string&,
                                      const std::string&) {
  return false;
}
void MissedCheck::add_kern_common_msg(pnl_xml::Xml&, const std::string&) {}
void MissedCheck::check_form_fields(bool, const pnl_xml::XmlNode&, std::vector<std::string>&,
                                    std::vector<std::string>&) {}
void MissedCheck::check_form_langs(const std::vector<std::string>&,
                                   const std::vector<std::string>&) {}
void MissedCheck::check_list() {}
void MissedCheck::check_mainmenu() {}
void MissedCheck::ValidateNext(pnl_xml::Xml, const std::string&, std::vector<std::string>,
                               const std::string&) {}
