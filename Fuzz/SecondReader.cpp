// A second JSON reader. Stateless.

#include "SecondReader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

#include "JsonAccess.h"

namespace fuzz {

namespace {

using Json = nlohmann::json;

constexpr int kNumberOutOfRange = 406;  // the library's error number

constexpr char kAnyCharacter = 'x';
constexpr std::size_t kEscapeSize = 6;  // size of \uXXXX

// The highest double is 1.798e308. A reader may accept or reject numbers between these two.
constexpr long double kSurelyInRange = 1.79e308L;
constexpr long double kSurelyBeyond = 1.80e308L;

constexpr std::size_t kMostIntegerDigits = 308;
constexpr double kHighestExponent = 308;

bool IsHexDigit(char character) {
  return std::strchr("0123456789abcdefABCDEF", character) != nullptr && character != '\0';
}

// The code unit of the escape that begins at `place`; -1 if there is none.
long CodeUnit(const std::string& text, std::size_t place) {
  if (text.size() - place < kEscapeSize || text[place] != '\\' || text[place + 1] != 'u')
    return -1;
  for (std::size_t i = place + 2; i < place + kEscapeSize; ++i)
    if (!IsHexDigit(text[i]))
      return -1;
  return std::strtol(text.substr(place + 2, 4).c_str(), nullptr, 16);
}

bool IsFirstHalf(long unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsSecondHalf(long unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Replaces bytes that this library refuses but the service accepts by ordinary characters: bytes
// that are not UTF-8, and second halves of surrogate pairs without a first one. Outside of strings
// these remain errors.
std::string WithPlainCharacters(const char* text) {
  const std::string original = text;
  std::string plain;
  for (std::size_t i = 0; i < original.size();) {
    std::size_t size = original[i] == '\\' && i + 1 < original.size() ? 2 : 1;
    const long unit = CodeUnit(original, i);
    if (IsSecondHalf(unit)) {
      plain += kAnyCharacter;
      i += kEscapeSize;
      continue;
    }
    if (IsFirstHalf(unit) && IsSecondHalf(CodeUnit(original, i + kEscapeSize)))
      size = 2 * kEscapeSize;
    for (; size > 0; --size, ++i)
      plain += static_cast<unsigned char>(original[i]) > 127 ? kAnyCharacter : original[i];
  }
  return plain;
}

// Whether a reader may reject the number. A reader processes digits and exponents one by one, and
// may do so before it knows that the value is in range.
bool MayBeGivenUp(const std::string& number) {
  const std::size_t exponent = number.find_first_of("eE");
  const std::size_t digits = number.find_first_of(".eE") - (number[0] == '-' ? 1 : 0);
  return (exponent != std::string::npos &&
          std::strtod(number.c_str() + exponent + 1, nullptr) > kHighestExponent) ||
         (std::min(digits, number.size()) > kMostIntegerDigits);
}

Verdict JudgeNumber(const std::string& number) {
  const long double size = std::fabs(std::strtold(number.c_str(), nullptr));
  if (size > kSurelyBeyond)
    return Verdict::kRefused;
  return size > kSurelyInRange || MayBeGivenUp(number) ? Verdict::kEither : Verdict::kTaken;
}

// Follows the library through a text as long as the text may still be accepted.
class Judge : public nlohmann::json_sax<Json> {
 public:
  Verdict verdict() const { return mVerdict; }

  bool null() override { return CountValue(); }
  bool boolean(bool) override { return CountValue(); }
  bool number_integer(number_integer_t) override { return CountValue(); }
  bool number_unsigned(number_unsigned_t) override { return CountValue(); }
  bool number_float(number_float_t, const string_t& text) override {
    return CountValue() && Take(JudgeNumber(text));
  }
  bool string(string_t&) override { return CountValue(); }
  bool binary(binary_t&) override { return Take(Verdict::kRefused); }
  bool key(string_t&) override { return CountValue(); }
  bool start_object(std::size_t) override { return CountValue() && Enter(); }
  bool start_array(std::size_t) override { return CountValue() && Enter(); }
  bool end_object() override { return Leave(); }
  bool end_array() override { return Leave(); }
  bool parse_error(std::size_t, const std::string& token,
                   const nlohmann::detail::exception& fault) override {
    Take(fault.id == kNumberOutOfRange ? JudgeNumber(token) : Verdict::kRefused);
    return false;
  }

 private:
  bool CountValue() { return ++mValues <= json::kMaxValues || Take(Verdict::kRefused); }
  bool Enter() { return ++mNesting <= json::kMaxNesting || Take(Verdict::kRefused); }
  bool Leave() {
    --mNesting;
    return true;
  }

  // Whether the text may still be accepted.
  bool Take(Verdict verdict) {
    if (verdict != Verdict::kTaken)
      mVerdict = verdict;
    return mVerdict != Verdict::kRefused;
  }

  Verdict mVerdict = Verdict::kTaken;
  std::size_t mValues = 0;   // values and keys so far
  std::size_t mNesting = 0;  // objects and arrays that are open
};

}  // namespace

Verdict JudgeText(const char* text) {
  if (std::strlen(text) > json::kMaxDocumentSize)
    return Verdict::kRefused;
  Judge judge;
  Json::sax_parse(WithPlainCharacters(text), &judge);
  return judge.verdict();
}

}  // namespace fuzz
