// Isolates every test process, so that several of them can use the real addresses and paths of the
// unit at the same time.

#pragma once

/// Environment variable that, set to "1", prevents the use of namespaces.
constexpr char kNoNamespacesVariable[] = "LOUDCALC_TEST_NO_NAMESPACES";

/// Moves the calling process, still single-threaded, into its own network and mount namespaces,
/// with an empty IPC parent directory and a loopback device that has the unit's default board
/// addresses. Needs root or unprivileged user namespaces.
///
/// If the kernel refuses, sets the environment variables of the board addresses to 127.0.0.1 and
/// 127.0.0.2, reports that on standard error, and tests run one at a time: the process waits until
/// no other test runs on this machine, and other tests wait until it ends.
///
/// Does nothing when the tests are only listed.
void IsolateTestProcess();

/// True in a process that `IsolateTestProcess` moved into its own namespaces.
bool HasOwnNamespaces();
