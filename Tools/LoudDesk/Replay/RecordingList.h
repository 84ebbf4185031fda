// Recorded messages as lines of JSON. Stateless.

#pragma once

#include <string>

#include "RecordedMessage.h"

namespace louddesk {

/// One message, on one line: its number from 1 on, time in seconds, sender, topic, and the other
/// frames as "frames": texts where they are UTF-8, those of raw blocks and loudness data as
/// hexadecimal digits. Loudness data of the usual form has its values under "figures" instead.
std::string MessageLine(unsigned long number, const RecordedMessage& message);

}  // namespace louddesk
