// Runs a fuzz target on files, without libFuzzer.

#pragma once

#include <string>
#include <vector>

namespace fuzz {

/// Limit for one input, the same as the fuzzer's.
constexpr unsigned kSecondsPerInput = 10;

/// Replays the files of each of the `folders`, in the order of their names, and prints a line
/// before each on the standard output of the process. If there is no folder, or one is missing or
/// empty, runs no file, writes a line to standard error and returns false. A failed property, or an
/// input that takes longer than `secondsPerInput`, ends the process.
bool Replay(const std::vector<std::string>& folders, unsigned secondsPerInput = kSecondsPerInput);

}  // namespace fuzz
