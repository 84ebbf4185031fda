// The one text form of a figure, for tables, CSV, pages and labels. Stateless.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// The plus-minus sign in UTF-8.
constexpr char kPlusMinus[] = "\xC2\xB1";

/// A figure with two decimals, or `missing` without a reading. Never "-0.00".
std::string FigureText(const std::optional<double>& figure, const char* missing = "-");

}  // namespace louddesk
