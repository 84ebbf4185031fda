// Recorded messages as JSON, one per line. Stateless.

#pragma once

#include <string>

#include "RecordedMessage.h"

namespace louddesk {

/// A message as one line: its number from 1, time in seconds, sender, topic, and the other frames
/// as "frames". Frames that are UTF-8 are texts; frames of raw blocks and loudness data are
/// hexadecimal digits. Loudness data of the usual form has its values as "figures" instead.
std::string MessageLine(unsigned long number, const RecordedMessage& message);

}  // namespace louddesk
