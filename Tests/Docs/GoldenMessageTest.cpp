// The notation of the example messages, and the detection of messages that differ from their
// example.

#include "GoldenMessage.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace {

using golden::Frames;
using golden::IsFrame;
using golden::IsMessage;
using golden::ParseMessage;
using golden::ReadMessage;
using testing::Matches;

Frames Parsed(const std::string& text) {
  Frames frames;
  EXPECT_TRUE(ParseMessage(text, frames)) << text;
  return frames;
}

TEST(GoldenMessageTest, EveryNotationGivesItsFrame) {
  EXPECT_EQ((Frames{"HbProc"}), Parsed("\"HbProc\"\n"));
  EXPECT_EQ((Frames{"a \"b\"\n"}), Parsed(R"("a \"b\"\n")"));
  EXPECT_EQ((Frames{""}), Parsed("\"\""));
  EXPECT_EQ((Frames{"{\"Command\":9}"}), Parsed("{\"Command\":9}"));
  EXPECT_EQ((Frames{"\x22\xfc"}), Parsed("hex: 22 fc"));
  EXPECT_EQ((Frames{std::string(126, '\0') + "\x01"}), Parsed("hex: 00*126 01"));
  EXPECT_EQ((Frames{"{\"Command\":100}"}), Parsed("file: application-command.json"));
}

TEST(GoldenMessageTest, FramesFollowTheLinesWithoutComments) {
  EXPECT_EQ((Frames{"topic", "{}", "\x01"}), Parsed("# one\n\"topic\"\n\n{}\n# two\nhex: 01\n"));
}

TEST(GoldenMessageTest, LinesThatAreNotFramesAreRefused) {
  for (const char* text : {"", "# nothing but a comment\n", "HbProc", "\"open", "\"a\" \"b\"", "[]",
                           "hex:22", "hex: 2", "hex: 222", "hex: GG", "hex: FC", "hex: 00*",
                           "hex: 00*x", "hex: 00x3", " \"indented\""}) {
    Frames frames = {"before"};
    EXPECT_FALSE(ParseMessage(text, frames)) << text;
    EXPECT_EQ((Frames{"before"}), frames) << text;
  }
}

TEST(GoldenMessageTest, MissingFileFailsTheTest) {
  using Reporter = testing::ScopedFakeTestPartResultReporter;
  testing::TestPartResultArray failures;
  {
    Reporter reporter(Reporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    EXPECT_EQ(Frames{}, ReadMessage("no such message.frames"));
  }
  EXPECT_GT(failures.size(), 0);
}

TEST(GoldenMessageTest, VariablePartStandsForANumber) {
  EXPECT_TRUE(IsFrame("<ms>|A|<line>|b", "1718000000123|A|7|b"));
  EXPECT_TRUE(IsFrame("<line>", "12"));
  EXPECT_FALSE(IsFrame("<ms>|A", "|A"));
  EXPECT_FALSE(IsFrame("<ms>|A", "12"));
  EXPECT_FALSE(IsFrame("<ms>|A", "1x2|A"));
  EXPECT_FALSE(IsFrame("<ms>", ""));
  EXPECT_FALSE(IsFrame("<s>", "12"));
}

TEST(GoldenMessageTest, EverythingElseCountsByteForByte) {
  EXPECT_TRUE(IsFrame("", ""));
  EXPECT_TRUE(IsFrame("{}", "{}"));
  EXPECT_FALSE(IsFrame("{}", "{"));
  EXPECT_FALSE(IsFrame("{", "{}"));
  EXPECT_FALSE(IsFrame("", "x"));
  EXPECT_FALSE(IsFrame("{}", "{ }"));
  EXPECT_FALSE(IsFrame(std::string("\0", 1), ""));
}

TEST(GoldenMessageTest, EveryFrameCounts) {
  const Frames example = {"HbAppCmd", "{\"Command\":9}"};
  EXPECT_TRUE(Matches(IsMessage("application-command-reboot.frames"))(example));
  for (const Frames& other :
       {Frames{}, Frames{"HbAppCmd"}, Frames{"HbAppCmd", ""}, Frames{"HbAppCmds", example[1]},
        Frames{"HbAppCmd", example[1], ""}, Frames{"HbAppCmd", "{\"Command\":8}"}})
    EXPECT_FALSE(Matches(IsMessage("application-command-reboot.frames"))(other))
        << testing::PrintToString(other);
}

}  // namespace
