// The positions of the live meter's parts in a window of any size. Stateless.

#pragma once

#include "TextScreen.h"
#include "WatchModel.h"
#include "WatchParts.h"

namespace louddesk {

/// The smallest usable window: state and bars only.
constexpr ScreenSize kSmallestWindow = {40, 3};

/// The meter at `now`. A small window shows the most important parts; a window below the smallest
/// size shows the required size.
TextScreen ComposeWatch(const WatchModel& model, const WatchLook& look, ScreenSize size,
                        WatchModel::Time now);

}  // namespace louddesk
