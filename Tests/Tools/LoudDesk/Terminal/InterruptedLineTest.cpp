// What the end by a signal leaves on the terminal, in processes of their own.

#include "InterruptedLine.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

namespace louddesk {
namespace {

constexpr int kSurvived = 3;

TEST(InterruptedLineTest, ASignalEmptiesTheLineAndEndsTheProcessAllTheSame) {
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP})
    EXPECT_EXIT(
        {
          const InterruptedLine line(STDERR_FILENO, 10);
          raise(signalNumber);
        },
        testing::KilledBySignal(signalNumber), "^\r {9}\r$");
}

TEST(InterruptedLineTest, TerminalsOfAnyWidthAreTaken) {
  for (const std::size_t columns : {0U, 1U, 100000U})
    EXPECT_EXIT(
        {
          const InterruptedLine line(STDERR_FILENO, columns);
          raise(SIGINT);
        },
        testing::KilledBySignal(SIGINT), "^\r *\r$");
}

// As a shell starts jobs in the background.
TEST(InterruptedLineTest, AnIgnoredSignalStaysIgnored) {
  EXPECT_EXIT(
      {
        signal(SIGINT, SIG_IGN);
        const InterruptedLine line(STDERR_FILENO, 10);
        raise(SIGINT);
        _exit(kSurvived);
      },
      testing::ExitedWithCode(kSurvived), "^$");
}

TEST(InterruptedLineTest, AfterwardsSignalsAreAsBefore) {
  EXPECT_EXIT(
      {
        { const InterruptedLine line(STDERR_FILENO, 10); }
        raise(SIGINT);
      },
      testing::KilledBySignal(SIGINT), "^$");
}

}  // namespace
}  // namespace louddesk
