// The assertion of the whole service, for broken preconditions. The only input that can break one
// is the process monitor's system status, whose form is a contract.

#pragma once

/// Stops the process when `condition` does not hold. `text` is printed exactly as given on standard
/// error with the file and line, then the process aborts. Alive in every build type; NDEBUG does
/// not matter. The condition is evaluated exactly once.
#define LOUDCALC_ASSERT(condition, text) \
  ((condition) ? static_cast<void>(0) : FailAssertion((text), __FILE__, __LINE__))

/// Prints "FILE:LINE: Assertion `TEXT' failed." on standard error, flushes it and aborts.
[[noreturn]] void FailAssertion(const char* text, const char* file, int line);
