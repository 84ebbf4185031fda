// The base of the fuzz targets, and the replay of corpora.

#include "Replay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Assertion.h"
#include "FuzzTarget.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> gRun;  // inputs in the order in which the target got them

// The target's action on this input.
void ActOn(const std::string& input) {
  FUZZ_PROPERTY(input != "bad", "no input is bad");
  LOUDCALC_ASSERT(input != "assertion", "input != \"assertion\"");
  if (input == "exception")
    throw std::runtime_error("of the reader");
  while (input == "endless")
    usleep(1000);
}

fuzz::Input InputOf(const std::string& bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

std::string String(const fuzz::Text& text) {
  return {text.c_str(), text.size()};
}

class ReplayTest : public testing::Test {
 protected:
  ReplayTest() : mFolder(fs::path(testing::TempDir()) / ("replay-" + std::to_string(getpid()))) {
    gRun.clear();
  }
  ~ReplayTest() override { fs::remove_all(mFolder); }

  /// Writes a file into a folder of this test and returns the folder's path.
  std::string Write(const std::string& folder, const std::string& name, const std::string& bytes) {
    const fs::path path = mFolder / folder;
    fs::create_directories(path);
    std::ofstream(path / name, std::ios::binary) << bytes;
    return path;
  }

  std::string Missing() const { return mFolder / "missing"; }

  const fs::path mFolder;
};

using ReplayDeathTest = ReplayTest;

}  // namespace

void fuzz::TestOneInput(Input input) {
  gRun.push_back(String(input.TakeRest()));
  ActOn(gRun.back());
}

TEST_F(ReplayTest, EveryFileRunsInTheOrderOfNames) {
  Write("corpus", "b", std::string("two\0x", 5));
  const std::string corpus = Write("corpus", "a", "one");
  const std::string regressions = Write("regressions", "c", "");
  EXPECT_TRUE(fuzz::Replay({corpus, regressions}));
  EXPECT_THAT(gRun, testing::ElementsAre("one", std::string("two\0x", 5), ""));
}

TEST_F(ReplayTest, MissingFolderIsRefusedBeforeAnythingRuns) {
  const std::string corpus = Write("corpus", "a", "one");
  EXPECT_FALSE(fuzz::Replay({Missing(), corpus}));
  EXPECT_FALSE(fuzz::Replay({corpus, Missing()}));
  EXPECT_FALSE(fuzz::Replay({}));
  EXPECT_THAT(gRun, testing::IsEmpty());
}

TEST_F(ReplayTest, EmptyCorpusIsRefused) {
  const std::string corpus = Write("corpus/folder", "a", "one") + "/..";
  EXPECT_FALSE(fuzz::Replay({corpus}));
}

TEST_F(ReplayDeathTest, FailedPropertyEndsTheReplay) {
  EXPECT_DEATH(fuzz::Replay({Write("corpus", "a", "bad")}),
               "ReplayTest.cpp:[0-9]+: Property `no input is bad' does not hold\\.");
}

TEST_F(ReplayDeathTest, ReachedAssertionIsAFailedProperty) {
  EXPECT_DEATH(fuzz::Replay({Write("corpus", "a", "assertion")}),
               "Assertion `input != \"assertion\"' failed.*no input reaches an assertion");
}

TEST_F(ReplayDeathTest, ExceptionIsAFailedProperty) {
  EXPECT_DEATH(fuzz::Replay({Write("corpus", "a", "exception")}),
               "Exception of the reader.*no input ends in an exception");
}

TEST_F(ReplayDeathTest, InputThatTakesTooLongEndsTheReplay) {
  EXPECT_EXIT(fuzz::Replay({Write("corpus", "a", "endless")}, 1),
              testing::ExitedWithCode(EXIT_FAILURE), "The input takes too long\\.");
}

TEST_F(ReplayDeathTest, FailedPropertyIsSeenThroughTheSilence) {
  EXPECT_DEATH(
      {
        fuzz::Silence();
        std::fprintf(stderr, "said by the code under test");
        std::fflush(stderr);
        FUZZ_PROPERTY(false, "seen");
      },
      testing::AllOf(testing::ContainsRegex("Property `seen'"),
                     testing::Not(testing::HasSubstr("said by"))));
}

TEST(AssertionOfTest, AssertionIsCaughtWithItsText) {
  EXPECT_STREQ("text", fuzz::AssertionOf([] { LOUDCALC_ASSERT(false, "text"); }));
  EXPECT_EQ(nullptr, fuzz::AssertionOf([] {}));
}

TEST(FuzzInputTest, NumbersAreTakenLowestByteFirst) {
  const std::string bytes = "\x01\x02\x03\xff";
  fuzz::Input input = InputOf(bytes);
  EXPECT_EQ(0x01, input.TakeByte());
  EXPECT_EQ(0x0302u, input.TakeNumber(2));
  EXPECT_EQ(0xffu, input.TakeNumber(8));
  EXPECT_TRUE(input.IsEmpty());
}

TEST(FuzzInputTest, BeyondTheEndIsNothing) {
  const std::string bytes = "a";
  fuzz::Input input = InputOf(bytes);
  EXPECT_EQ("a", String(input.TakeText(2)));
  EXPECT_EQ(0, input.TakeByte());
  EXPECT_EQ(0u, input.TakeNumber(8));
  EXPECT_EQ("", String(input.TakeText(1)));
  EXPECT_EQ("", String(input.TakeTerminatedText()));
}

TEST(FuzzInputTest, TerminatedTextEndsBeforeTheZeroOrAtTheEnd) {
  const std::string bytes("ab\0\0cd", 6);
  fuzz::Input input = InputOf(bytes);
  EXPECT_EQ("ab", String(input.TakeTerminatedText()));
  EXPECT_EQ("", String(input.TakeTerminatedText()));
  EXPECT_EQ("cd", String(input.TakeTerminatedText()));
  EXPECT_TRUE(input.IsEmpty());
}

TEST(FuzzInputTest, TextIsTerminated) {
  EXPECT_STREQ("ab", InputOf("abc").TakeText(2).c_str());
  EXPECT_EQ(2u, InputOf("abc").TakeText(2).size());
}
