// The local client's XML side: the reply of a query as a document. Kept
// apart from the transport (client.cc) so that a program that only sends
// requests, such as pnlctl, links no XML parser.
#include "pnl/client.h"

namespace pnl_client {

Client::Client(const std::string& manager, const std::string& client_name)
    : manager_(manager), client_name_(client_name) {}

Client::~Client() = default;

pnl_xml::Xml Client::Query(const std::string& query) {
  pnl_xml::Xml doc;
  std::string reply;
  status_ = Exchange(manager_, client_name_, query, &reply);
  if (status_.ok()) doc.LoadFromString(reply, "reply of " + manager_);
  return doc;
}

Local::Local(const std::string& manager, const std::string& client_name)
    : Client(manager, client_name) {}

Local::~Local() = default;

}  // namespace pnl_client
