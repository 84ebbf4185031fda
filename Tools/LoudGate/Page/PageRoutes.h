// The pages for a browser. They are the same for every board; their scripts fetch the board's data.

#pragma once

#include "Routes.h"

namespace loudgate {

/// Answers / with the page of all clusters, /cluster/NAME with the page of one, and serves the
/// files of both.
void AddPages(Routes& routes);

}  // namespace loudgate
