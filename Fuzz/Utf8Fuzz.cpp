// Texts for the log sink, which must receive UTF-8 even if a peer has sent other bytes.

#include <nlohmann/json.hpp>
#include <string>

#include "FuzzTarget.h"
#include "Utf8Text.h"

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::size_t kReplacementSize = sizeof kReplacement - 1;
constexpr std::size_t kLongestCharacter = 4;  // bytes

// The verdict of another library, which drops or replaces bytes that are not UTF-8.
bool IsUtf8(const std::string& text) {
  using Json = nlohmann::json;
  const Json value = text;
  return value.dump(-1, ' ', false, Json::error_handler_t::ignore) ==
         value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Number of bytes of the character that begins at `place`; 0 if there is none.
std::size_t CharacterAt(const std::string& text, std::size_t place) {
  for (std::size_t size = 1; size <= kLongestCharacter && place + size <= text.size(); ++size)
    if (IsUtf8(text.substr(place, size)))
      return size;
  return 0;
}

// The text with each byte replaced that does not belong to a character.
std::string Expected(const std::string& text) {
  std::string repaired;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t size = CharacterAt(text, place);
    if (size == 0)
      repaired.append(kReplacement, kReplacementSize);
    else
      repaired.append(text, place, size);
    place += size == 0 ? 1 : size;
  }
  return repaired;
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text bytes = input.TakeRest();
  const std::string text(bytes.c_str(), bytes.size());
  for (std::size_t place = 0; place < text.size(); ++place)
    FUZZ_PROPERTY(SizeOfUtf8At(text, place) == CharacterAt(text, place),
                  "a character begins where the other library sees one, and is as long");
  const std::string repaired = Utf8Of(text);
  FUZZ_PROPERTY(IsUtf8(repaired), "every text becomes UTF-8");
  FUZZ_PROPERTY(!IsUtf8(text) || repaired == text, "UTF-8 stays as it is");
  FUZZ_PROPERTY(repaired == Expected(text),
                "each byte that belongs to no character is replaced, and nothing else");
}
