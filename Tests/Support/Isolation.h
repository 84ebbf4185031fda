// A place of its own for every test process, so that it may use the unit's real addresses and paths
// while others do the same.

#pragma once

/// Environment variable that, set to "1", forces the way without namespaces.
constexpr char kNoNamespacesVariable[] = "LOUDCALC_TEST_NO_NAMESPACES";

/// Moves the calling process, still single-threaded, into network and mount namespaces of its own:
/// an empty IPC parent directory and a loopback device that carries the unit's default board
/// addresses. Needs root or unprivileged user namespaces.
///
/// Where the kernel refuses, the board addresses become 127.0.0.1 and 127.0.0.2 by their
/// environment variables, the process waits until no other test of this machine runs, holds that
/// place until it ends, and says so on standard error.
///
/// Does nothing while the tests are only listed.
void IsolateTestProcess();

/// True in a process that `IsolateTestProcess` moved into namespaces of its own.
bool HasOwnNamespaces();
