// Repair of texts that are not UTF-8.

#include "Utf8Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf8TextTest, CharactersOfEveryLengthStay) {
  // The first and the last character of each length, and those next to the surrogates.
  for (const char* text : {"", "a", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xEF\xBF\xBF",
                           "\xED\x9F\xBF", "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
                           "a\n\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\x8A!"})
    EXPECT_EQ(Utf8Of(text), text);
}

TEST(Utf8TextTest, EachByteOfNoCharacterIsReplaced) {
  const std::string x = "\xEF\xBF\xBD";
  struct {
    const char* text;
    std::string expected;
  } const cases[] = {
      {"\xFF", x},
      {"a\x80z", "a" + x + "z"},
      {"\xFF\xFE ok", x + x + " ok"},
      {"\xC3", x},                               // cut off
      {"ab\xE2\x82", "ab" + x + x},              // the same
      {"\xF0\x9F\x94", x + x + x},               // the same
      {"\xE2\x82\xC3\xA4", x + x + "\xC3\xA4"},  // another character begins
      {"\xC0\xAF", x + x},                       // longer than necessary
      {"\xE0\x9F\xBF", x + x + x},               // the same
      {"\xED\xA0\x80", x + x + x},               // a surrogate
      {"\xF4\x90\x80\x80", x + x + x + x},       // above U+10FFFF
      {"\xF5\x80", x + x},
  };
  for (const auto& row : cases)
    EXPECT_EQ(Utf8Of(row.text), row.expected) << testing::PrintToString(row.text);
}

// The text fills its memory exactly, so that a sanitizer notices a read beyond its end.
TEST(Utf8TextTest, CharacterCutOffByTheEndOfTheTextIsReplaced) {
  const std::string before(64, 'a');
  std::string text(before.size() + 1, '\xF0');
  text.replace(0, before.size(), before);
  EXPECT_EQ(Utf8Of(text), before + "\xEF\xBF\xBD");
}

TEST(Utf8TextTest, ZeroIsACharacterAndTheEndIsNone) {
  EXPECT_EQ(Utf8Of(std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(Utf8Of(std::string("\xE2\0", 2)), std::string("\xEF\xBF\xBD\0", 4));
}

}  // namespace
