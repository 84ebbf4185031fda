// The one place where a broken precondition stops the process. Any thread.

#include "Assertion.h"

#include <cstdio>
#include <cstdlib>

void FailAssertion(const char* text, const char* file, int line) {
  std::fflush(stdout);
  std::fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", file, line, text);
  std::fflush(stderr);
  std::abort();
}
