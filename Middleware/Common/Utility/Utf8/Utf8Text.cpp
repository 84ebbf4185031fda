// Checking and repairing UTF-8. Stateless.

#include "Utf8Text.h"

#include <rapidjson/encodings.h>
#include <rapidjson/stream.h>

#include <algorithm>

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::size_t kLargestCharacter = 4;     // bytes

// Takes the validated character, which is not needed.
struct Discard {
  void Put(char) {}
};

}  // namespace

std::size_t SizeOfUtf8At(const std::string& text, std::size_t place) {
  // RapidJSON reads as many bytes as the first one announces, even past the end of the text.
  char bytes[kLargestCharacter + 1] = {};
  text.copy(bytes, kLargestCharacter, place);
  rapidjson::StringStream reader(bytes);
  Discard nowhere;
  return rapidjson::UTF8<>::Validate(reader, nowhere) ? reader.Tell() : 0;
}

std::string Utf8Of(const std::string& text) {
  std::string repaired;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t size = SizeOfUtf8At(text, place);
    if (size == 0)
      repaired += kReplacement;
    else
      repaired.append(text, place, size);
    place += std::max<std::size_t>(size, 1);
  }
  return repaired;
}
