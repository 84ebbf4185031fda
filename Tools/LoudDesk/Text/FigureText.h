// Figures as they are written everywhere: in tables, rows, pages and labels. Stateless.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// The sign for both, in UTF-8.
constexpr char kPlusMinus[] = "\xC2\xB1";

/// A figure with two decimals, `missing` where there is no reading. Never "-0.00".
std::string FigureText(const std::optional<double>& figure, const char* missing = "-");

}  // namespace louddesk
