// What a test must know of the emulator in which a build for another machine runs.

#pragma once

#include <csignal>
#include <cstring>
#include <string>
#include <utility>

/// How many times longer than on a desk anything may take. Every tolerance of time that an emulator
/// may widen is multiplied by it, and nothing else.
constexpr int kSlowness = LOUDCALC_TEST_SLOWNESS;

#ifdef LOUDCALC_TEST_EMULATED
constexpr bool kIsEmulated = true;
#else
constexpr bool kIsEmulated = false;
#endif

/// What the emulator adds to the error stream of a program that a signal ends.
inline std::string EmulatorAtEndBy(int signal) {
  const bool leavesCore = signal == SIGQUIT || signal == SIGABRT;  // of those that tests use
  if (!kIsEmulated || !leavesCore)
    return "";
  return "qemu: uncaught target signal " + std::to_string(signal) + " (" + strsignal(signal) +
         ") - core dumped\n";
}

/// Environment variable, with its value, by which a program loads `library` before its own. It must
/// not reach this machine's own programs, which start the emulator.
inline std::pair<const std::string, std::string> PreloadOf(const std::string& library) {
  if (kIsEmulated)
    return {"QEMU_SET_ENV", "LD_PRELOAD=" + library};
  return {"LD_PRELOAD", library};
}
