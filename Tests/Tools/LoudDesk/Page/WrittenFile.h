// Shared by the tests of written files.

#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TestAudio.h"

namespace louddesk {

/// A directory in which a test writes one file.
class WrittenFileTest : public testing::Test {
 protected:
  explicit WrittenFileTest(const std::string& name) : mPath(mDirectory.Path(name)) {}

  /// The names of all files in the directory.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(mDirectory.Path(".")))
      names.push_back(entry.path().filename());
    return names;
  }

  test_audio::AudioDirectory mDirectory;
  std::string mPath;  // path of the file
};

}  // namespace louddesk
