// What the service sends, decoded: loudness data, acknowledgements and configurations, log lines.

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "DataClient.h"
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

enum class StateKind { kAcknowledgement, kConfiguration };

/// What a message of the state publisher says of the measurement.
struct ServiceAnswer {
  StateKind kind = StateKind::kAcknowledgement;
  bool isRepublished = false;            // every five seconds, for those who join late
  std::string command;                   // of an acknowledgement: "Start", "Stop", ... or "None"
  std::optional<std::uint32_t> user;     // nothing from a service without a meter set
  std::optional<std::uint32_t> cmdTime;  // time stamp of the last command, as its sender gave it
  std::string configuration;             // of a configuration: its text as it was sent
};

/// After a republished acknowledgement the configuration follows at once, where there is one.
constexpr std::chrono::milliseconds kConfigurationFollows{500};

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

/// Nothing for a message that is neither an acknowledgement nor a configuration.
std::optional<ServiceAnswer> ReadAnswer(const StateMessage& message);

/// Whether it is the last acknowledgement of those that the command `asked` leads to: of itself, of
/// a stop (a pause while stopped) or of a start (a play after a stop).
bool Settles(const ServiceAnswer& answer, const std::string& asked);

/// What to add where an acknowledgement settles a command, but has the time stamp of another one:
/// the service acknowledges with the stamp of the command that it read last.
constexpr char kOtherStampText[] = "acknowledged with the time stamp of another client's command";

/// One line for people, for example "Start acknowledged, user 17".
std::string AnswerText(const ServiceAnswer& answer);

/// A frame that is not a log document becomes a line with only its text.
LogLine DecodeLogLine(const Frames& frames);

/// The eight coded figures in the order of the message, to compare and print them at once.
std::vector<int> PublishedCodes(const LoudnessData_t& data);

}  // namespace louddesk
