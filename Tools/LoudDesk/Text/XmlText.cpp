// Escaping for XML.

#include "XmlText.h"

#include "Utf8Text.h"

namespace louddesk {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// Valid in UTF-8 but not allowed in XML.
constexpr const char* kNoncharacters[] = {"\xEF\xBF\xBE", "\xEF\xBF\xBF"};

std::string EscapedByte(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? kReplacement : std::string(1, c);
  }
}

}  // namespace

std::string XmlEscaped(const std::string& text) {
  std::string result;
  for (const char c : Utf8Of(text))
    result += EscapedByte(c);
  for (const char* bytes : kNoncharacters)
    for (std::size_t at = 0; (at = result.find(bytes, at)) != std::string::npos;)
      result.replace(at, 3, kReplacement);
  return result;
}

}  // namespace louddesk
