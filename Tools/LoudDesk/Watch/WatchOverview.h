// All clusters that publish on this machine, one row each. Stateless.

#pragma once

#include <cstddef>
#include <vector>

#include "ServiceFeed.h"
#include "TextScreen.h"
#include "WatchModel.h"

namespace louddesk {

struct OverviewRow {
  ServicePlace place;
  const WatchModel* model;
};

/// The overview at `now`, with the row `selected` highlighted. If the rows do not all fit, shows
/// those around the selected one.
TextScreen ComposeOverview(const std::vector<OverviewRow>& rows, std::size_t selected,
                           ScreenSize size, WatchModel::Time now);

}  // namespace louddesk
