// The service's messages, decoded: loudness data, acknowledgements and configurations, log lines.

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
  Frames frames;                               // the message as received
  std::chrono::steady_clock::time_point time;  // when it was read
  bool wellFormed = false;  // twelve frames of the right sizes; otherwise the fields are 0
};

/// One message of the state publisher.
struct StateMessage {
  std::string topic;
  std::string json;
  Frames frames;  // the message as received
};

enum class StateKind { kAcknowledgement, kConfiguration };

/// An answer of the service, decoded from a message of the state publisher.
struct ServiceAnswer {
  StateKind kind = StateKind::kAcknowledgement;
  bool isRepublished = false;            // repeated every five seconds for late subscribers
  std::string command;                   // acknowledged command: "Start", "Stop", ... or "None"
  std::optional<std::uint32_t> user;     // nothing if the service has no meter set
  std::optional<std::uint32_t> cmdTime;  // time stamp of the last command, as sent
  std::string configuration;             // text of a configuration, as sent
};

/// If there is a configuration, its republication follows that of the acknowledgement within this
/// time.
constexpr std::chrono::milliseconds kConfigurationFollows{500};

/// One message to the log sink.
struct LogLine {
  int type = 0;         // 0: logging, 1: notification
  int level = 0;        // 10 debug, 20 info, 30 warning, 40 error, 50 critical
  std::string name;     // short name of the process
  std::string message;  // time stamp, name, level and text
  Frames frames;        // the message as received
};

LoudnessMessage DecodeLoudnessMessage(const Arrival& arrival);

/// Decodes a message. Missing frames become empty texts.
StateMessage DecodeStateMessage(const Arrival& arrival);

/// Reads an acknowledgement or a configuration; returns nothing for any other message.
std::optional<ServiceAnswer> ReadAnswer(const StateMessage& message);

/// Whether this is the final acknowledgement of the command `asked`: of the command itself, of a
/// stop (after a pause while stopped) or of a start (after a play while stopped).
bool Settles(const ServiceAnswer& answer, const std::string& asked);

/// Suffix for a command acknowledged with the time stamp of another one. The service acknowledges
/// with the stamp of the command that it read last.
constexpr char kOtherStampText[] = "acknowledged with the time stamp of another client's command";

/// One line for the user, for example "Start acknowledged, user 17".
std::string AnswerText(const ServiceAnswer& answer);

/// Decodes a log line. A frame that is not a log document becomes a line with only its text.
LogLine DecodeLogLine(const Frames& frames);

/// The eight coded figures in the order of the message, for comparing and printing.
std::vector<int> PublishedCodes(const LoudnessData_t& data);

}  // namespace louddesk
