// The names of the formats.

#include "FigureStyle.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace louddesk {
namespace {

// In the order of FigureStyle.
const std::vector<std::string> kFormats = {"table", "json", "csv"};

FigureStyle StyleNamed(const std::string& format) {
  return static_cast<FigureStyle>(std::find(kFormats.begin(), kFormats.end(), format) -
                                  kFormats.begin());
}

}  // namespace

void AddFormatOption(CLI::App& command, FigureStyle& style) {
  command
      .add_option_function<std::string>(
          "--format", [&style](const std::string& format) { style = StyleNamed(format); },
          "Format of the figures")
      ->default_str(kFormats.front())
      ->check(CLI::IsMember(kFormats));
}

}  // namespace louddesk
