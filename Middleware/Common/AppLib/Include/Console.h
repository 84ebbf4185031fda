// Standard output and standard error of a service that must not wait for their reader, which may be
// slow or stuck, may have ended or may have run out of space.

#pragma once

/// Opens /dev/null in place of a standard input, output or error that was closed when the process
/// started. Otherwise the first sockets would get those descriptors, and log lines would be sent to
/// peers. Call it before anything else is opened.
void OpenMissingStandardStreams();

/// Replaces the streams of standard output and standard error by ones that never wait. What the
/// reader does not take at once is lost; when it takes output again, one line says how much was
/// lost. Other processes on the same pipe or terminal are not affected. Call it once, before
/// anything is printed. If memory is exhausted the streams stay as they are.
///
/// A pipe or terminal of another user, which this process may write to but not open, is polled for
/// room before each write. If another process fills the pipe or terminal in between, the write does
/// wait, except on pipes under Linux kernels that support writing without waiting.
void MakeConsoleNeverWait();
