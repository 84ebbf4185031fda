// Programmes with made-up figures for the tests of formats and pages.

#pragma once

#include <string>

#include "Assessment.h"
#include "Bin.h"
#include "Profiles.h"

namespace louddesk {

/// Two minutes of stereo at -23 LKFS with a reading of every figure.
inline MeasuredProgramme Stereo() {
  MeasuredProgramme programme;
  programme.programme = ProgrammeOf({"Left", "Right"});
  Figures& figures = programme.figures;
  figures.seconds = 123.456;
  figures.integrated = -23.004;
  figures.lra = 5.125;  // exact in binary, so it is rounded to the even digit
  figures.maxMomentary = -18.2;
  figures.maxMomentaryAt = 10.4;
  figures.maxShortTerm = -19.999;
  figures.maxShortTermAt = 12.0;
  figures.maxTruePeak = -1.0;
  figures.maxTruePeakAt = 99.9;
  programme.channels = {{0, "Left", -1.0, -1.25, false}, {1, "Right", -6.02, std::nullopt, false}};
  return programme;
}

/// Three seconds without any reading.
inline MeasuredProgramme Silence() {
  MeasuredProgramme programme;
  programme.programme = ProgrammeOf({"Left", "Right"});
  programme.figures.seconds = 3.0;
  programme.channels = {{0, "Left", {}, {}, false}, {1, "Right", {}, {}, false}};
  return programme;
}

inline FileFacts FactsOf(const std::string& path) {
  return {path, "WAV, 16 bit", 48000, 2, 1234567, ""};
}

/// The subject of a file with one programme. Both must outlive it.
inline Subject SubjectOf(const FileFacts& file, const MeasuredProgramme& programme) {
  return {&file, 1, false, &programme};
}

/// The programme judged by a profile.
inline Assessment Assessed(const MeasuredProgramme& programme,
                           const std::string& profile = kUsualProfile) {
  return AssessmentOf(programme.figures, CriteriaOf(profile));
}

}  // namespace louddesk
