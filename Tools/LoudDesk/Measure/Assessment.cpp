// Names and verdicts of programmes.

#include "Assessment.h"

#include <fmt/format.h>

namespace louddesk {
namespace {

// EBU Tech 3341: a meter marks the loudness range of a shorter programme as not yet stable.
constexpr double kStableRangeSeconds = 60.0;

// " [channels 1-6]" or " [channel 7]".
std::string PartText(const Programme& programme) {
  const std::string channels = ChannelsInWords(programme);
  const bool isOne = channels.find_first_of("-,") == std::string::npos;
  return (isOne ? " [channel " : " [channels ") + channels + "]";
}

}  // namespace

Assessment AssessmentOf(const Figures& figures, const Criteria& criteria) {
  Assessment assessment;
  assessment.verdicts = VerdictsOn(figures, criteria);
  assessment.judgement = OverallJudgement(assessment.verdicts);
  assessment.gain = GainOf(figures, criteria);
  return assessment;
}

bool TakeVerdicts(const Assessment& assessment, const std::string& name, Complaints& complaints) {
  bool isBroken = false;
  for (const Verdict& verdict : assessment.verdicts) {
    if (verdict.judgement == Judgement::kFail)
      isBroken = true;
    else if (verdict.judgement != Judgement::kPass)
      complaints.Add(name + ": not judged: " + verdict.limit);
  }
  return isBroken;
}

std::vector<Subject> SubjectsOf(const MeasuredFile& file) {
  std::vector<Subject> subjects;
  for (const MeasuredProgramme& programme : file.programmes)
    subjects.push_back({&file.facts, 1, file.programmes.size() > 1, &programme});
  return subjects;
}

std::string NameOf(const Subject& subject) {
  const std::string part = subject.isOneOfSeveral ? PartText(subject.programme->programme) : "";
  if (subject.file != nullptr)
    return subject.file->path + part;
  return "all " + std::to_string(subject.files) + " files as one programme" + part;
}

std::string DamageOf(const Subject& subject) {
  if (subject.file != nullptr)
    return subject.file->damage;
  if (subject.damagedFiles == 0)
    return "";
  return fmt::format("{} of {} files {} damaged", subject.damagedFiles, subject.files,
                     subject.damagedFiles == 1 ? "is" : "are");
}

const char* MarkOf(const Subject& subject) {
  return DamageOf(subject).empty() ? "" : " (damaged)";
}

bool IsRangeUnstable(const Figures& figures) {
  return figures.lra && figures.seconds < kStableRangeSeconds;
}

}  // namespace louddesk
