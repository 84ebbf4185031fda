// The example messages that the tests share with the description of the protocol, one file per
// message.

#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

/// The text of one example message without the line feed that ends its file. A file that is missing
/// or does not end in a line feed fails the test and gives an empty text.
inline std::string ReadGolden(const std::string& name) {
  std::ifstream file(LOUDCALC_GOLDEN_DIR "/" + name, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  if (text.empty() || text.back() != '\n') {
    ADD_FAILURE() << "No example message in " << name;
    return "";
  }
  text.pop_back();
  return text;
}
