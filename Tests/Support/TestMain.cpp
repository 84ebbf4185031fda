// Entry of every test program.

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>

#include "Isolation.h"

namespace {

// Prints the reason for a skip at the end of the test. The framework prints it within the test,
// where many fixtures capture the standard output.
class SkipReasons : public testing::EmptyTestEventListener {
  void OnTestEnd(const testing::TestInfo& test) override {
    const testing::TestResult& result = *test.result();
    for (int i = 0; result.Skipped() && i < result.total_part_count(); ++i)
      if (result.GetTestPartResult(i).skipped())
        std::cout << "Skipped\n" << result.GetTestPartResult(i).message() << std::endl;
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  // A shell makes programs that it starts in the background ignore SIGINT. Tests of Ctrl-C need it.
  std::signal(SIGINT, SIG_DFL);
  IsolateTestProcess();
  testing::UnitTest::GetInstance()->listeners().Append(new SkipReasons);
  return RUN_ALL_TESTS();
}
