// Sends signals without a pause to the test's thread while the thread sends messages.

#pragma once

#include <czmq.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "CzmqFaults.h"
#include "Emulation.h"

/// During its lifetime another thread sends signals, as fast as it can, to the thread that made the
/// storm. They are handled, without SA_RESTART, while the work passed to During runs. Otherwise
/// they are blocked, so that they do not disturb the test itself.
class SignalStorm {
 public:
  SignalStorm() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(kSignal, &action, &mBefore);
    Block(true);
    mThread = std::thread([this, target = pthread_self()] {
      while (!mIsOver)
        pthread_kill(target, kSignal);
    });
  }

  ~SignalStorm() {
    mIsOver = true;
    mThread.join();
    Block(false);  // the last signal comes before its handler is removed
    sigaction(kSignal, &mBefore, nullptr);
  }

  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;

  template <typename Work>
  void During(Work work) {
    Block(false);
    work();
    Block(true);
  }

 private:
  static constexpr int kSignal = SIGUSR1;

  static void Block(bool isBlocked) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, kSignal);
    pthread_sigmask(isBlocked ? SIG_BLOCK : SIG_UNBLOCK, &set, nullptr);
  }

  struct sigaction mBefore {};  // previous handler of the signal
  std::atomic<bool> mIsOver{false};
  std::thread mThread;
};

/// Calls `send`, which sends on `socket`, under signals, and `receive` equally often without
/// signals, until signals have interrupted enough sends.
template <typename Send, typename Receive>
void SendUnderStorm(zsock_t* socket, Send send, Receive receive) {
  if (kIsEmulated)
    GTEST_SKIP() << "signals hardly ever interrupt a call in the emulator";
  constexpr int kSendsInARow = 100;
  constexpr int kEnough = 5;
  constexpr std::chrono::seconds kPatience{100};  // an idle machine takes about one
  const auto end = std::chrono::steady_clock::now() + kPatience;
  // A sender learns only every other millisecond how much the receiver has read, which is long
  // enough to fill its queue.
  zsock_set_sndhwm(socket, 0);
  faults::Reset();
  SignalStorm storm;
  while (faults::InterruptedSends() < kEnough && std::chrono::steady_clock::now() < end &&
         !testing::Test::HasFailure()) {
    storm.During([&send] {
      for (int i = 0; i < kSendsInARow; ++i)
        send();
    });
    for (int i = 0; i < kSendsInARow && !testing::Test::HasFailure(); ++i)
      receive();
  }
  EXPECT_GE(faults::InterruptedSends(), kEnough) << "signals interrupt too few sends";
}
