// Rows of comma-separated values, RFC 4180. Stateless.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// The fields as one row, which ends with a line feed. A field with commas, quotes or line ends
/// stands in quotes; its bytes are left as they are.
std::string CsvLine(const std::vector<std::string>& fields);

}  // namespace louddesk
