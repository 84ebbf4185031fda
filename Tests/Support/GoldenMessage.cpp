// Reads and compares example messages. Stateless.

#include "GoldenMessage.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string_view>

#include "GoldenFile.h"

namespace golden {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";
constexpr char kDigits[] = "0123456789";
constexpr std::string_view kVariables[] = {"<ms>", "<line>"};

using Frame = std::optional<std::string>;

Frame FrameOfLiteral(const std::string& literal) {
  rapidjson::Document value;
  value.Parse<rapidjson::kParseIterativeFlag>(literal.c_str());
  if (value.HasParseError() || !value.IsString())
    return std::nullopt;
  return std::string(value.GetString(), value.GetStringLength());
}

// Bytes of one item, for example "22" or "00*126".
Frame BytesOf(const std::string& item) {
  const std::string digits = item.substr(0, 2);
  const std::string count = item.size() > 2 ? item.substr(3) : "1";
  if (digits.size() != 2 || digits.find_first_not_of(kHexDigits) != std::string::npos)
    return std::nullopt;
  if (count.empty() || count.find_first_not_of(kDigits) != std::string::npos)
    return std::nullopt;
  if (item.size() > 2 && item[2] != '*')
    return std::nullopt;
  return std::string(std::strtoul(count.c_str(), nullptr, 10),
                     static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16)));
}

Frame FrameOfHex(const std::string& items) {
  std::istringstream stream(items);
  std::string frame;
  for (std::string item; stream >> item;) {
    const Frame bytes = BytesOf(item);
    if (!bytes)
      return std::nullopt;
    frame += *bytes;
  }
  return frame;
}

Frame FrameOfText(const std::string& text) {
  return text;
}

Frame FrameOfFile(const std::string& name) {
  return ReadGolden(name);
}

// A kind of line: how it begins, whether that beginning is part of the frame, and how the rest is
// read.
struct Notation {
  std::string_view beginning;
  bool belongsToFrame;
  Frame (*read)(const std::string& text);
};

constexpr Notation kNotations[] = {
    {"\"", true, FrameOfLiteral},
    {"{", true, FrameOfText},
    {"hex: ", false, FrameOfHex},
    {"file: ", false, FrameOfFile},
};

Frame FrameOfLine(const std::string& line) {
  for (const Notation& notation : kNotations) {
    const std::size_t length = notation.beginning.size();
    if (line.compare(0, length, notation.beginning) == 0)
      return notation.read(notation.belongsToFrame ? line : line.substr(length));
  }
  return std::nullopt;
}

bool IsComment(const std::string& line) {
  return line.empty() || line.front() == '#';
}

// Length of the variable part at the beginning of `text`; 0 if there is none.
std::size_t VariableAtFront(std::string_view text) {
  for (const std::string_view variable : kVariables)
    if (text.substr(0, variable.size()) == variable)
      return variable.size();
  return 0;
}

std::size_t DigitsAtFront(std::string_view text) {
  return std::min(text.find_first_not_of(kDigits), text.size());
}

MATCHER_P2(Resembles, name, example, "is the message of " + name) {
  *result_listener << "which should be " << testing::PrintToString(example);
  return std::equal(example.begin(), example.end(), arg.begin(), arg.end(), IsFrame);
}

}  // namespace

bool ParseMessage(const std::string& text, Frames& frames) {
  Frames read;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (IsComment(line))
      continue;
    const Frame frame = FrameOfLine(line);
    if (!frame)
      return false;
    read.push_back(*frame);
  }
  if (read.empty())
    return false;
  frames = read;
  return true;
}

Frames ReadMessage(const std::string& name) {
  Frames frames;
  EXPECT_TRUE(ParseMessage(ReadGolden(name), frames)) << "No message in " << name;
  return frames;
}

bool IsFrame(const std::string& example, const std::string& actual) {
  std::string_view expected = example;
  std::string_view left = actual;
  while (!expected.empty()) {
    const std::size_t variable = VariableAtFront(expected);
    const std::size_t fitting =
        variable != 0 ? DigitsAtFront(left) : left.substr(0, 1) == expected.substr(0, 1);
    if (fitting == 0)
      return false;
    expected.remove_prefix(variable != 0 ? variable : 1);
    left.remove_prefix(fitting);
  }
  return left.empty();
}

testing::Matcher<const Frames&> IsMessage(const std::string& name) {
  return Resembles(name, ReadMessage(name));
}

}  // namespace golden
