#include "panel/panel.h"

#include "panel/cache.h"
#include "pnl/file.h"
#include "panel/query.h"
#include "pnl/log.h"

namespace panel {

namespace {

const pnl_log::Module kLog("panel", "panel");

const char kHeader[] = "<?xml version=\"1.0\"?>\n";

// Text made safe for element content. Bytes that XML cannot carry (control
// characters) become "?".
std::string Escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    unsigned char u = static_cast<unsigned char>(c);
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default:
        if (u < 0x20 && c != '\t' && c != '\n' && c != '\r')
          out += '?';
        else
          out += c;
    }
  }
  return out;
}

// Text taken from a request, quoted in a message: only printable ASCII is
// kept as it stands, so the reply stays well-formed whatever was sent.
std::string Quote(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    unsigned char u = static_cast<unsigned char>(c);
    out += (u >= 0x20 && u < 0x7f) ? c : '?';
  }
  return out + "\"";
}

std::string Doc(const std::string& content) {
  return std::string(kHeader) + "<doc>" + content + "</doc>\n";
}

}  // namespace

Panel::Panel(const std::string& manager) : manager_(manager) {}

ManagerCache& Panel::Cache() {
  if (!cache_ || !cache_->Fresh()) {
    if (cache_) kLog.Write(5, "a source file changed: reading the sources again");
    cache_ = std::make_unique<ManagerCache>(manager_);
  }
  return *cache_;
}

std::string Panel::ErrorReply(const std::string& message) {
  return Doc("<error>" + Escape(message) + "</error>");
}

std::string Panel::Handle(const std::string& request) {
  kLog.Write(5, "request: %s", request.c_str());
  Query query;
  std::string error;
  if (!query.Parse(request, &error)) {
    kLog.Write(3, "%s", error.c_str());
    return ErrorReply(error);
  }
  ManagerCache& cache = Cache();
  const std::string& function = query.Function();

  if (function == "session") {
    const std::string& lang = query.Get("lang");
    if (!pnl_file::IsPlainName(lang)) {
      error = "invalid language " + Quote(lang);
      kLog.Write(3, "%s", error.c_str());
      return ErrorReply(error);
    }
    if (!cache.WriteSession(lang, &error)) return ErrorReply(error);
    return Doc("<ok/>");
  }

  if (function == "actionlist") {
    std::string content;
    for (const std::string& action : cache.Actions())
      content += "<elem><action>" + Escape(action) + "</action></elem>";
    return Doc(content);
  }

  if (pnl_file::IsPlainName(function) && cache.IsKnownFunction(function)) {
    if (!cache.WriteChecked(function, &error)) return ErrorReply(error);
    return Doc("<ok/>");
  }

  error = "unknown function " + Quote(function);
  kLog.Write(3, "%s", error.c_str());
  return ErrorReply(error);
}

}  // namespace panel
