// Entry of every test program.

#include <gtest/gtest.h>

#include <csignal>

#include "Isolation.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  // A shell ignores it in programs that it starts in the background; tests of Ctrl-C need it.
  std::signal(SIGINT, SIG_DFL);
  IsolateTestProcess();
  return RUN_ALL_TESTS();
}
