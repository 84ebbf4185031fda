// Formats figures with two decimals.

#include "FigureText.h"

#include <fmt/format.h>

namespace louddesk {

std::string FigureText(const std::optional<double>& figure, const char* missing) {
  if (!figure)
    return missing;
  const std::string text = fmt::format("{:.2f}", *figure);
  return text == "-0.00" ? "0.00" : text;
}

}  // namespace louddesk
