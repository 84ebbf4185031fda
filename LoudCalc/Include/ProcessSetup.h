// What the process settles with its surroundings before it does anything else: who may end it, and
// what its environment may change.

#pragma once

/// Makes SIGTERM and SIGINT end the event loop from now on, and with it the process with status 0,
/// also when they come before the loop runs. Unblocks both: whoever starts the process may have
/// blocked them, so that they cannot end it by their default action before this.
void EndOnTermination();

/// Makes the process indifferent to signals that would otherwise end or stop it by default: hang-up
/// of a terminal, broken pipes, alarms, those without a fixed meaning, and those that come of the
/// console: a log file at its largest size, output from the background to a terminal that asks for
/// none.
void IgnoreStraySignals();

/// Takes all variables ZSYS_... out of the environment, by which the messaging library's queues,
/// threads and signal handling could be changed. To be called before the library's first use.
void ForgetLibraryEnvironment();

/// Most files that the process has open; a client that is served costs 50 KB.
constexpr unsigned long kMostOpenFiles = 8192;

/// Lets the process open as many files as it may, but no more than `kMostOpenFiles`: every client
/// of the publishers takes one. Those beyond are turned away (MqListener.h).
void AllowManyClients();
