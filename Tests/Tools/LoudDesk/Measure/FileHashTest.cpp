// Compares SHA-256 with the examples of its standard.

#include "FileHash.h"

#include <gtest/gtest.h>

#include "AudioFile.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

// FIPS 180-2, Appendix B.1 and B.3, and the hash of an empty file.
TEST(FileHashTest, HashesAreThoseOfTheStandard) {
  const test_audio::AudioDirectory directory;
  EXPECT_EQ(Sha256Of(directory.WriteBytes("abc", "abc")),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Sha256Of(directory.WriteBytes("million", std::string(1'000'000, 'a'))),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
  EXPECT_EQ(Sha256Of(directory.WriteBytes("empty", "")),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

// A file that is longer than one read.
TEST(FileHashTest, EveryByteCounts) {
  const test_audio::AudioDirectory directory;
  std::string bytes(3'000'000, 'a');
  const std::string before = Sha256Of(directory.WriteBytes("file", bytes));
  bytes.back() = 'b';
  EXPECT_NE(Sha256Of(directory.WriteBytes("file", bytes)), before);
}

TEST(FileHashTest, AFileThatCannotBeReadHasNone) {
  const test_audio::AudioDirectory directory;
  EXPECT_THROW(Sha256Of(directory.Path("gone")), AudioFileError);
  EXPECT_THROW(Sha256Of(directory.Path(".")), AudioFileError);
}

}  // namespace
}  // namespace louddesk
