// Small helpers for bytes, texts and directories. Any thread. Diagnostics go to standard output.
// Characters are ASCII; the locale does not matter.

#pragma once

#include <sys/types.h>

#include <cstdint>

extern "C" {

/// Writes a hex dump of `count` bytes to standard output: a line with the count, a header line,
/// then a row for every 16 bytes with offset, bytes in hex and the bytes as characters ('.' for
/// unprintable ones). Does nothing for a null pointer or a count below 1.
void PrintBuffer(const std::uint8_t* bytes, int count);

/// Writes "0x" and the 16 hex digits of `value` to standard output, without a line end.
void PrintU64Hex(std::uint64_t value);

/// Number of occurrences of `ch` in `text`; 0 for null.
int CountChars(char ch, const char* text);

/// 1 when `text` consists of one or more decimal digits and nothing else; 0 otherwise and for null.
int has_digits_only(const char* text);

/// Turns a field of `numBytes` bytes into a zero-terminated text, in place. The last byte is
/// reserved for the terminator. The text runs from the first to the last graphic character (0x21 to
/// 0x7E), with a blank for every other byte between them, zero bytes included. Returns the text,
/// which lies within the field. A field without a graphic character becomes the empty text, and so
/// does a field of one byte. REQUIRES: a field of at least one byte.
char* DataToString(std::uint8_t* bytes, std::uint8_t numBytes);

/// Turns the letters among the first `maximum` characters of `text` into upper-case ones, in place.
/// The length counts modulo 256: in a text of 258 characters at most two change, in a text of 256
/// none. Does nothing for null.
void ChangeToUppercase(char* text, std::uint8_t maximum);

/// 0 when something exists at `path`, else -1, also for null.
int if_path_exists(const char* path);

/// 0 when `path` is a directory or a link to one, else -1, also for null.
int if_dir_exists(const char* path);

/// Makes a directory with the permissions `mode`, minus the umask. Returns 0 when the directory
/// exists afterwards, new or not; else -1 with the reason in errno, ENOTDIR when `path` is not a
/// directory. Its parent must exist. -1 for null.
int do_mkdir(const char* path, mode_t mode);

}  // extern "C"
