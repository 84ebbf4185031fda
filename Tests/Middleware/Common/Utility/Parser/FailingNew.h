// Memory that runs out on demand.

#pragma once

#include <cstddef>

/// The next `new` of one object in this process throws std::bad_alloc; the ones after it work
/// again.
void FailNextNew();

/// The same after `others` successful ones.
void FailNewAfter(std::size_t others);

/// Every `new` works again from now on. True if the planned failure has happened.
bool StopFailingNew();
