// One run of a unit around a running service: from the first subscription to the final figures.

#pragma once

#include <vector>

#include "PlayList.h"

namespace louddesk {

struct PlayerOptions {
  double speed = 1.0;     // times real time, above 0
  unsigned meterSet = 1;  // of the service
  unsigned cluster = 1;   // of the service, 1 to 8
  double wait = 10.0;     // s, for the service
};

/// Plays the list in real time, or `speed` times that, `isLooped` again and again, and shows on the
/// standard output the figures that the service publishes, at the end the final ones: of a service
/// that no longer publishes, the last ones that came. The measurement starts anew with each source
/// that asks for it or is of other speakers than the one before. Carries out the orders that come
/// from the standard input; Ctrl-C ends the play as the order to quit does. Returns the status of
/// the program: 0, or 1 when a source cannot be opened or played to its end, an endpoint of the
/// service's peers is in use, or the service does not subscribe or answer in time. What goes wrong
/// is a line on the standard error.
int PlayUnit(const std::vector<Playable>& list, bool isLooped, const PlayerOptions& options);

}  // namespace louddesk
