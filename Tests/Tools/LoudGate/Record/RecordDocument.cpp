// Takes the document apart.

#include "RecordDocument.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {

std::string ContentsOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::regex PatternOf(const std::string& listed) {
  const std::string escaped = std::regex_replace(listed, std::regex(R"([.()])"), R"(\$&)");
  const std::string open = std::regex_replace(escaped, std::regex(R"(\\\.\\\.\\\.)"), ".+");
  return std::regex(std::regex_replace(open, std::regex("[0-9]+"), "[0-9]+"));
}

}  // namespace

std::string RecordSection() {
  const std::string document = ContentsOf(OPERATIONS_DOCUMENT);
  const std::size_t begin = document.find("\n## 12. The record\n");
  return begin == std::string::npos ? "" : document.substr(begin);
}

std::vector<std::string> ListedLines() {
  const std::string section = RecordSection();
  const std::size_t begin = section.find("| LoudGate says, after the file's name |");
  const std::string table = section.substr(begin, section.find("\n\n", begin) - begin);
  const std::regex row("\n\\| `([^`]+)` \\|");
  std::vector<std::string> lines;
  for (std::sregex_iterator found(table.begin(), table.end(), row), end; found != end; ++found)
    lines.push_back((*found)[1]);
  return lines;
}

bool IsListed(const std::string& line, const std::string& file) {
  const std::string head = file + ": ";
  if (line.rfind(head, 0) != 0)
    return false;
  const std::string text = line.substr(head.size());
  const auto lines = ListedLines();
  return std::any_of(lines.begin(), lines.end(), [&text](const std::string& listed) {
    return std::regex_match(text, PatternOf(listed));
  });
}
