// Files through front end and meter.

#include "MeasureFile.h"

#include <algorithm>
#include <vector>

#include "BlockMeter.h"

namespace louddesk {

Figures MeasureFile(ProgrammeMeter& meter, AudioFile& file, const Progress& progress) {
  BlockMeter frontEnd(file.Channels(), file.SampleRate());
  std::vector<double> samples(frontEnd.MaxFramesInBlock() * file.Channels());
  BlockReading reading;
  bool isWhole = true;
  while (isWhole) {
    const std::size_t frames = frontEnd.FramesInNextBlock();
    const std::size_t got = file.Read(samples.data(), frames);
    isWhole = got == frames;
    if (got == 0)
      break;
    if (const auto badSample = isWhole ? frontEnd.Measure(samples.data(), reading)
                                       : frontEnd.MeasureRest(samples.data(), got, reading))
      throw AudioFileError(file.Path(), BadSampleText(*badSample, file.SampleRate()));
    if (isWhole)
      meter.Feed(reading);
    else
      meter.FeedRest(reading);
    progress(file.FramesRead());
  }
  Figures figures = meter.Read();
  figures.seconds = static_cast<double>(file.FramesRead()) / file.SampleRate();
  figures.maxTruePeakAt = std::min(figures.maxTruePeakAt, figures.seconds);
  return figures;
}

}  // namespace louddesk
