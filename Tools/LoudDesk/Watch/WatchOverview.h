// All clusters that publish on this machine, a row each. Stateless.

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

/// The overview at `now`; the row `selected` stands out. Where there are more rows than fit, those
/// around it show.
TextScreen ComposeOverview(const std::vector<OverviewRow>& rows, std::size_t selected,
                           ScreenSize size, WatchModel::Time now);

}  // namespace louddesk
