// The facts about the record in Docs/OPERATIONS.md.

#pragma once

#include <regex>
#include <string>
#include <vector>

/// The text of the section "The record".
std::string RecordSection();

/// The log lines that the section lists, without the file name before them.
std::vector<std::string> ListedLines();

/// Whether a listed line matches `line`, which begins with the file name. In a listed line "..."
/// matches any text, and a number any number.
bool IsListed(const std::string& line, const std::string& file);
