// Repair of texts for the log sink, whose messages are JSON and so UTF-8. No state.

#include "Utf8Text.h"

#include <rapidjson/encodings.h>
#include <rapidjson/stream.h>

#include <cstddef>

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// A character has at most four bytes. When the last one of a text is cut off, the decoder reads up
// to three bytes past the end.
constexpr std::size_t kBytesReadBeyondTheEnd = 3;

// Bytes of the character that begins at `text`; 0 when none does.
std::size_t SizeOfCharacter(const char* text) {
  rapidjson::StringStream stream(text);
  unsigned codePoint = 0;
  return rapidjson::UTF8<>::Decode(stream, &codePoint) ? stream.Tell() : 0;
}

}  // namespace

std::string Utf8Of(const std::string& text) {
  const std::string padded = text + std::string(kBytesReadBeyondTheEnd, '\0');
  std::string repaired;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t size = SizeOfCharacter(padded.c_str() + place);
    if (size == 0)
      repaired += kReplacement;
    else
      repaired.append(text, place, size);
    place += size == 0 ? 1 : size;
  }
  return repaired;
}
