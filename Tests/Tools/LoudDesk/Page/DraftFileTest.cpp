// Files that appear under their names either complete or not at all.

#include "DraftFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "WrittenFile.h"

namespace louddesk {
namespace {

namespace fs = std::filesystem;

using test_audio::BytesOf;
using testing::ElementsAre;

class DraftFileTest : public WrittenFileTest {
 protected:
  DraftFileTest() : WrittenFileTest("file.csv") {}
};

TEST_F(DraftFileTest, WhatWasWrittenInPartsIsThereInTheEnd) {
  DraftFile draft(mPath);
  draft.Write("a,");
  draft.Write("b\n");
  EXPECT_FALSE(fs::exists(mPath));
  EXPECT_EQ(draft.TakePlace(), "");
  EXPECT_EQ(BytesOf(mPath), "a,b\n");
  EXPECT_THAT(Names(), ElementsAre("file.csv"));
}

TEST_F(DraftFileTest, ADraftThatIsNotKeptLeavesNothingAndTheEarlierFile) {
  mDirectory.WriteBytes("file.csv", "earlier");
  DraftFile(mPath).Write("new");
  EXPECT_EQ(BytesOf(mPath), "earlier");
  EXPECT_THAT(Names(), ElementsAre("file.csv"));
}

// A program that is killed while it measures for hours leaves nothing behind.
TEST_F(DraftFileTest, ADraftHasNoNameBeforeItTakesItsPlace) {
  const int unnamed = open(mDirectory.Path(".").c_str(), O_WRONLY | O_TMPFILE, 0600);
  if (unnamed < 0)
    GTEST_SKIP() << "NOT TESTED: the file system of " << mPath << " has no files without a name";
  close(unnamed);
  DraftFile draft(mPath);
  draft.Write("new");
  EXPECT_THAT(Names(), ElementsAre());
  EXPECT_EQ(draft.TakePlace(), "");
  EXPECT_THAT(Names(), ElementsAre("file.csv"));
}

TEST_F(DraftFileTest, TheFirstFaultStays) {
  const test_audio::FileSizeLimit limit(100);
  DraftFile draft(mPath);
  draft.Write("short");
  EXPECT_EQ(draft.Fault(), "");
  draft.Write(std::string(1000, 'x'));
  EXPECT_EQ(draft.Fault(), "File too large");
  draft.Write("short");
  EXPECT_EQ(draft.TakePlace(), "File too large");
  EXPECT_FALSE(fs::exists(mPath));
}

TEST_F(DraftFileTest, DraftsOfSeveralFilesDoNotMeet) {
  DraftFile first(mPath);
  DraftFile second(mDirectory.Path("other.csv"));
  first.Write("first");
  second.Write("second");
  EXPECT_EQ(second.TakePlace(), "");
  EXPECT_EQ(first.TakePlace(), "");
  EXPECT_EQ(BytesOf(mPath), "first");
  EXPECT_EQ(BytesOf(mDirectory.Path("other.csv")), "second");
}

TEST_F(DraftFileTest, AnImpossiblePlaceIsKnownAtOnceAndInTheEnd) {
  DraftFile draft(mDirectory.Path("missing/file.csv"));
  EXPECT_EQ(draft.Fault(), "No such file or directory");
  draft.Write("text");
  EXPECT_EQ(draft.TakePlace(), "No such file or directory");
}

}  // namespace
}  // namespace louddesk
