// Files through front end, dispatcher and engine.

#include "MeasureFile.h"

#include <vector>

#include "BlockMeter.h"

namespace louddesk {

Figures MeasureFile(EngineMeter& meter, AudioFile& file, const SpeakerLayout& speakers,
                    const Progress& progress) {
  BlockMeter frontEnd(file.Channels(), file.SampleRate());
  std::vector<double> samples(frontEnd.MaxFramesInBlock() * file.Channels());
  BlockReading reading;
  meter.Start(speakers);
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
  return figures;
}

}  // namespace louddesk
