// The tables, and the encoding of a minute.

#include "StationFormat.h"

namespace louddesk {

// A minute's row takes 1.6 kB of an 8 kB page. Clusters and events take little space.
const char kStationSchema[] =
    "CREATE TABLE clusters (number INTEGER PRIMARY KEY, meter_set INTEGER NOT NULL,"
    " cluster INTEGER NOT NULL, UNIQUE (meter_set, cluster));"
    "CREATE TABLE minutes (id INTEGER PRIMARY KEY, seconds BLOB NOT NULL);"
    "CREATE TABLE events (id INTEGER PRIMARY KEY, time INTEGER NOT NULL, cluster INTEGER,"
    " kind TEXT NOT NULL, text TEXT NOT NULL);"
    "CREATE INDEX events_time ON events (time);";

namespace {

constexpr unsigned char kSourceIsValid = 1;

void Append(std::string& bytes, std::int16_t number) {
  const auto value = static_cast<std::uint16_t>(number);
  bytes.push_back(static_cast<char>(value & 0xff));
  bytes.push_back(static_cast<char>(value >> 8));
}

void Append(std::string& bytes, const RecordedSecond& second) {
  for (const std::int16_t reading : second.momentary)
    Append(bytes, reading);
  Append(bytes, second.shortTerm);
  Append(bytes, second.truePeak);
  bytes.push_back(static_cast<char>(second.state));
  bytes.push_back(static_cast<char>(second.isSourceValid ? kSourceIsValid : 0));
}

std::uint8_t ByteAt(std::string_view bytes, std::size_t place) {
  return static_cast<std::uint8_t>(bytes[place]);
}

std::int16_t TakeNumber(std::string_view& bytes) {
  const int value = ByteAt(bytes, 0) | ByteAt(bytes, 1) << 8;
  bytes.remove_prefix(2);
  return static_cast<std::int16_t>(value);
}

std::optional<RecordedSecond> Decode(std::int64_t time, std::string_view bytes) {
  RecordedSecond second;
  second.time = time;
  for (std::int16_t& reading : second.momentary) {
    reading = TakeNumber(bytes);
    if (reading < kNoLoudnessCode)
      reading = kMissedReading;
  }
  second.shortTerm = TakeNumber(bytes);
  second.truePeak = TakeNumber(bytes);
  const std::uint8_t state = ByteAt(bytes, 0);
  if (state == 0 || state > static_cast<std::uint8_t>(kLastRecordedState))
    return std::nullopt;
  second.state = static_cast<RecordedState>(state);
  second.isSourceValid = (ByteAt(bytes, 1) & kSourceIsValid) != 0;
  return second;
}

}  // namespace

std::string EncodeMinute(const MinuteOfSeconds& minute) {
  std::string bytes;
  bytes.reserve(minute.size() * kBytesPerSecond);
  for (const auto& second : minute)
    if (second)
      Append(bytes, *second);
    else
      bytes.append(kBytesPerSecond, '\0');
  return bytes;
}

MinuteOfSeconds DecodeMinute(std::int64_t minute, std::string_view bytes) {
  MinuteOfSeconds seconds;
  std::int64_t time = minute * kSecondsPerMinute;
  for (auto& second : seconds) {
    if (bytes.size() < kBytesPerSecond)
      break;
    second = Decode(time++, bytes.substr(0, kBytesPerSecond));
    bytes.remove_prefix(kBytesPerSecond);
  }
  return seconds;
}

}  // namespace louddesk
