// Restoring the terminal when a signal ends the process, tested in child processes.

#include "FatalSignals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "Emulation.h"
#include "ProgressBar.h"

namespace louddesk {
namespace {

constexpr int kSurvived = 3;

// SIGABRT is the only fault that the sanitizers do not catch themselves.
TEST(FatalSignalsTest, ASignalRestoresTheTerminalAndEndsTheProcessAllTheSame) {
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT})
    EXPECT_EXIT(
        {
          const FatalSignals signals(ClearProgressLine);
          raise(signalNumber);
        },
        testing::KilledBySignal(signalNumber),
        testing::StrEq("\r\x1B[K" + EmulatorAtEndBy(signalNumber)));
}

// A shell starts background jobs in this way.
TEST(FatalSignalsTest, AnIgnoredSignalStaysIgnored) {
  EXPECT_EXIT(
      {
        signal(SIGINT, SIG_IGN);
        const FatalSignals signals(ClearProgressLine);
        raise(SIGINT);
        _exit(kSurvived);
      },
      testing::ExitedWithCode(kSurvived), "^$");
}

TEST(FatalSignalsTest, AHandlerStays) {
  EXPECT_EXIT(
      {
        signal(SIGINT, [](int) { _exit(kSurvived); });
        const FatalSignals signals(ClearProgressLine);
        raise(SIGINT);
      },
      testing::ExitedWithCode(kSurvived), "^$");
}

TEST(FatalSignalsTest, AfterwardsSignalsAreAsBefore) {
  EXPECT_EXIT(
      {
        { const FatalSignals signals(ClearProgressLine); }
        raise(SIGINT);
      },
      testing::KilledBySignal(SIGINT), "^$");
}

}  // namespace
}  // namespace louddesk
