// Figures with two decimals.

#include "FigureText.h"

#include <cstdio>
#include <cstring>

namespace louddesk {

std::string FigureText(const std::optional<double>& figure, const char* missing) {
  if (!figure)
    return missing;
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", *figure);
  return std::strcmp(text, "-0.00") == 0 ? "0.00" : text;
}

}  // namespace louddesk
