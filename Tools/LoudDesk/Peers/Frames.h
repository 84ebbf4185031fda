// Messages of the unit as plain byte strings, one a frame.

#pragma once

#include <czmq.h>

#include <string>
#include <vector>

namespace louddesk {

using Frames = std::vector<std::string>;

/// Sends `frames` as one message without waiting. False when the socket does not take it.
bool SendFrames(zsock_t* socket, const Frames& frames);

/// The next message that has already arrived; no frames when there is none.
Frames ReceiveFrames(zsock_t* socket);

}  // namespace louddesk
