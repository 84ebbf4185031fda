// Memory that runs out on demand.

#pragma once

#include <cstddef>

/// Makes the next `new` of a single object in this process throw std::bad_alloc. Later ones work
/// again.
void FailNextNew();

/// The same after `others` successful allocations.
void FailNewAfter(std::size_t others);

/// Cancels a planned failure. True if it has already happened.
bool StopFailingNew();
