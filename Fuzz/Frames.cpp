// Frames from fuzzed bytes. Stateless.

#include "Frames.h"

#include <string>

#include "RawLoudnessData.h"

namespace fuzz {

namespace {

constexpr unsigned kMaxFrames = 7;

std::string Repeated(const Text& entry) {
  std::string frame;
  for (unsigned meter = 0; meter < kRawMeters; ++meter)
    frame.append(entry.c_str(), entry.size());
  return frame;
}

std::string Plain(const Text& bytes) {
  return {bytes.c_str(), bytes.size()};
}

std::string TakeFrame(Input& input) {
  switch (input.TakeByte()) {
    case 'p':
      return Repeated(input.TakeText(sizeof(std::uint32_t)));
    case 'w':
      return Repeated(input.TakeText(sizeof(std::uint64_t)));
    case 'l':
      return Plain(input.TakeText(input.TakeByte()));
    case 'z':
      return std::string(input.TakeNumber(2), '\0');
    default:
      return {};
  }
}

}  // namespace

MessageOwner TakeMessage(Input& input) {
  MessageOwner message(zmsg_new());
  const unsigned frames = input.TakeByte() & kMaxFrames;
  for (unsigned i = 0; i < frames; ++i) {
    const std::string frame = TakeFrame(input);
    zmsg_addmem(message.get(), frame.data(), frame.size());
  }
  return message;
}

}  // namespace fuzz
