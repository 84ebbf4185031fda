// The receiving thread.

#include "TapThread.h"

#include <csignal>
#include <cstdint>
#include <functional>
#include <utility>

namespace louddesk {
namespace {

constexpr Patience kAttention{100};

// Signals must interrupt the thread that writes.
std::thread WithoutSignals(std::function<void()> run) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(run));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace

TapThread::TapThread(ServiceTap& tap, MessageQueue& queue, Clock::time_point start)
    : mTap(tap), mQueue(queue), mStart(start), mMissing(tap.MissingText()) {
  mThread = WithoutSignals([this] { Run(); });
}

void TapThread::Stop() {
  mIsEnding = true;
  if (mThread.joinable())
    mThread.join();
}

std::string TapThread::MissingText() const {
  const std::lock_guard lock(mMutex);
  return mMissing;
}

void TapThread::Run() {
  while (!mIsEnding) {
    mTap.Wait(kAttention);
    TakeMessages();
  }
  mTap.Wait(Patience{0});
  TakeMessages();
}

void TapThread::TakeMessages() {
  const auto time = static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - mStart).count());
  for (SenderTap& tap : mTap.Taps())
    for (auto& messages = tap.Messages(); !messages.empty(); messages.pop_front())
      mQueue.Put({tap.Of(), time, std::move(messages.front())});
  const std::lock_guard lock(mMutex);
  mMissing = mTap.MissingText();
}

}  // namespace louddesk
