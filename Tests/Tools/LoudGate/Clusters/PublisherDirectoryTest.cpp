// Watches the publishers' directory while it changes.

#include "PublisherDirectory.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <filesystem>
#include <fstream>

namespace {

using loudgate::PublisherDirectory;

class PublisherDirectoryTest : public testing::Test {
 protected:
  PublisherDirectoryTest() {
    char name[] = "/tmp/publisher-directory-XXXXXX";
    mParent = mkdtemp(name);
  }
  ~PublisherDirectoryTest() override { std::filesystem::remove_all(mParent); }

  std::string Path() const { return mParent + "/mq"; }

  void Make() const { std::filesystem::create_directory(Path()); }
  void Touch(const std::string& file) const { std::ofstream(Path() + "/" + file); }

  static bool IsReadable(const PublisherDirectory& directory) {
    pollfd item = {directory.Descriptor(), POLLIN, 0};
    return poll(&item, 1, 0) == 1;
  }

  // The names of all places: "1-3 2-1".
  static std::string Names(const PublisherDirectory& directory) {
    std::string names;
    for (const auto& place : directory.Places())
      names += (names.empty() ? "" : " ") + std::to_string(place.meterSet) + "-" +
               std::to_string(place.cluster);
    return names;
  }

  std::string mParent;
};

TEST_F(PublisherDirectoryTest, TellsOfFilesThatComeAndGo) {
  Make();
  PublisherDirectory directory(Path());
  EXPECT_TRUE(directory.TakeChanges());
  EXPECT_FALSE(directory.TakeChanges());
  Touch("ProbeLc1LoudnessDataPub-m2c1.ipc");
  Touch("ProbeLc1LoudnessDataPub-m1c3.ipc");
  Touch("loggerSinkMq.ipc");
  EXPECT_TRUE(IsReadable(directory));
  EXPECT_TRUE(directory.TakeChanges());
  EXPECT_EQ("1-3 2-1", Names(directory));
  std::filesystem::remove(Path() + "/ProbeLc1LoudnessDataPub-m1c3.ipc");
  EXPECT_TRUE(directory.TakeChanges());
  EXPECT_EQ("2-1", Names(directory));
  EXPECT_FALSE(IsReadable(directory));
}

TEST_F(PublisherDirectoryTest, NeedNotExistYet) {
  PublisherDirectory directory(Path());
  EXPECT_FALSE(directory.TakeChanges());
  EXPECT_EQ("", Names(directory));
  Make();
  EXPECT_TRUE(directory.TakeChanges());
  Touch("ProbeLc1LoudnessDataPub-m1c1.ipc");
  EXPECT_TRUE(IsReadable(directory));
  EXPECT_TRUE(directory.TakeChanges());
  EXPECT_EQ("1-1", Names(directory));
}

TEST_F(PublisherDirectoryTest, IsFoundAgainWhenItIsMadeAnew) {
  Make();
  PublisherDirectory directory(Path());
  directory.TakeChanges();
  for (const bool isRenamed : {false, true}) {
    if (isRenamed)
      std::filesystem::rename(Path(), mParent + "/old");
    else
      std::filesystem::remove_all(Path());
    EXPECT_TRUE(directory.TakeChanges());
    Make();
    EXPECT_TRUE(directory.TakeChanges());
    Touch("ProbeLc1LoudnessDataPub-m1c1.ipc");
    EXPECT_TRUE(directory.TakeChanges()) << isRenamed;
  }
}

}  // namespace
