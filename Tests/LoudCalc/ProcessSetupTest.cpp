// Signals and environment of the process.

#include "ProcessSetup.h"

#include <czmq.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace {

class ProcessSetupTest : public testing::Test {
 protected:
  void TearDown() override { zsys_interrupted = 0; }
};

TEST_F(ProcessSetupTest, TerminationAndInterruptRaiseTheFlagOfTheLoop) {
  EndOnTermination();
  for (const int signal : {SIGTERM, SIGINT}) {
    zsys_interrupted = 0;
    std::raise(signal);
    EXPECT_NE(zsys_interrupted, 0) << signal;
  }
}

TEST_F(ProcessSetupTest, TerminationBeforeTheLibraryIsUsedIsNotForgotten) {
  EndOnTermination();
  std::raise(SIGTERM);
  zsys_init();
  EXPECT_NE(zsys_interrupted, 0);
}

TEST_F(ProcessSetupTest, HandlerOutlastsTheLibrarysStart) {
  EndOnTermination();
  zsys_init();
  std::raise(SIGTERM);
  EXPECT_NE(zsys_interrupted, 0);
}

TEST_F(ProcessSetupTest, BlockedTerminationIsLetThrough) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  ASSERT_EQ(sigprocmask(SIG_BLOCK, &signals, nullptr), 0);
  std::raise(SIGTERM);
  EXPECT_EQ(zsys_interrupted, 0);
  EndOnTermination();
  EXPECT_NE(zsys_interrupted, 0);
}

TEST_F(ProcessSetupTest, StraySignalsAreIgnored) {
  IgnoreStraySignals();
  for (const int signal : {SIGHUP, SIGUSR1, SIGUSR2, SIGPIPE, SIGALRM, SIGXFSZ, SIGTTOU})
    EXPECT_EQ(std::raise(signal), 0) << signal;
  EXPECT_EQ(zsys_interrupted, 0);
}

TEST_F(ProcessSetupTest, VariablesOfTheLibraryAreForgottenAndOthersKept) {
  setenv("ZSYS_SNDHWM", "0", 1);
  setenv("ZSYS_LINGER", "10000", 1);
  setenv("ZSYS_", "", 1);
  setenv("XZSYS_SNDHWM", "1", 1);
  setenv("ZSYSTEM", "2", 1);
  ForgetLibraryEnvironment();
  for (const char* variable : {"ZSYS_SNDHWM", "ZSYS_LINGER", "ZSYS_"})
    EXPECT_EQ(std::getenv(variable), nullptr) << variable;
  EXPECT_STREQ(std::getenv("XZSYS_SNDHWM"), "1");
  EXPECT_STREQ(std::getenv("ZSYSTEM"), "2");
  EXPECT_NE(std::getenv("PATH"), nullptr);
}

TEST_F(ProcessSetupTest, AsManyFilesAsAreAllowedMayBeOpen) {
  for (const rlim_t allowed : {rlim_t{512}, rlim_t{300}}) {  // each is less than before
    const rlimit limit = {100, allowed};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    AllowManyClients();
    rlimit found = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &found), 0);
    EXPECT_EQ(found.rlim_cur, allowed);
  }
}

TEST_F(ProcessSetupTest, NoMoreFilesMayBeOpenThanAreNeeded) {
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  if (before.rlim_max <= kMostOpenFiles)
    GTEST_SKIP() << "only " << before.rlim_max << " files are allowed";
  for (const rlim_t soft : {rlim_t{100}, before.rlim_max}) {
    const rlimit limit = {soft, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    AllowManyClients();
    rlimit found = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &found), 0);
    EXPECT_EQ(found.rlim_cur, kMostOpenFiles);
  }
}

}  // namespace
