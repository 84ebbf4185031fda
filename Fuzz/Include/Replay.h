// Runs a fuzz target on files, without libFuzzer.

#pragma once

#include <string>
#include <vector>

namespace fuzz {

/// As long as the fuzzer allows.
constexpr unsigned kSecondsPerInput = 10;

/// Replays the files of `folders`, each in the order of their names, and prints a line for each on
/// the process's standard output before it runs. False, with a line on standard error, when there
/// is no folder or one of them is missing or holds no file: then nothing runs. A failed property,
/// and an input that takes longer than `secondsPerInput`, ends the process.
bool Replay(const std::vector<std::string>& folders, unsigned secondsPerInput = kSecondsPerInput);

}  // namespace fuzz
