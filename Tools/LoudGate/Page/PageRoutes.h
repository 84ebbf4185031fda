// The pages that a browser shows. They are the same for every board: their scripts fetch what is
// on it.

#pragma once

#include "Routes.h"

namespace loudgate {

/// Answers / with the page of all clusters, /cluster/ and a name with that of one, and the files of
/// both.
void AddPages(Routes& routes);

}  // namespace loudgate
