// Set-up of the process before anything else runs: signals, environment, open files.

#pragma once

/// Makes SIGTERM and SIGINT end the event loop, and so the process with status 0, even if they
/// arrive before the loop runs. Both are unblocked, because a parent may block them while it starts
/// the process, to keep their default action from ending it before this call.
void EndOnTermination();

/// Ignores the signals that would end or stop the process by default: hang-up of a terminal, broken
/// pipes, alarms, user-defined signals, a log file that has reached its size limit, and background
/// output to a terminal that does not allow it.
void IgnoreStraySignals();

/// Removes all ZSYS_... variables from the environment. They could change the messaging library's
/// queues, threads and signal handling. Call it before the first use of the library.
void ForgetLibraryEnvironment();

/// Upper bound for the limit of open files. Each client takes one file and 50 KB of memory.
constexpr unsigned long kMostOpenFiles = 8192;

/// Raises the limit of open files as far as the system allows, at most to `kMostOpenFiles`: each
/// client of the publishers takes one. Further clients are rejected (MqListener.h).
void AllowManyClients();
