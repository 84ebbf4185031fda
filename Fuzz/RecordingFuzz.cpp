// Untrusted recordings: any bytes as the file, or any bytes as its uncompressed contents.

#include <zstd.h>

#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "FuzzTarget.h"
#include "RecordingFormat.h"
#include "RecordingReader.h"

namespace {

using Messages = std::vector<std::vector<std::string>>;

constexpr std::size_t kHeadSize = sizeof louddesk::kRecordingMark + 16;

std::string Compressed(const std::string& plain) {
  std::string bytes(ZSTD_compressBound(plain.size()), '\0');
  bytes.resize(ZSTD_compress(bytes.data(), bytes.size(), plain.data(), plain.size(), 1));
  return bytes;
}

// Reads the messages of uncompressed bytes a second time, without the reader's code.
class PlainReader {
 public:
  explicit PlainReader(const std::string& plain) : mRest(plain.substr(kHeadSize)) {}

  Messages Read() {
    Messages messages;
    while (auto message = Next())
      messages.push_back(std::move(*message));
    return messages;
  }

 private:
  std::optional<std::vector<std::string>> Next() {
    const auto sender = Number(1);
    if (!sender || *sender == louddesk::kEndMark || *sender > louddesk::kLastSender || !Number(8))
      return std::nullopt;
    const auto count = Number(2);
    if (count.value_or(0) == 0)
      return std::nullopt;
    std::vector<std::string> frames;
    for (std::size_t total = 0; frames.size() < *count;) {
      const auto size = Number(4);
      total += 4 + size.value_or(0);
      if (!size || total > louddesk::kLargestMessage || *size > mRest.size())
        return std::nullopt;
      frames.push_back(mRest.substr(0, *size));
      mRest.erase(0, *size);
    }
    return frames;
  }

  std::optional<std::uint64_t> Number(std::size_t bytes) {
    if (mRest.size() < bytes)
      return std::nullopt;
    std::uint64_t number = 0;
    for (std::size_t i = bytes; i-- > 0;)
      number = number << 8 | static_cast<unsigned char>(mRest[i]);
    mRest.erase(0, bytes);
    return number;
  }

  std::string mRest;
};

Messages ReadAll(louddesk::RecordingReader& reader) {
  Messages messages;
  while (auto message = reader.Next()) {
    FUZZ_PROPERTY(louddesk::FitsRecording(message->frames), "every message fits a recording");
    messages.push_back(std::move(message->frames));
  }
  FUZZ_PROPERTY(!reader.Next(), "the end stays the end");
  return messages;
}

void ReadFile(const std::string& bytes) {
  std::istringstream in(bytes);
  try {
    louddesk::RecordingReader reader(in);
    ReadAll(reader);
  } catch (const louddesk::RecordingError&) {
    return;
  }
}

void ReadPlain(const std::string& afterMark) {
  const std::string plain =
      std::string(louddesk::kRecordingMark, sizeof louddesk::kRecordingMark) + afterMark;
  std::istringstream in(Compressed(plain));
  try {
    louddesk::RecordingReader reader(in);
    FUZZ_PROPERTY(plain.size() >= kHeadSize, "a recording begins with a whole head");
    FUZZ_PROPERTY(ReadAll(reader) == PlainReader(plain).Read(),
                  "the messages are those that a second reader finds");
  } catch (const louddesk::RecordingError&) {
    FUZZ_PROPERTY(plain.size() < kHeadSize, "only a head that is cut off is refused");
  }
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const bool isFile = input.TakeByte() % 2 == 0;
  const Text bytes = input.TakeRest();
  (isFile ? ReadFile : ReadPlain)(std::string(bytes.c_str(), bytes.size()));
}
