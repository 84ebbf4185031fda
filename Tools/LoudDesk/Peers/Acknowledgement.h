// What the state publisher says of the measurement: acknowledgements and configurations, as they
// happen and as they are republished.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ServiceMessages.h"

namespace louddesk {

enum class StateKind { kAcknowledgement, kConfiguration };

struct ServiceAnswer {
  StateKind kind = StateKind::kAcknowledgement;
  bool isRepublished = false;            // every five seconds, for those who join late
  std::string command;                   // of an acknowledgement: "Start", "Stop", ... or "None"
  std::optional<std::uint32_t> user;     // nothing from a service without a meter set
  std::optional<std::uint32_t> cmdTime;  // time stamp of the last command, as its sender gave it
  std::string configuration;             // of a configuration: its text as it was sent
};

/// Nothing for a message that is neither of both.
std::optional<ServiceAnswer> ReadAnswer(const StateMessage& message);

/// Whether it is the last acknowledgement of those that the command `asked` leads to: of itself, of
/// a stop (a pause while stopped) or of a start (a play after a stop).
bool Settles(const ServiceAnswer& answer, const std::string& asked);

/// What to add where an acknowledgement settles a command, but has the time stamp of another one:
/// the service acknowledges with the stamp of the command that it read last.
constexpr char kOtherStampText[] = "acknowledged with the time stamp of another client's command";

/// One line for people, for example "Start acknowledged, user 17".
std::string AnswerText(const ServiceAnswer& answer);

}  // namespace louddesk
