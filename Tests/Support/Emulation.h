// Properties of the emulator that runs a build for another machine, as far as tests depend on them.

#pragma once

#include <csignal>
#include <cstring>
#include <string>
#include <utility>

/// How many times longer everything may take in the emulator. Multiplies every tolerance of time
/// that the emulator may widen, and nothing else.
constexpr int kSlowness = LOUDCALC_TEST_SLOWNESS;

#ifdef LOUDCALC_TEST_EMULATED
constexpr bool kIsEmulated = true;
#else
constexpr bool kIsEmulated = false;
#endif

/// Text that the emulator adds to the error stream of a program that a signal ends.
inline std::string EmulatorAtEndBy(int signal) {
  const bool leavesCore = signal == SIGQUIT || signal == SIGABRT;  // of the signals that tests use
  if (!kIsEmulated || !leavesCore)
    return "";
  return "qemu: uncaught target signal " + std::to_string(signal) + " (" + strsignal(signal) +
         ") - core dumped\n";
}

/// Environment variable, with its value, that makes a program load `library` before its own
/// libraries. In the emulator it must not affect the host's programs, which start the emulator.
inline std::pair<const std::string, std::string> PreloadOf(const std::string& library) {
  if (kIsEmulated)
    return {"QEMU_SET_ENV", "LD_PRELOAD=" + library};
  return {"LD_PRELOAD", library};
}
