// What the maker of the golden run and its test have to agree on.

#pragma once

constexpr unsigned kGoldenIntegratedWindow = 5;     // s, shorter than the measured passage
constexpr unsigned kGoldenLoudnessRangeWindow = 9;  // s
constexpr unsigned kGoldenUser = 17;                // of the configuration of that passage
constexpr unsigned kGoldenBlocks = 145;             // of that passage
