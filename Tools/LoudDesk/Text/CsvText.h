// Rows of comma-separated values, RFC 4180. Stateless.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// Returns the fields as one row that ends with a line feed. A field with commas, quotes or line
/// breaks is quoted; its bytes are otherwise unchanged.
std::string CsvLine(const std::vector<std::string>& fields);

}  // namespace louddesk
