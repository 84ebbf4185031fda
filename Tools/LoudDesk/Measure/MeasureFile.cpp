// Passes files through front end and meters.

#include "MeasureFile.h"

#include <algorithm>
#include <memory>

#include "BlockMeter.h"

namespace louddesk {
namespace {

std::optional<float> Narrowed(const std::optional<double>& figure) {
  if (!figure)
    return std::nullopt;
  return static_cast<float>(*figure);
}

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

// The measurement of one programme.
class Measurement {
 public:
  Measurement(const Programme& programme, std::size_t fileChannels, Series series)
      : mProgramme(programme), mMeter(programme, fileChannels), mSeries(series) {}

  // Takes a block or the rest, which ends at `seconds`.
  void Take(const BlockReading& reading, bool isWhole, double seconds) {
    if (isWhole)
      mMeter.Feed(reading);
    else
      mMeter.FeedRest(reading);
    if (mSeries == Series::kEveryBlock)
      mPoints.push_back(PointOf(seconds, mMeter.Read()));
  }

  // If the rest has the highest true peak, the time of that peak is the end of the file.
  MeasuredProgramme Finish(double seconds) {
    Figures figures = mMeter.Read();
    figures.seconds = seconds;
    figures.maxTruePeakAt = std::min(figures.maxTruePeakAt, seconds);
    return {mProgramme, figures, mMeter.ReadChannels(), mMeter.Readings(), std::move(mPoints)};
  }

 private:
  Programme mProgramme;
  ProgrammeMeter mMeter;
  Series mSeries;
  std::vector<SeriesPoint> mPoints;
};

}  // namespace

std::vector<MeasuredProgramme> MeasureFile(AudioFile& file,
                                           const std::vector<Programme>& programmes, Series series,
                                           const Progress& progress) {
  BlockMeter frontEnd(file.Channels(), file.SampleRate());
  std::vector<double> samples(frontEnd.MaxFramesInBlock() * file.Channels());
  std::vector<std::unique_ptr<Measurement>> measurements;
  measurements.reserve(programmes.size());
  for (const Programme& programme : programmes)
    measurements.push_back(std::make_unique<Measurement>(programme, file.Channels(), series));
  BlockReading reading;
  for (bool isWhole = true; isWhole;) {
    const std::size_t frames = frontEnd.FramesInNextBlock();
    const std::size_t got = file.Read(samples.data(), frames);
    isWhole = got == frames;
    if (got == 0)
      break;
    if (const auto badSample = isWhole ? frontEnd.Measure(samples.data(), reading)
                                       : frontEnd.MeasureRest(samples.data(), got, reading))
      throw AudioFileError(file.Path(), BadSampleText(*badSample, file.SampleRate()));
    for (const auto& measurement : measurements)
      measurement->Take(reading, isWhole, file.SecondsRead());
    progress(file.FramesRead());
  }
  std::vector<MeasuredProgramme> measured;
  measured.reserve(measurements.size());
  for (const auto& measurement : measurements)
    measured.push_back(measurement->Finish(file.SecondsRead()));
  return measured;
}

}  // namespace louddesk
