// Pages on the disk are either complete or absent.

#include "PageFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "DraftFile.h"
#include "WrittenFile.h"

namespace louddesk {
namespace {

namespace fs = std::filesystem;

using test_audio::BytesOf;
using testing::ElementsAre;

class PageFileTest : public WrittenFileTest {
 protected:
  PageFileTest() : WrittenFileTest("page.html") {}
};

TEST_F(PageFileTest, APageIsWrittenAndNothingBeside) {
  EXPECT_EQ(WritePage(mPath, "<html/>"), "");
  EXPECT_EQ(BytesOf(mPath), "<html/>");
  EXPECT_THAT(Names(), ElementsAre("page.html"));
}

TEST_F(PageFileTest, APageTakesThePlaceOfAnEarlierOneAndItsRights) {
  mDirectory.WriteBytes("page.html", "a much longer earlier page");
  ASSERT_EQ(chmod(mPath.c_str(), 0640), 0);
  EXPECT_EQ(WritePage(mPath, "<html/>"), "");
  EXPECT_EQ(BytesOf(mPath), "<html/>");
  EXPECT_EQ(fs::status(mPath).permissions(), fs::perms(0640));
}

TEST_F(PageFileTest, ANewPageHasTheRightsThatTheUserGivesToFiles) {
  umask(027);
  EXPECT_EQ(WritePage(mPath, "<html/>"), "");
  EXPECT_EQ(fs::status(mPath).permissions(), fs::perms(0640));
}

TEST_F(PageFileTest, AFullDiskLeavesTheEarlierPage) {
  mDirectory.WriteBytes("page.html", "earlier");
  const test_audio::FileSizeLimit limit(100);
  EXPECT_EQ(WritePage(mPath, std::string(1000, 'x')), "File too large");
  EXPECT_EQ(BytesOf(mPath), "earlier");
  EXPECT_THAT(Names(), ElementsAre("page.html"));
}

TEST_F(PageFileTest, AFullDiskLeavesNoHalfPage) {
  const test_audio::FileSizeLimit limit(100);
  EXPECT_EQ(WritePage(mPath, std::string(1000, 'x')), "File too large");
  EXPECT_TRUE(Names().empty());
}

TEST_F(PageFileTest, ALinkStaysAndItsFileIsReplaced) {
  const std::string target = mDirectory.WriteBytes("target.html", "earlier");
  fs::create_symlink("target.html", mPath);
  EXPECT_EQ(WritePage(mPath, "<html/>"), "");
  EXPECT_TRUE(fs::is_symlink(mPath));
  EXPECT_EQ(BytesOf(target), "<html/>");
}

TEST_F(PageFileTest, APageInTheCurrentDirectoryNeedsNoPath) {
  ASSERT_EQ(chdir(mDirectory.Path(".").c_str()), 0);
  EXPECT_EQ(WhyNotWritable("page.html"), "");
  EXPECT_EQ(WritePage("page.html", "<html/>"), "");
  EXPECT_EQ(BytesOf(mPath), "<html/>");
}

TEST_F(PageFileTest, AskingLeavesEverythingAsItIs) {
  EXPECT_EQ(WhyNotWritable(mPath), "");
  EXPECT_TRUE(Names().empty());
  mDirectory.WriteBytes("page.html", "earlier");
  EXPECT_EQ(WhyNotWritable(mPath), "");
  EXPECT_EQ(BytesOf(mPath), "earlier");
}

TEST_F(PageFileTest, WhatCannotBeWrittenIsKnownBefore) {
  fs::create_directory(mPath);
  ASSERT_EQ(mkfifo(mDirectory.Path("pipe.html").c_str(), 0600), 0);
  const std::string file = mDirectory.WriteBytes("file", "");
  struct {
    std::string path;
    const char* reason;
  } const cases[] = {
      {mPath, "is a directory"},
      {mDirectory.Path("pipe.html"), "is not a regular file"},
      {mDirectory.Path("missing/page.html"), "No such file or directory"},
      {file + "/page.html", "Not a directory"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WhyNotWritable(c.path), c.reason) << c.path;
    EXPECT_EQ(WritePage(c.path, "<html/>"), c.reason) << c.path;
  }
}

TEST_F(PageFileTest, NamesOfPagesEndInHtml) {
  for (const char* name : {"a.html", "dir.x/a.html", "a.wav.html"})
    EXPECT_EQ(CheckPageName(name), "") << name;
  for (const char* name : {"", ".html", "a.wav", "a.HTML", "a.html/"})
    EXPECT_EQ(CheckPageName(name), "the name of a report ends in .html") << name;
}

TEST_F(PageFileTest, NamesOfSeriesEndInCsv) {
  EXPECT_EQ(CheckCsvName("a.csv"), "");
  for (const char* name : {"", ".csv", "a.wav", "a.CSV"})
    EXPECT_EQ(CheckCsvName(name), "the name of a series ends in .csv") << name;
}

}  // namespace
}  // namespace louddesk
