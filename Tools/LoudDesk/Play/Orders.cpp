// The words and letters.

#include "Orders.h"

#include <CLI/StringTools.hpp>
#include <algorithm>
#include <iterator>

namespace louddesk {
namespace {

constexpr Order kOrders[] = {
    {OrderKind::kCommand, "start", 's', "Start"},  //
    {OrderKind::kCommand, "pause", 'p', "Pause"},
    {OrderKind::kCommand, "play", 'y', "Play"},
    {OrderKind::kCommand, "stop", 't', "Stop"},
    {OrderKind::kCommand, "reset", 'r', "Reset"},
    {OrderKind::kCommand, "print", 'i', "Print"},
    {OrderKind::kReportingOn, "reporting on", '+'},
    {OrderKind::kReportingOff, "reporting off", '-'},
    {OrderKind::kHelp, "help", 'h'},
    {OrderKind::kQuit, "quit", 'q'},
};

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

}  // namespace louddesk
