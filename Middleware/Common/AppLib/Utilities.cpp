// Small helpers for bytes, texts and directories. Stateless; any thread.

#include "Utilities.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Assertion.h"

namespace {

constexpr int kBytesPerRow = 16;

bool IsPrintable(std::uint8_t byte) {
  return byte >= ' ' && byte <= '~';
}

bool IsGraphic(std::uint8_t byte) {
  return IsPrintable(byte) && byte != ' ';
}

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

char ToUpper(char character) {
  const bool isLower = character >= 'a' && character <= 'z';
  return isLower ? static_cast<char>(character - 'a' + 'A') : character;
}

void PrintRow(const std::uint8_t* bytes, int offset, int count) {
  std::printf("%4x ", static_cast<unsigned>(offset));
  for (int i = 0; i < count; ++i)
    std::printf("%02x ", bytes[i]);
  for (int i = count; i < kBytesPerRow; ++i)
    std::printf(".. ");
  for (int i = 0; i < count; ++i)
    std::putchar(IsPrintable(bytes[i]) ? bytes[i] : '.');
  std::putchar('\n');
}

}  // namespace

void PrintBuffer(const std::uint8_t* bytes, int count) {
  if (bytes == nullptr || count <= 0)
    return;
  std::printf("Dumping 0x%02x (%d) bytes.\n", static_cast<unsigned>(count), count);
  std::printf("ADDR 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 0123456789ABCDEF\n");
  for (int done = 0, rowCount = 0; done < count; done += rowCount) {
    rowCount = std::min(kBytesPerRow, count - done);
    PrintRow(bytes + done, done, rowCount);
  }
}

void PrintU64Hex(std::uint64_t value) {
  std::printf("0x%08x%08x", static_cast<std::uint32_t>(value >> 32),
              static_cast<std::uint32_t>(value));
}

int CountChars(char ch, const char* text) {
  if (text == nullptr)
    return 0;
  return static_cast<int>(std::count(text, text + std::strlen(text), ch));
}

int has_digits_only(const char* text) {
  if (text == nullptr || *text == '\0')
    return 0;
  return std::all_of(text, text + std::strlen(text), IsDigit) ? 1 : 0;
}

char* DataToString(std::uint8_t* bytes, std::uint8_t numBytes) {
  LOUDCALC_ASSERT(1 <= numBytes, "1 <= NumBytes");
  if (bytes == nullptr)
    return nullptr;
  std::uint8_t* const terminator = bytes + (numBytes - 1);  // the farthest place for it
  std::uint8_t* const first = std::find_if(bytes, terminator, IsGraphic);
  if (first == terminator) {
    *bytes = '\0';
    return reinterpret_cast<char*>(bytes);
  }
  std::uint8_t* end = terminator;
  while (!IsGraphic(end[-1]))
    --end;
  std::replace_if(
      first, end, [](std::uint8_t byte) { return !IsGraphic(byte); }, ' ');
  *end = '\0';
  return reinterpret_cast<char*>(first);
}

void ChangeToUppercase(char* text, std::uint8_t maximum) {
  if (text == nullptr)
    return;
  const auto length = static_cast<std::uint8_t>(std::strlen(text));
  std::transform(text, text + std::min(maximum, length), text, ToUpper);
}

int if_path_exists(const char* path) {
  if (path == nullptr)
    return -1;
  struct stat status = {};
  return stat(path, &status);
}

int if_dir_exists(const char* path) {
  if (path == nullptr)
    return -1;
  struct stat status = {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 0 : -1;
}

int do_mkdir(const char* path, mode_t mode) {
  if (path == nullptr)
    return -1;
  struct stat status = {};
  if (stat(path, &status) == 0) {
    if (S_ISDIR(status.st_mode))
      return 0;
    errno = ENOTDIR;
    return -1;
  }
  // Another process may have made it in the meantime.
  return mkdir(path, mode) == 0 || errno == EEXIST ? 0 : -1;
}
