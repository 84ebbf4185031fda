// Preloaded into the service: on average, every third call of poll fails as if a signal had
// interrupted it. The messaging library polls in each of its calls that a signal may interrupt; the
// loop polls when it waits.

#include <dlfcn.h>
#include <poll.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

std::atomic<unsigned> gInterruptions{0};

// Uses the same pseudo-random numbers every time. A short period could match the number of polls in
// a round of the loop and interrupt every round, so that none would ever end.
bool IsInterrupted() {
  thread_local std::mt19937 random;
  return random() % 3 == 0;
}

// Writes the number of interrupted calls to a file if the test asks for it.
struct InterruptionReport {
  ~InterruptionReport() {
    const char* path = std::getenv("INTERRUPTED_POLLS_FILE");
    std::FILE* file = path != nullptr ? std::fopen(path, "w") : nullptr;
    if (file == nullptr)
      return;
    std::fprintf(file, "%u\n", gInterruptions.load());
    std::fclose(file);
  }
} gInterruptionReport;

}  // namespace

extern "C" int poll(pollfd* items, nfds_t count, int timeout) {
  using Poll_t = int (*)(pollfd*, nfds_t, int);
  static const auto next = reinterpret_cast<Poll_t>(dlsym(RTLD_NEXT, "poll"));
  if (!IsInterrupted())
    return next(items, count, timeout);
  ++gInterruptions;
  errno = EINTR;
  return -1;
}
