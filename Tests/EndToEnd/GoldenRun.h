// Constants shared by the maker of the golden run and its test.

#pragma once

constexpr unsigned kGoldenIntegratedWindow = 5;     // s, shorter than the measured passage
constexpr unsigned kGoldenLoudnessRangeWindow = 9;  // s
constexpr unsigned kGoldenUser = 17;                // user of the measured passage's configuration
constexpr unsigned kGoldenBlocks = 145;             // blocks of the measured passage
