// Names made of arbitrary bytes, as shown on a terminal.

#include "PrintableText.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

TEST(PrintableTextTest, TextsOfAnyLanguageStayAsTheyAre) {
  for (const char* text : {"", "a.wav", "with blanks & \"quotes\".wav", "back\\slash",
                           "\xC3\xA4\xC3\xB6.wav", "\xC2\xA0", "\xE2\x99\xAB", "\xED\x9F\xBF",
                           "\xEE\x80\x80", "\xF0\x9F\x8E\xB5", "\xF4\x8F\xBF\xBF"})
    EXPECT_EQ(Printable(text), text);
}

TEST(PrintableTextTest, ControlCharactersAreWrittenInHexadecimal) {
  EXPECT_EQ(Printable("red\x1B[31m.wav"), "red\\x1B[31m.wav");
  EXPECT_EQ(Printable("two\nlines\r\t.wav"), "two\\x0Alines\\x0D\\x09.wav");
  EXPECT_EQ(Printable("\x7F"), "\\x7F");
  EXPECT_EQ(Printable(std::string(1, '\0')), "\\x00");
}

// U+009B begins a control sequence, like ESC [.
TEST(PrintableTextTest, ControlCharactersOfTwoBytesAreToo) {
  EXPECT_EQ(Printable("\xC2\x9B"
                      "31m"),
            "\\xC2\\x9B"
            "31m");
  EXPECT_EQ(Printable("\xC2\x80"), "\\xC2\\x80");
}

TEST(PrintableTextTest, BytesThatAreNotUtf8AreWrittenInHexadecimal) {
  struct {
    const char* text;
    const char* printable;
  } const cases[] = {
      {"caf\xE9.wav", "caf\\xE9.wav"},  // Latin-1
      {"\x9B"
       "31m",
       "\\x9B"
       "31m"},                                       // a control character there
      {"\xC0\x9B", "\\xC0\\x9B"},                    // longer than needed
      {"\xE0\x82\x9B", "\\xE0\\x82\\x9B"},           // longer than needed
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},           // half of a pair
      {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},  // beyond U+10FFFF
      {"\xC3", "\\xC3"},                             // the second byte is missing
      {"\xE2\x99", "\\xE2\\x99"},                    // the third
      {"\xE2\x99"
       "a",
       "\\xE2\\x99"
       "a"},                                // the third is another character
      {"\xF0\x9F\x8E", "\\xF0\\x9F\\x8E"},  // the fourth
      {"\xFF", "\\xFF"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Printable(c.text), c.printable);
}

TEST(PrintableTextTest, ApplyingItAgainChangesNothing) {
  const std::string once = Printable("a\x1B\xC2\x9B\xFF\n\\x");
  EXPECT_EQ(Printable(once), once);
}

}  // namespace
}  // namespace louddesk
