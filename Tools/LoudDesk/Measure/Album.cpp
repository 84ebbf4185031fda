// Adds histograms and takes maxima.

#include "Album.h"

#include <algorithm>

namespace louddesk {
namespace {

void Raise(std::optional<double>& maximum, const std::optional<double>& figure) {
  if (figure)
    maximum = std::max(maximum.value_or(*figure), *figure);
}

}  // namespace

void Album::Add(const MeasuredProgramme& programme) {
  if (mProgrammes++ == 0)
    mAll.programme = programme.programme;
  mAll.readings.momentary.Add(programme.readings.momentary);
  mAll.readings.shortTerm.Add(programme.readings.shortTerm);
  Figures& all = mAll.figures;
  const Figures& added = programme.figures;
  all.seconds += added.seconds;
  Raise(all.maxMomentary, added.maxMomentary);
  Raise(all.maxShortTerm, added.maxShortTerm);
  Raise(all.maxTruePeak, added.maxTruePeak);
  all.isPeakAtLeast |= added.isPeakAtLeast;
  all.isMomentaryAtLeast |= added.isMomentaryAtLeast;
  all.isLoudnessAtLeast |= added.isLoudnessAtLeast;
}

MeasuredProgramme Album::AsOne() const {
  MeasuredProgramme all = mAll;
  all.figures.integrated = all.readings.momentary.GatedLoudness();
  if (const auto range = all.readings.shortTerm.Range(); range && !all.figures.isLoudnessAtLeast)
    all.figures.lra = range->lu;
  return all;
}

}  // namespace louddesk
