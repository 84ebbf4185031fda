// Characters told from stray bytes. No state.

#include "Utf8Text.h"

#include <utf8.h>

#include <algorithm>

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::size_t kLargestCharacter = 4;     // bytes

}  // namespace

std::size_t SizeOfUtf8At(const std::string& text, std::size_t place) {
  const char* const begin = text.data() + place;
  const char* const end = begin + std::min(kLargestCharacter, text.size() - place);
  if (utf8::find_invalid(begin, end) == begin)
    return 0;
  const char* next = begin;
  utf8::unchecked::next(next);
  return static_cast<std::size_t>(next - begin);
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
