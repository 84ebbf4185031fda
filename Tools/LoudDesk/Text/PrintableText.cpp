// Escapes control characters and invalid UTF-8 in hexadecimal.

#include "PrintableText.h"

#include <fmt/format.h>

#include "Utf8Text.h"

namespace louddesk {
namespace {

// U+0000 to U+001F, U+007F and U+0080 to U+009F.
bool IsControl(const std::string& character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (character.size() == 2)
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
  return first < 0x20 || first == 0x7F;
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string printable;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t size = SizeOfUtf8At(text, place);
    const std::string bytes = text.substr(place, size == 0 ? 1 : size);
    if (size > 0 && !IsControl(bytes))
      printable += bytes;
    else
      for (const char byte : bytes)
        printable += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
    place += bytes.size();
  }
  return printable;
}

}  // namespace louddesk
