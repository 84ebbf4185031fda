// Programmes with figures of their own for the tests of formats and pages.

#pragma once

#include <string>

#include "Assessment.h"
#include "Bin.h"
#include "Profiles.h"

namespace test_programmes {

/// Two minutes of stereo at -23 LKFS with a reading of every figure.
inline louddesk::MeasuredProgramme Stereo() {
  louddesk::MeasuredProgramme programme;
  programme.programme = louddesk::ProgrammeOf({"Left", "Right"});
  louddesk::Figures& figures = programme.figures;
  figures.seconds = 123.456;
  figures.integrated = -23.004;
  figures.lra = 5.125;  // exact in binary, so that the tie goes to the even digit
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
inline louddesk::MeasuredProgramme Silence() {
  louddesk::MeasuredProgramme programme;
  programme.programme = louddesk::ProgrammeOf({"Left", "Right"});
  programme.figures.seconds = 3.0;
  programme.channels = {{0, "Left", {}, {}, false}, {1, "Right", {}, {}, false}};
  return programme;
}

inline louddesk::FileFacts FactsOf(const std::string& path) {
  return {path, "WAV, 16 bit", 48000, 2, 1234567, ""};
}

/// The subject of a file with one programme. Both must outlive it.
inline louddesk::Subject SubjectOf(const louddesk::FileFacts& file,
                                   const louddesk::MeasuredProgramme& programme) {
  return {&file, 1, false, &programme};
}

/// Judged by a profile.
inline louddesk::Assessment Assessed(const louddesk::MeasuredProgramme& programme,
                                     const std::string& profile = louddesk::kUsualProfile) {
  return louddesk::AssessmentOf(programme.figures, louddesk::CriteriaOf(profile));
}

}  // namespace test_programmes
