// Control characters, and bytes that are none at all, in hexadecimal.

#include "PrintableText.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdio>

namespace louddesk {
namespace {

constexpr unsigned kSpace = 0x20;
constexpr unsigned kDelete = 0x7F;

// Lead bytes of UTF-8, how long their sequences are, and what the second byte may be. A shorter
// sequence would do below that; below U+00A0 there are only control characters.
struct Lead {
  unsigned first;
  unsigned last;
  std::size_t length;
  unsigned lowestSecond;
  unsigned highestSecond;
};

constexpr Lead kLeads[] = {
    {kSpace, kDelete - 1, 1, 0, 0}, {0xC2, 0xC2, 2, 0xA0, 0xBF}, {0xC3, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
};

using JsonWriter =
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                      rapidjson::CrtAllocator, rapidjson::kWriteValidateEncodingFlag>;

unsigned ByteAt(const std::string& text, std::size_t position) {
  return position < text.size() ? static_cast<unsigned char>(text[position]) : 0U;
}

bool Fits(const Lead& lead, const std::string& text, std::size_t begin) {
  if (lead.length > 1) {
    const unsigned second = ByteAt(text, begin + 1);
    if (second < lead.lowestSecond || second > lead.highestSecond)
      return false;
  }
  for (std::size_t i = 2; i < lead.length; ++i)
    if ((ByteAt(text, begin + i) & 0xC0) != 0x80)
      return false;
  return true;
}

// Bytes of the character that begins there and can be shown; 0 when there is none.
std::size_t LengthOfCharacter(const std::string& text, std::size_t begin) {
  const unsigned first = ByteAt(text, begin);
  for (const Lead& lead : kLeads)
    if (first >= lead.first && first <= lead.last)
      return Fits(lead, text, begin) ? lead.length : 0;
  return 0;
}

std::string Hexadecimal(unsigned byte) {
  char text[8];
  std::snprintf(text, sizeof text, "\\x%02X", byte);
  return text;
}

bool IsUtf8(const std::string& text) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  return writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string printable;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = LengthOfCharacter(text, i);
    printable += length > 0 ? text.substr(i, length) : Hexadecimal(ByteAt(text, i));
    i += std::max<std::size_t>(length, 1);
  }
  return printable;
}

std::string ToUtf8(const std::string& text) {
  constexpr char kReplacement[] = "\xEF\xBF\xBD";
  if (IsUtf8(text))
    return text;
  std::string result;
  for (const char c : text)
    result += static_cast<unsigned char>(c) < 0x80 ? std::string(1, c) : kReplacement;
  return result;
}

}  // namespace louddesk
