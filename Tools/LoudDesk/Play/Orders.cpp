// Parses orders line by line.

#include "Orders.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/StringTools.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <iterator>

#include "LuMessages.h"

namespace louddesk {
namespace {

constexpr Order kOrders[] = {
    {OrderKind::kCommand, "start", 's', cLuCmd::kStartText},  //
    {OrderKind::kCommand, "pause", 'p', cLuCmd::kPauseText},
    {OrderKind::kCommand, "play", 'y', cLuCmd::kPlayText},
    {OrderKind::kCommand, "stop", 't', cLuCmd::kStopText},
    {OrderKind::kCommand, "reset", 'r', cLuCmd::kResetText},
    {OrderKind::kCommand, "print", 'i', cLuCmd::kPrintText},
    {OrderKind::kReportingOn, "reporting on", '+'},
    {OrderKind::kReportingOff, "reporting off", '-'},
    {OrderKind::kHelp, "help", 'h'},
    {OrderKind::kQuit, "quit", 'q'},
};

// Longer lines cannot be orders. The limit bounds the input that is collected.
constexpr std::size_t kLongestLine = 200;

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r") == std::string::npos;
}

std::string WithoutUnprintable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return std::isprint(c) == 0; }, '?');
  return text;
}

}  // namespace

const Order* OrderOf(const std::string& line) {
  const std::string typed = CLI::detail::to_lower(CLI::detail::trim_copy(line));
  const auto order = std::find_if(std::begin(kOrders), std::end(kOrders), [&](const Order& known) {
    return typed == known.word || typed == std::string(1, known.letter);
  });
  return order == std::end(kOrders) ? nullptr : order;
}

std::string OrderWords() {
  std::string words;
  for (const Order& order : kOrders) {
    const bool isLast = &order == std::prev(std::end(kOrders));
    words += words.empty() ? "" : isLast ? " and " : ", ";
    words += std::string(order.word) + " (" + order.letter + ")";
  }
  return words;
}

bool OrderInput::IsTyped() const {
  return isatty(mDescriptor) != 0 && tcgetpgrp(mDescriptor) == getpgrp();
}

bool OrderInput::IsReadable() const {
  pollfd item = {mDescriptor, POLLIN, 0};
  return mIsOpen && (isatty(mDescriptor) == 0 || IsTyped()) && poll(&item, 1, 0) > 0;
}

void OrderInput::Read() {
  std::array<char, 256> buffer;
  const ssize_t size = read(mDescriptor, buffer.data(), buffer.size());
  if (size > 0)
    mPending.append(buffer.data(), static_cast<std::size_t>(size));
  else if (size == 0 || (errno != EINTR && errno != EAGAIN))
    mIsOpen = false;
}

std::optional<TypedOrder> OrderInput::Next() {
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
      return TypedOrder{WithoutUnprintable(line), OrderOf(line)};
    if (mPending.empty() && !mIsOpen)
      return std::nullopt;
  }
}

}  // namespace louddesk
