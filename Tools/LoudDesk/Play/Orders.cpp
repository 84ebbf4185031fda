// The words and keys.

#include "Orders.h"

#include <algorithm>
#include <cctype>
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

constexpr char kBlanks[] = " \t\r\n";

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string::npos)
    return "";
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string LowerCase(std::string text) {
  for (char& character : text)
    character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  return text;
}

template <typename Condition>
const Order* FindOrder(const Condition& condition) {
  const auto order = std::find_if(std::begin(kOrders), std::end(kOrders), condition);
  return order == std::end(kOrders) ? nullptr : order;
}

}  // namespace

const Order* OrderOfWord(const std::string& line) {
  const std::string word = LowerCase(Trimmed(line));
  return FindOrder([&word](const Order& order) { return order.word == word; });
}

const Order* OrderOfKey(char key) {
  return FindOrder([key](const Order& order) { return order.key == key; });
}

std::string OrderWords() {
  std::string words;
  for (const Order& order : kOrders) {
    if (&order == std::prev(std::end(kOrders)))
      words += " and ";
    else if (!words.empty())
      words += ", ";
    words += order.word;
  }
  return words;
}

std::string OrderKeys() {
  std::string keys = "Keys:";
  for (const Order& order : kOrders) {
    if (order.kind == OrderKind::kReportingOn)
      keys += "\n     ";
    keys += std::string("  ") + order.key + " " + order.word;
  }
  return keys;
}

std::string UnknownWord(const std::string& word) {
  return "\"" + word + "\" is not known; there are " + OrderWords();
}

std::string UnknownKey(const std::string& key) {
  std::string line = "\"" + key + "\" is no key; there are";
  for (const Order& order : kOrders)
    line += std::string(" ") + order.key;
  return line;
}

}  // namespace louddesk
