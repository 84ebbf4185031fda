// The assertion of the whole service, for broken preconditions. Of all input only that of the
// process monitor can break one: what it says of the system's status is a contract.

#pragma once

/// Stops the process when `condition` does not hold. `text` is printed exactly as given on standard
/// error with the file and line, then the process aborts. Alive in every build type; NDEBUG does
/// not matter. The condition is evaluated exactly once.
#define LOUDCALC_ASSERT(condition, text) \
  ((condition) ? static_cast<void>(0) : FailAssertion((text), __FILE__, __LINE__))

/// Prints "FILE:LINE: Assertion `TEXT' failed." on standard error, flushes it and aborts.
[[noreturn]] void FailAssertion(const char* text, const char* file, int line);
