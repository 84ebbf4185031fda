// What Docs/OPERATIONS.md says of the record.

#pragma once

#include <regex>
#include <string>
#include <vector>

/// The section "The record".
std::string RecordSection();

/// The lines that the section lists, without the name of the file before them.
std::vector<std::string> ListedLines();

/// Whether one of them fits the line, which has the name of the file before it. "..." stands for
/// any text, a number for any number.
bool IsListed(const std::string& line, const std::string& file);
