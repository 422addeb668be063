// sbin/pnlctl -m M FUNC [key=value ...]: calls function FUNC of manager M's
// panel (starting the panel if needed). Exits 0 when the panel answers
// <ok/>, 1 otherwise with the panel's error on standard error. Standard
// output stays empty, except for "pnlctl --help" and "pnlctl --version".
//
// The audit runs it once per missing hint, so it must start fast: it links
// no XML parser (the panel's replies are read as text: the reply to a
// function is "<doc><ok/></doc>", an error "<doc><error>TEXT</error></doc>"
// with TEXT escaped) and is linked statically.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "pnl/client.h"
#include "pnl/str.h"
#include "version/version.h"

namespace {

int Usage() {
  fprintf(stderr, "usage: pnlctl -m manager function [key=value ...]\n");
  return 1;
}

// Appends the code point `c` to `out` in UTF-8.
void AppendUtf8(unsigned long c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xc0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3f));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xe0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (c & 0x3f));
  } else {
    out += static_cast<char>(0xf0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3f));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (c & 0x3f));
  }
}

// The text of element content: the predefined entities and character
// references decoded, anything else kept as it stands.
std::string Unescape(const std::string& text) {
  static const struct {
    const char* name;
    char c;
  } kEntities[] = {{"amp;", '&'}, {"lt;", '<'}, {"gt;", '>'}, {"quot;", '"'}, {"apos;", '\''}};
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '&') {
      out += text[i];
      continue;
    }
    bool done = false;
    for (const auto& entity : kEntities) {
      size_t len = strlen(entity.name);
      if (text.compare(i + 1, len, entity.name) == 0) {
        out += entity.c;
        i += len;
        done = true;
        break;
      }
    }
    if (!done && i + 2 < text.size() && text[i + 1] == '#') {
      size_t semi = text.find(';', i);
      if (semi != std::string::npos) {
        const bool hex = text[i + 2] == 'x';
        const std::string digits = text.substr(i + (hex ? 3 : 2), semi - i - (hex ? 3 : 2));
        char* end = nullptr;
        unsigned long c = strtoul(digits.c_str(), &end, hex ? 16 : 10);
        if (!digits.empty() && end != nullptr && *end == '\0' && c > 0 && c <= 0x10ffff) {
          AppendUtf8(c, out);
          i = semi;
          done = true;
        }
      }
    }
    if (!done) out += '&';
  }
  return out;
}

// The error of a reply that holds no <ok/>.
std::string ErrorOf(const std::string& reply) {
  const size_t open = reply.find("<error>");
  if (open == std::string::npos) {
    if (reply.find("<error/>") != std::string::npos) return "";
    return "no <ok/> in the reply";
  }
  const size_t start = open + strlen("<error>");
  const size_t close = reply.find("</error>", start);
  if (close == std::string::npos) return "no <ok/> in the reply";
  return Unescape(reply.substr(start, close - start));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "--help") == 0) {
    printf("usage: pnlctl -m manager function [key=value ...]\n"
           "Calls a function of the manager's panel in the installation that is\n"
           "the current directory. Manual: man pnlctl.\n");
    return 0;
  }
  if (argc == 2 && strcmp(argv[1], "--version") == 0) {
    printf("pnlctl (msglint) %s\n", MSGLINT_VERSION);
    return 0;
  }
  if (argc < 4 || strcmp(argv[1], "-m") != 0) return Usage();
  std::string manager = argv[2];
  std::string function = argv[3];
  if (manager.empty() || function.empty()) return Usage();

  std::string query = "func=" + str::UrlEncode(function);
  for (int i = 4; i < argc; ++i) {
    std::string arg = argv[i];
    size_t eq = arg.find('=');
    if (eq == std::string::npos) return Usage();
    query += "&" + str::UrlEncode(arg.substr(0, eq)) + "=" +
             str::UrlEncode(arg.substr(eq + 1));
  }

  std::string reply;
  const pnl::Status answered = pnl_client::Exchange(manager, "pnlctl", query, &reply);
  // Text inside the reply is escaped, so "<ok/>" there is the element.
  if (reply.find("<ok/>") != std::string::npos) return 0;

  std::string error;
  if (!answered.ok()) {
    fprintf(stderr, "pnl_client: %s\n", answered.message().c_str());
    error = "no reply";
  } else {
    error = ErrorOf(reply);
  }
  fprintf(stderr, "pnlctl: %s: %s\n", manager.c_str(), error.c_str());
  return 1;
}
