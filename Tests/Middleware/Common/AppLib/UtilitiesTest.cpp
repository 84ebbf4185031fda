// Helpers for bytes, texts and directories. Files live in a directory made for each test.

#include "Utilities.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace {

constexpr char kDumpHeader[] =
    "ADDR 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 0123456789ABCDEF\n";

std::vector<std::uint8_t> Bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

std::string Dump(const std::vector<std::uint8_t>& bytes) {
  testing::internal::CaptureStdout();
  PrintBuffer(bytes.data(), static_cast<int>(bytes.size()));
  return testing::internal::GetCapturedStdout();
}

std::string U64Hex(std::uint64_t value) {
  testing::internal::CaptureStdout();
  PrintU64Hex(value);
  return testing::internal::GetCapturedStdout();
}

std::string Times(int count, const std::string& text) {
  std::string result;
  for (int i = 0; i < count; ++i)
    result += text;
  return result;
}

std::string Uppercase(std::string text, std::uint8_t maximum) {
  ChangeToUppercase(text.data(), maximum);
  return text;
}

// A field of bytes of exact size, so that the address sanitizer checks every access to it.
class Field {
 public:
  explicit Field(const std::string& content) : bytes_(Bytes(content)) { bytes_.shrink_to_fit(); }

  std::string Text() {
    text_ = DataToString(bytes_.data(), static_cast<std::uint8_t>(bytes_.size()));
    return text_;
  }

  // Offset of the text in the field; valid after Text.
  std::ptrdiff_t Offset() const { return text_ - reinterpret_cast<const char*>(bytes_.data()); }

  std::string Content() const { return {bytes_.begin(), bytes_.end()}; }

 private:
  std::vector<std::uint8_t> bytes_;
  const char* text_ = nullptr;
};

class DirectoryTest : public testing::Test {
 protected:
  void SetUp() override {
    char path[] = "/tmp/UtilitiesTest-XXXXXX";
    ASSERT_NE(mkdtemp(path), nullptr);
    mRoot = path;
  }

  void TearDown() override {
    for (const char* name : {"link", "file"})
      unlink(Path(name).c_str());
    rmdir(Path("directory").c_str());
    rmdir(mRoot.c_str());
  }

  std::string Path(const std::string& name) const { return mRoot + "/" + name; }

  std::string MakeFile() const {
    std::FILE* file = std::fopen(Path("file").c_str(), "w");
    EXPECT_NE(file, nullptr);
    std::fclose(file);
    return Path("file");
  }

  std::string MakeDirectory() const {
    EXPECT_EQ(mkdir(Path("directory").c_str(), 0700), 0);
    return Path("directory");
  }

  std::string MakeLink(const std::string& target) const {
    EXPECT_EQ(symlink(target.c_str(), Path("link").c_str()), 0);
    return Path("link");
  }

  std::string mRoot;
};

mode_t PermissionsOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

}  // namespace

TEST(PrintBufferTest, NothingIsPrintedForACountBelowOne) {
  const std::uint8_t byte = 'x';
  testing::internal::CaptureStdout();
  PrintBuffer(&byte, 0);
  PrintBuffer(&byte, -1);
  PrintBuffer(nullptr, 4);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(PrintBufferTest, FullRowHasSixteenBytesAndTheirCharacters) {
  EXPECT_EQ(Dump(Bytes("0123456789ABCDEF")),
            std::string("Dumping 0x10 (16) bytes.\n") + kDumpHeader +
                "   0 30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 46 0123456789ABCDEF\n");
}

TEST(PrintBufferTest, SeventeenBytesMakeASecondRowWithFifteenMissingPlaces) {
  EXPECT_EQ(Dump(Bytes("0123456789ABCDEFG")),
            std::string("Dumping 0x11 (17) bytes.\n") + kDumpHeader +
                "   0 30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 46 0123456789ABCDEF\n"
                "  10 47 " +
                Times(15, ".. ") + "G\n");
}

TEST(PrintBufferTest, BytesOutsideThePrintableRangeShowAsDots) {
  EXPECT_EQ(Dump({0, 31, 32, 126, 127, 128, 255}), std::string("Dumping 0x07 (7) bytes.\n") +
                                                       kDumpHeader + "   0 00 1f 20 7e 7f 80 ff " +
                                                       Times(9, ".. ") + ".. ~...\n");
}

TEST(PrintBufferTest, OffsetGrowsToFourHexDigits) {
  const std::string dump = Dump(std::vector<std::uint8_t>(0x1001, 'a'));
  EXPECT_THAT(dump, HasSubstr("Dumping 0x1001 (4097) bytes.\n"));
  EXPECT_THAT(dump, HasSubstr("\n ff0 61 "));
  EXPECT_THAT(dump, HasSubstr("\n1000 61 .. "));
  // Two lines before the rows; 4097 = 256 * 16 + 1 bytes make 257 rows.
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 2 + 257);
}

