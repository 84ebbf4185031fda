// Quotes the fields that need it.

#include "CsvText.h"

namespace louddesk {
namespace {

std::string Field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos)
    return text;
  std::string quoted = "\"";
  for (const char c : text)
    quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

}  // namespace

std::string CsvLine(const std::vector<std::string>& fields) {
  std::string row;
  for (const std::string& field : fields)
    row += (&field == &fields.front() ? "" : ",") + Field(field);
  return row + "\n";
}

}  // namespace louddesk
