// Which parts of the live meter stand where in a window of any size. Stateless.

#pragma once

#include "TextScreen.h"
#include "WatchModel.h"
#include "WatchParts.h"

namespace louddesk {

/// The smallest window that the meter fits into, with its state, its bars and nothing else.
constexpr ScreenSize kSmallestWindow = {40, 3};

/// The meter at `now`. A small window shows the parts that matter most; one that is smaller than
/// the smallest says what it needs.
TextScreen ComposeWatch(const WatchModel& model, const WatchLook& look, ScreenSize size,
                        WatchModel::Time now);

}  // namespace louddesk