TEST(PrintU64HexTest, HighWordComesFirstWithAllDigitsAndNoLineEnd) {
  EXPECT_EQ(U64Hex(0), "0x0000000000000000");
  EXPECT_EQ(U64Hex(0x0123456789abcdef), "0x0123456789abcdef");
  EXPECT_EQ(U64Hex(0xfedcba9800000001), "0xfedcba9800000001");
  EXPECT_EQ(U64Hex(UINT64_MAX), "0xffffffffffffffff");
}

TEST(CountCharsTest, EveryOccurrenceUpToTheTerminatorCounts) {
  EXPECT_EQ(CountChars('.', "1.2.3.4"), 3);
  EXPECT_EQ(CountChars('.', "..."), 3);
  EXPECT_EQ(CountChars('.', "1234"), 0);
  EXPECT_EQ(CountChars('.', ""), 0);
  EXPECT_EQ(CountChars('.', "1.2\0.3"), 1);
  EXPECT_EQ(CountChars('\xe4', "\xe4 \xe4"), 2);
}

TEST(CountCharsTest, TerminatorItselfDoesNotCount) {
  EXPECT_EQ(CountChars('\0', "abc"), 0);
}

TEST(CountCharsTest, MissingTextHasNone) {
  EXPECT_EQ(CountChars('.', nullptr), 0);
}

TEST(HasDigitsOnlyTest, OnlyTextsOfDecimalDigitsPass) {
  struct Case {
    const char* text;
    int expected;
  };
  const Case cases[] = {
      {"", 0},    {"0123", 1}, {"12a", 0}, {"0", 1},   {"9", 1},    {"0123456789", 1},
      {"a12", 0}, {"1 2", 0},  {"-1", 0},  {"1.5", 0}, {"/", 0},    {":", 0},
      {" 1", 0},  {"1\n", 0},  {"+1", 0},  {"0x1", 0}, {"\xb2", 0}, {"\xd9\xa3", 0},
  };
  for (const Case& row : cases)
    EXPECT_EQ(has_digits_only(row.text), row.expected) << '"' << row.text << '"';
  EXPECT_EQ(has_digits_only(nullptr), 0);
}

TEST(DataToStringTest, OuterBlanksGoAndControlBytesWithinBecomeBlanks) {
  Field field(
      "  AB\x01"
      "C  ");
  EXPECT_EQ(field.Text(), "AB C");
  EXPECT_EQ(field.Offset(), 2);
}

TEST(DataToStringTest, TextIsFoundBetweenItsFirstAndLastGraphicCharacter) {
  struct Case {
    std::string field;
    const char* text;
  };
  const Case cases[] = {
      {"AB  ", "AB"},
      {std::string("AB\0", 3), "AB"},
      {std::string("AB\0CD\0\0", 7), "AB CD"},
      {"\t\r\nA B\t\r\n", "A B"},
      {"A\x7f\x80\xff"
       "B ",
       "A   B"},
      {"!~ ", "!~"},
      {"A ", "A"},
      {" A ", "A"},
  };
  for (const Case& row : cases)
    EXPECT_EQ(Field(row.field).Text(), row.text) << testing::PrintToString(row.field);
}

TEST(DataToStringTest, LastByteOfTheFieldMakesRoomForTheTerminator) {
  Field field("ABCD");
  EXPECT_EQ(field.Text(), "ABC");
  EXPECT_EQ(field.Content(), std::string("ABC\0", 4));
}

TEST(DataToStringTest, BytesOutsideTheTextAreLeftAlone) {
  Field field(
      " \x01"
      "AB\x02\x03");
  EXPECT_EQ(field.Text(), "AB");
  EXPECT_EQ(field.Content(), std::string(" \x01"
                                         "AB\0\x03",
                                         6));
}

TEST(DataToStringTest, FieldWithoutGraphicCharacterIsTheEmptyText) {
  for (const std::string& content : {std::string("   "), std::string("\x01\x02\x7f\xff"),
                                     std::string(3, '\0'), std::string("  ")}) {
    Field field(content);
    EXPECT_EQ(field.Text(), "") << testing::PrintToString(content);
    EXPECT_EQ(field.Offset(), 0) << testing::PrintToString(content);
  }
}

TEST(DataToStringTest, GraphicCharacterInTheTerminatorsPlaceOnlyIsTheEmptyText) {
  Field field("  A");
  EXPECT_EQ(field.Text(), "");
  EXPECT_EQ(field.Offset(), 0);
}

TEST(DataToStringTest, FieldOfOneByteHoldsTheTerminatorOnly) {
  Field field("A");
  EXPECT_EQ(field.Text(), "");
  EXPECT_EQ(field.Offset(), 0);
}

