// Entry of every test program.

#include <gtest/gtest.h>

#include "Isolation.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  IsolateTestProcess();
  return RUN_ALL_TESTS();
}
