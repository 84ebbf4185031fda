// Memory that runs out on demand.

#pragma once

/// The next `new` of one object in this process throws std::bad_alloc; the ones after it work
/// again.
void FailNextNew();
