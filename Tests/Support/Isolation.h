// Isolates every test process, so that it can use the unit's real addresses and paths while others
// do the same.

#pragma once

/// Environment variable that, set to "1", prevents the use of namespaces.
constexpr char kNoNamespacesVariable[] = "LOUDCALC_TEST_NO_NAMESPACES";

/// Moves the calling process, still single-threaded, into its own network and mount namespaces,
/// with an empty IPC parent directory and a loopback device that has the unit's default board
/// addresses. Needs root or unprivileged user namespaces.
///
/// Where the kernel refuses, the board addresses become 127.0.0.1 and 127.0.0.2 by their
/// environment variables, the process waits until no other test runs on this machine, keeps others
/// waiting until it ends, and says so on standard error.
///
/// Does nothing when the tests are only listed.
void IsolateTestProcess();

/// True in a process that `IsolateTestProcess` moved into its own namespaces.
bool HasOwnNamespaces();
