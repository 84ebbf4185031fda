// Shared by the tests of unusable input: a service that must keep measuring, and a table whose rows
// are sent to it one after the other.

#pragma once

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "FaultyUnit.h"

/// `text` repeated `count` times.
inline std::string Repeat(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    result += text;
  return result;
}

constexpr std::size_t kDeep = 30000;  // levels; the text is within the size limit of a document

/// Arrays nested far deeper than the limit.
inline std::string DeepArray() {
  return Repeat("[", kDeep) + Repeat("]", kDeep);
}

inline std::string DeepUnclosedArray() {
  return Repeat("[", kDeep);
}

/// A service that measures and must keep its cadence.
class BadInputTest : public FaultyUnit {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Start());
    Measure();
  }

  void TearDown() override {
    if (mService && mService->IsRunning())
      ExpectCadenceAndMemory();
    FaultyUnit::TearDown();
  }

  /// Passes each row to `check`, all with the same service. A failure names its row; later rows get
  /// a new service.
  template <typename Row, typename Check>
  void ForEachRow(const std::vector<Row>& rows, Check check) {
    for (const Row& row : rows) {
      SCOPED_TRACE(std::string("row ") + row.name);
      const int failures = Failures();
      check(row);
      if (Failures() != failures) {
        ASSERT_NO_FATAL_FAILURE(Replace());
      }
    }
  }

  /// Expects that the service still measures, at a level that no earlier row had.
  void ExpectMeasuresOn() {
    mLevel = mLevel > -40 ? mLevel - 2 : kLoudest;
    ExpectMeasures(mLevel);
  }

 private:
  static constexpr double kLoudest = -20;

  void Measure() {
    StartMeasuring();
    ExpectMeasuresOn();
    mUnit.DropLogLines();
    BeginWatch();
  }

  static int Failures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
  }

  void Replace() {
    std::cerr << Output();
    mService->Signal(SIGKILL);
    ASSERT_TRUE(mService->WaitForExit(kPatience));
    ASSERT_NO_FATAL_FAILURE(StartAgain());
    Measure();
  }

  double mLevel = kLoudest;
};
