// Namespaces of its own for a test process, so that it may use the unit's real addresses and paths
// while others do the same.

#pragma once

/// Moves the calling process, still single-threaded, into fresh network and mount namespaces with an
/// empty IPC parent directory and the unit's board addresses on the loopback device.
void IsolateTestProcess();
