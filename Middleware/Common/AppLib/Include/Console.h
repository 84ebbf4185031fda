// Standard output and standard error for a service that must never wait for their reader. A reader
// may be slow or stuck, may have ended or may have run out of space.

#pragma once

/// Opens /dev/null in place of a standard input, output or error that was closed when the process
/// started. Otherwise the first sockets would get those descriptors, and log lines would be sent to
/// peers. Call it before anything else is opened.
void OpenMissingStandardStreams();

/// Replaces the streams of standard output and standard error by streams that never wait. Output
/// that the reader does not accept at once is lost. When the reader accepts output again, one line
/// reports how many bytes were lost. Other processes on the same pipe or terminal are not affected.
/// Call it once, before anything is printed. If memory is exhausted, the streams do not change.
///
/// A pipe or terminal of another user, which this process may write to but not open, is polled for
/// room before each write. If another process fills the pipe or terminal in between, the write
/// waits, except on pipes under Linux kernels that support non-blocking writes (RWF_NOWAIT).
void MakeConsoleNonBlocking();
