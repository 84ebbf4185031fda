// One run of the unit around a running service: from the subscriptions to the final figures.

#pragma once

#include <vector>

#include "PlayList.h"

namespace louddesk {

struct PlayerOptions {
  double speed = 1.0;     // times real time, above 0
  unsigned meterSet = 1;  // of the service
  unsigned cluster = 1;   // of the service, 1 to 8
  double wait = 10.0;     // s, for the service to subscribe
};

/// Plays the list in real time or `speed` times faster, repeatedly if `isLooped`. Shows the
/// published figures on standard output, and the final figures at the end. If the service has
/// stopped publishing, these are the last ones that came. The measurement restarts with each source
/// that requires it or whose speakers differ from the previous ones. Carries out orders from
/// standard input; Ctrl-C ends playback like the order to quit. Returns the exit status: 0, or 1 if
/// a source cannot be opened or read to its end, an endpoint is in use, or the service does not
/// subscribe or answer in time. Each error is a line on standard error.
int PlayUnit(const std::vector<Playable>& list, bool isLooped, const PlayerOptions& options);

}  // namespace louddesk
