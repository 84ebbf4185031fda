// Standard output and standard error of a service that must not wait: whoever reads them may be
// slow, stuck, gone or out of space.

#pragma once

/// Opens /dev/null in place of a standard input, output or error that was closed when the process
/// started. Otherwise the first sockets would get their numbers, and log lines be sent to peers. To
/// be called before anything else is opened.
void OpenMissingStandardStreams();

/// Puts streams in front of standard output and standard error that take every line at once: what
/// the reader does not take at that moment is lost, and once it takes lines again one of them says
/// how much. Other processes on the same pipe or terminal are not affected. To be called once,
/// before anything is printed; without memory for it the streams stay as they are.
///
/// A pipe or terminal of another user, which this process may write to but not open, is polled for
/// room before each write. If another process takes the last room in between, the write waits after
/// all, except for pipes under Linux kernels that can write without waiting.
void MakeConsoleNeverWait();
