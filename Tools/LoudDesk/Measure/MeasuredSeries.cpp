// Series of a file, read from the meter block by block.

#include "MeasuredSeries.h"

namespace louddesk {
namespace {

std::optional<float> Narrowed(const std::optional<double>& figure) {
  if (!figure)
    return std::nullopt;
  return static_cast<float>(*figure);
}

}  // namespace

SeriesPoint PointOf(double seconds, const Figures& figures) {
  SeriesPoint point;
  point.seconds = seconds;
  point.momentary = Narrowed(figures.momentary);
  point.shortTerm = Narrowed(figures.shortTerm);
  point.integrated = Narrowed(figures.integrated);
  point.lra = Narrowed(figures.lra);
  point.truePeak = Narrowed(figures.truePeak);
  return point;
}

MeasuredSeries MeasureSeries(ProgrammeMeter& meter, AudioFile& file, const Progress& progress) {
  MeasuredSeries series;
  series.file = file.Path();
  series.figures = MeasureFile(meter, file, [&](std::uint64_t frames) {
    const double seconds = static_cast<double>(frames) / file.SampleRate();
    series.points.push_back(PointOf(seconds, meter.Read()));
    progress(frames);
  });
  series.distribution = meter.ReadDistribution();
  return series;
}

}  // namespace louddesk
