#include "pnl/str.h"

namespace str {

std::string GetWord(std::string& text, char sep) {
  std::string::size_type pos = text.find(sep);
  std::string word;
  if (pos == std::string::npos) {
    word.swap(text);
    text.clear();
    return word;
  }
  word = text.substr(0, pos);
  text.erase(0, pos + 1);
  return word;
}

std::string RGetWord(std::string& text, char sep) {
  std::string::size_type pos = text.rfind(sep);
  std::string word;
  if (pos == std::string::npos) {
    word.swap(text);
    text.clear();
    return word;
  }
  word = text.substr(pos + 1);
  text.erase(pos);
  return word;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

std::string Str(long value) { return std::to_string(value); }

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' ||
         c == '~';
}

}  // namespace

std::string UrlDecode(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (std::string::size_type i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '+') {
      out += ' ';
    } else if (c == '%' && i + 2 < text.size() &&
               HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 +
                               HexValue(text[i + 2]));
      i += 2;
    } else {
      out += c;
    }
  }
  return out;
}

std::string UrlEncode(const std::string& text) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (unsigned char c : text) {
    if (IsUnreserved(c)) {
      out += static_cast<char>(c);
    } else if (c == ' ') {
      out += '+';
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

}  // namespace str
