// What the service sends, decoded.

#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "DataClient.h"
#include "Frames.h"
#include "LoudnessData.h"

namespace louddesk {

/// One "LoudnessData" message.
struct LoudnessMessage {
  LoudnessData_t data{};                       // the figures, coded
  std::int16_t validSource = 0;                // 1: the programme has meters
  std::int16_t command = 0;                    // last command carried out, an `LuCmd_e`
  std::int16_t cluster = 0;                    // cluster of the sender, 1 to 8
  Frames frames;                               // the message as it came
  std::chrono::steady_clock::time_point time;  // when it was read
  bool wellFormed = false;  // twelve frames of the right sizes; otherwise the fields are zero
};

/// One message of the state publisher.
struct StateMessage {
  std::string topic;
  std::string json;
  Frames frames;  // the message as it came
};

/// One message at the log sink.
struct LogLine {
  int type = 0;         // 0: logging, 1: notification
  int level = 0;        // 10 debug, 20 info, 30 warning, 40 error, 50 critical
  std::string name;     // short name of the process
  std::string message;  // time stamp, name, level and text
  Frames frames;        // the message as it came
};

LoudnessMessage DecodeLoudnessMessage(const Arrival& arrival);

/// Missing frames are empty texts.
StateMessage DecodeStateMessage(const Arrival& arrival);

/// A frame that is no log document becomes a line with only its text.
LogLine DecodeLogLine(const Frames& frames);

/// The eight coded figures in the order of the message, to compare and print them at once.
std::vector<int> PublishedCodes(const LoudnessData_t& data);

}  // namespace louddesk
