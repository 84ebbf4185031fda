// Keys and lines.

#include "OrderInput.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>

namespace louddesk {

namespace {

// What is longer is no order, and must not be collected for ever.
constexpr std::size_t kLongestLine = 200;

constexpr char kEscape = '\033';  // begins what the arrows and other keys without a character send

bool IsPrintable(char character) {
  return std::isprint(static_cast<unsigned char>(character)) != 0;
}

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r") == std::string::npos;
}

// Without what keys without a character have sent: an escape and what belongs to it, which is one
// character, or behind a bracket everything up to the first letter or '~'.
std::string WithoutEscapes(const std::string& text) {
  std::string rest;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != kEscape) {
      rest += text[i];
      continue;
    }
    const bool isLong = ++i < text.size() && (text[i] == '[' || text[i] == 'O');
    if (isLong)
      ++i;
    while (isLong && i < text.size() && text[i] < '@')
      ++i;
  }
  return rest;
}

std::string WithoutUnprintable(std::string text) {
  for (char& character : text)
    character = IsPrintable(character) ? character : '?';
  return text;
}

}  // namespace

OrderInput::OrderInput(int descriptor) : mDescriptor(descriptor) {
  if (isatty(descriptor) != 0)
    mKeyMode.emplace(descriptor);
}

bool OrderInput::HasKeys() {
  return mIsOpen && mKeyMode && mKeyMode->Take();
}

std::optional<TypedOrder> OrderInput::Next() {
  return mKeyMode ? NextKey() : NextLine();
}

bool OrderInput::IsReadable() const {
  pollfd item = {mDescriptor, POLLIN, 0};
  return mIsOpen && poll(&item, 1, 0) > 0;
}

void OrderInput::Read() {
  std::array<char, 256> buffer;
  const ssize_t size = read(mDescriptor, buffer.data(), buffer.size());
  if (size > 0)
    mPending.append(buffer.data(), static_cast<std::size_t>(size));
  else if (size == 0 || (errno != EINTR && errno != EAGAIN && errno != EIO))
    mIsOpen = false;  // EIO: suddenly in the background
}

std::optional<TypedOrder> OrderInput::NextKey() {
  if (mPending.empty() && HasKeys() && IsReadable()) {
    Read();
    mPending = WithoutEscapes(mPending);
  }
  while (!mPending.empty()) {
    const char key = mPending.front();
    mPending.erase(0, 1);
    if (IsPrintable(key) && key != ' ')
      return TypedOrder{std::string(1, key), OrderOfKey(key)};
  }
  return std::nullopt;
}

std::optional<TypedOrder> OrderInput::NextLine() {
  for (;;) {
    std::size_t end = mPending.find('\n');
    while (end == std::string::npos && mPending.size() < kLongestLine && IsReadable()) {
      Read();
      end = mPending.find('\n');
    }
    if (end == std::string::npos && mIsOpen && mPending.size() < kLongestLine)
      return std::nullopt;
    const std::string line = mPending.substr(0, std::min(end, kLongestLine));
    mPending.erase(0, line.size() + (end == line.size() ? 1 : 0));
    if (!IsBlank(line))
      return TypedOrder{WithoutUnprintable(line), OrderOfWord(line)};
    if (mPending.empty() && !mIsOpen)
      return std::nullopt;
  }
}

}  // namespace louddesk
