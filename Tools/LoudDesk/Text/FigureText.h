// Figures as they are written everywhere: in tables, rows, pages and labels. Stateless.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// A figure with two decimals, `missing` where there is no reading. Never "-0.00".
std::string FigureText(const std::optional<double>& figure, const char* missing);

}  // namespace louddesk