TEST(DataToStringTest, LongestFieldIsReadWhole) {
  EXPECT_EQ(Field(std::string(255, 'A')).Text(), std::string(254, 'A'));
}

TEST(DataToStringTest, MissingFieldHasNoText) {
  EXPECT_EQ(DataToString(nullptr, 4), nullptr);
}

TEST(DataToStringTest, FieldOfNoBytesAborts) {
  std::uint8_t byte = 'A';
  EXPECT_EXIT(DataToString(&byte, 0), testing::KilledBySignal(SIGABRT),
              HasSubstr("Assertion `1 <= NumBytes' failed."));
}

TEST(ChangeToUppercaseTest, LettersUpToTheMaximumAreTurned) {
  EXPECT_EQ(Uppercase("abcdef", 3), "ABCdef");
  EXPECT_EQ(Uppercase("abc", 255), "ABC");
  EXPECT_EQ(Uppercase("abc", 3), "ABC");
  EXPECT_EQ(Uppercase("abc", 0), "abc");
  EXPECT_EQ(Uppercase("", 255), "");
}

TEST(ChangeToUppercaseTest, OnlyLowerCaseLettersOfAsciiChange) {
  EXPECT_EQ(Uppercase("`az{AZ09 _-\xe4\xfc", 255), "`AZ{AZ09 _-\xe4\xfc");
}

TEST(ChangeToUppercaseTest, LengthIsReckonedModulo256) {
  EXPECT_EQ(Uppercase(std::string(255, 'a'), 255), std::string(255, 'A'));
  EXPECT_EQ(Uppercase(std::string(256, 'a'), 255), std::string(256, 'a'));
  EXPECT_EQ(Uppercase(std::string(258, 'a'), 255), "AA" + std::string(256, 'a'));
}

TEST(ChangeToUppercaseTest, MissingTextIsLeftAlone) {
  EXPECT_EXIT((ChangeToUppercase(nullptr, 255), std::exit(0)), testing::ExitedWithCode(0), "");
}

TEST_F(DirectoryTest, PathExistsWhateverItIs) {
  EXPECT_EQ(if_path_exists(mRoot.c_str()), 0);
  EXPECT_EQ(if_path_exists(MakeFile().c_str()), 0);
  EXPECT_EQ(if_path_exists(Path("absent").c_str()), -1);
  EXPECT_EQ(if_path_exists(""), -1);
  EXPECT_EQ(if_path_exists(nullptr), -1);
}

TEST_F(DirectoryTest, OnlyADirectoryExistsAsOne) {
  EXPECT_EQ(if_dir_exists(mRoot.c_str()), 0);
  EXPECT_EQ(if_dir_exists(MakeLink(mRoot).c_str()), 0);
  EXPECT_EQ(if_dir_exists(MakeFile().c_str()), -1);
  EXPECT_EQ(if_dir_exists(Path("absent").c_str()), -1);
  EXPECT_EQ(if_dir_exists(nullptr), -1);
}

TEST_F(DirectoryTest, AbsentDirectoryIsMadeWithItsMode) {
  const mode_t previous = umask(0);
  EXPECT_EQ(do_mkdir(Path("directory").c_str(), 0751), 0);
  umask(previous);
  EXPECT_EQ(if_dir_exists(Path("directory").c_str()), 0);
  EXPECT_EQ(PermissionsOf(Path("directory")), 0751U);
}

TEST_F(DirectoryTest, ExistingDirectoryIsKeptAsItIs) {
  const std::string directory = MakeDirectory();
  EXPECT_EQ(do_mkdir(directory.c_str(), 0777), 0);
  EXPECT_EQ(PermissionsOf(directory), 0700U);
}

TEST_F(DirectoryTest, RegularFileInTheWayIsNotADirectory) {
  const std::string file = MakeFile();
  errno = 0;
  EXPECT_EQ(do_mkdir(file.c_str(), 0777), -1);
  EXPECT_EQ(errno, ENOTDIR);
}

// stat does not see a dangling link, but mkdir fails on it, as on a directory that another process
// has just made.
TEST_F(DirectoryTest, WhatAppearsBetweenLookingAndMakingCountsAsMade) {
  EXPECT_EQ(do_mkdir(MakeLink("nowhere").c_str(), 0777), 0);
}

TEST_F(DirectoryTest, OtherFailuresGiveTheirReason) {
  errno = 0;
  EXPECT_EQ(do_mkdir(Path("absent/directory").c_str(), 0777), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(do_mkdir((MakeFile() + "/directory").c_str(), 0777), -1);
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_EQ(do_mkdir(Path(std::string(300, 'a')).c_str(), 0777), -1);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(DirectoryTest, MissingPathCannotBeMade) {
  EXPECT_EQ(do_mkdir(nullptr, 0777), -1);
}
