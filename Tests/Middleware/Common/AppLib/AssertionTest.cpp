// The assertion of the service. Built with NDEBUG, because it must work in every build type.

#ifndef NDEBUG
#define NDEBUG
#endif

#include "Assertion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "Emulation.h"

using testing::EndsWith;
using testing::KilledBySignal;

namespace {

constexpr char kThisFile[] = "Tests/Middleware/Common/AppLib/AssertionTest.cpp";

std::string Report(const std::string& file, int line, const std::string& text) {
  return file + ":" + std::to_string(line) + ": Assertion `" + text + "' failed.\n" +
         EmulatorAtEndBy(SIGABRT);
}

void FailWithOutputPending() {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  std::printf("last words;");
  FailAssertion("text", "File.cpp", 1);
}

}  // namespace

TEST(AssertionTest, HoldingConditionGoesOnInSilence) {
  testing::internal::CaptureStderr();
  LOUDCALC_ASSERT(1 + 1 == 2, "1 + 1 == 2");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(AssertionTest, ConditionIsEvaluatedOnce) {
  int evaluations = 0;
  LOUDCALC_ASSERT(++evaluations > 0, "++evaluations > 0");
  EXPECT_EQ(evaluations, 1);
}

TEST(AssertionTest, BrokenConditionAbortsWithTextFileAndLineEvenInARelease) {
  const int line = __LINE__ + 1;
  EXPECT_EXIT(LOUDCALC_ASSERT(1 + 1 == 3, "one and one\\n is 100% \"three\""),
              KilledBySignal(SIGABRT),
              EndsWith(Report(kThisFile, line, "one and one\\n is 100% \"three\"")));
}

TEST(AssertionTest, FailureReportsWhatItIsGivenAndAborts) {
  EXPECT_EXIT(FailAssertion("nullptr != out", "Folder/File.cpp", 4711), KilledBySignal(SIGABRT),
              EndsWith(Report("Folder/File.cpp", 4711, "nullptr != out")));
}

TEST(AssertionTest, OutputBeforeTheFailureIsNotLost) {
  EXPECT_EXIT(FailWithOutputPending(), KilledBySignal(SIGABRT),
              EndsWith("last words;" + Report("File.cpp", 1, "text")));
}

TEST(AssertionTest, IsAllowedWhereAStatementWithoutBracesIs) {
  bool reached = false;
  if (reached)
    LOUDCALC_ASSERT(false, "not reached");
  else
    reached = true;
  EXPECT_TRUE(reached);
}
