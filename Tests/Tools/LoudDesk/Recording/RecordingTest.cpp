// Recordings written and read again, whole, cut off at every byte, and damaged.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <zstd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "RecordingFormat.h"
#include "RecordingReader.h"
#include "RecordingWriter.h"

namespace {

using louddesk::RecordedMessage;
using louddesk::RecordingError;
using louddesk::RecordingHead;
using louddesk::RecordingReader;
using louddesk::RecordingWriter;
using louddesk::Sender;
using testing::HasSubstr;

const RecordingHead kHead = {7, 3, 1700000000123456};

// Messages of every sender, with frames that are empty, binary and long.
std::vector<RecordedMessage> SomeMessages() {
  std::vector<RecordedMessage> messages;
  for (std::uint8_t sender = 1; sender <= louddesk::kLastSender; ++sender)
    messages.push_back({static_cast<Sender>(sender),
                        sender * 1000ULL,
                        {"topic " + std::to_string(sender), std::string("\0\xFF\n", 3), "",
                         std::string(70000, static_cast<char>('a' + sender))}});
  return messages;
}

struct ReadBack {
  RecordingHead head;
  std::vector<RecordedMessage> messages;
  std::string flaw;
  std::uint64_t endTime = 0;
};

ReadBack Read(const std::string& bytes) {
  std::istringstream in(bytes);
  RecordingReader reader(in);
  ReadBack read;
  read.head = reader.Head();
  while (auto message = reader.Next())
    read.messages.push_back(std::move(*message));
  read.flaw = reader.Flaw();
  read.endTime = reader.EndTime();
  return read;
}

void ExpectEqual(const RecordedMessage& expected, const RecordedMessage& message) {
  EXPECT_EQ(expected.sender, message.sender);
  EXPECT_EQ(expected.time, message.time);
  EXPECT_EQ(expected.frames, message.frames);
}

// The plain bytes of a recording, compressed like those of its file.
std::string Compressed(const std::string& plain) {
  std::string bytes(ZSTD_compressBound(plain.size()), '\0');
  bytes.resize(ZSTD_compress(bytes.data(), bytes.size(), plain.data(), plain.size(), 1));
  return bytes;
}

std::string PlainHead() {
  return std::string(louddesk::kRecordingMark, sizeof louddesk::kRecordingMark) +
         std::string(16, '\1');
}

class RecordingTest : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/recording-test-XXXXXX";
    mFolder = mkdtemp(name);
    mPath = mFolder / "recording";
  }
  void TearDown() override { std::filesystem::remove_all(mFolder); }

  std::string Bytes() const {
    std::ifstream file(mPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::filesystem::path mFolder;
  std::filesystem::path mPath;
};

TEST_F(RecordingTest, IsReadAsItWasWritten) {
  const auto messages = SomeMessages();
  RecordingWriter writer(mPath, kHead);
  for (const auto& message : messages)
    writer.Write(message);
  writer.Finish(999999);
  EXPECT_EQ(std::filesystem::file_size(mPath), writer.Size());

  const ReadBack read = Read(Bytes());
  EXPECT_EQ("", read.flaw);
  EXPECT_EQ(7U, read.head.meterSet);
  EXPECT_EQ(3U, read.head.cluster);
  EXPECT_EQ(kHead.start, read.head.start);
  EXPECT_EQ(999999U, read.endTime);
  ASSERT_EQ(messages.size(), read.messages.size());
  for (std::size_t i = 0; i < messages.size(); ++i)
    ExpectEqual(messages[i], read.messages[i]);
}

// More flushes than one compressed frame can have.
TEST_F(RecordingTest, EveryFlushMakesTheFileReadableUpToThere) {
  RecordingWriter writer(mPath, kHead);
  for (unsigned i = 1; i <= 130; ++i) {
    writer.Write({Sender::kSignalProcessor, i, {"topic", std::to_string(i)}});
    writer.Flush();
    const ReadBack read = Read(Bytes());
    ASSERT_EQ(i, read.messages.size());
    ExpectEqual({Sender::kSignalProcessor, i, {"topic", std::to_string(i)}}, read.messages.back());
    ASSERT_EQ("the recording is cut off", read.flaw);
    ASSERT_EQ(i, read.endTime);
  }
}

TEST_F(RecordingTest, CutOffAnywhereKeepsWhatWasBefore) {
  RecordingWriter writer(mPath, kHead);
  std::vector<std::size_t> sizes;  // size of the file after each message
  for (unsigned i = 0; i < 20; ++i) {
    writer.Write({Sender::kMainAppServer, i, {"topic", std::string(50, static_cast<char>(i))}});
    writer.Flush();
    sizes.push_back(writer.Size());
  }
  writer.Finish(20);
  const std::string whole = Bytes();
  for (std::size_t size = sizes.front(); size < sizes.back(); ++size) {
    const ReadBack read = Read(whole.substr(0, size));
    const auto readable = std::upper_bound(sizes.begin(), sizes.end(), size) - sizes.begin();
    ASSERT_GE(read.messages.size(), static_cast<std::size_t>(readable)) << size;
    ASSERT_EQ("the recording is cut off", read.flaw) << size;
    for (std::size_t i = 0; i < read.messages.size(); ++i)
      ASSERT_EQ(i, read.messages[i].time);
  }
}

TEST_F(RecordingTest, ChangedBytesAreNeverTakenForAWholeRecording) {
  RecordingWriter writer(mPath, kHead);
  for (const auto& message : SomeMessages())
    writer.Write(message);
  writer.Finish(999999);
  const std::string whole = Bytes();
  for (std::size_t place = 0; place < whole.size(); ++place) {
    std::string changed = whole;
    changed[place] = static_cast<char>(changed[place] ^ 0x55);
    try {
      ASSERT_NE("", Read(changed).flaw) << place;
    } catch (const RecordingError&) {
      continue;  // not even the head is complete
    }
  }
}

TEST_F(RecordingTest, AnExistingFileIsLeftAlone) {
  std::ofstream(mPath) << "mine";
  EXPECT_THROW(RecordingWriter(mPath, kHead), RecordingError);
  EXPECT_EQ("mine", Bytes());
}

std::string ComplaintOf(const std::function<void()>& write) {
  try {
    write();
  } catch (const RecordingError& error) {
    return error.what();
  }
  return "";
}

TEST_F(RecordingTest, AFileThatCannotBeMadeOrGrowIsNamed) {
  const std::string nowhere = mFolder / "none/recording";
  EXPECT_EQ(nowhere + ": No such file or directory",
            ComplaintOf([&] { RecordingWriter(nowhere, kHead); }));
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {100, 100};
  setrlimit(RLIMIT_FSIZE, &limit);
  RecordingWriter writer(mPath, kHead);
  std::string noise;
  for (unsigned i = 0; i < 1000; ++i)
    noise.push_back(static_cast<char>(i * i * 7919 >> 5));
  writer.Write({Sender::kMainAppServer, 1, {noise}});
  EXPECT_EQ(mPath.string() + ": File too large", ComplaintOf([&] { writer.Flush(); }));
}

TEST(RecordingReaderTest, OtherFilesAreRefused) {
  for (const std::string& bytes :
       {std::string(), std::string("text\n"), Compressed("LOUDREC2" + std::string(100, '\0')),
        Compressed("LOUDREC1")})
    EXPECT_THROW(Read(bytes), RecordingError);
}

TEST(RecordingReaderTest, WhatCannotBeAMessageIsDamage) {
  const std::string time(8, '\0');
  EXPECT_THAT(Read(Compressed(PlainHead() + '\x09')).flaw, HasSubstr("unknown sender 9"));
  EXPECT_THAT(Read(Compressed(PlainHead() + '\1' + time + std::string(2, '\0'))).flaw,
              HasSubstr("without frames"));
  EXPECT_THAT(Read(Compressed(PlainHead() + '\1' + time + "\1" + '\0' + "\xFF\xFF\xFF\x7F")).flaw,
              HasSubstr("more than 1048576 bytes"));
  EXPECT_THAT(Read(Compressed(PlainHead() + '\0' + time + "more")).flaw,
              HasSubstr("something follows"));
}

// One message of one empty frame.
std::string PlainMessage(const std::string& time) {
  return '\1' + time + '\1' + std::string(5, '\0');
}

// Whoever computes with the times need not fear an overflow.
TEST(RecordingReaderTest, TimesThatNoRecorderWritesAreDamage) {
  const std::string early(8, '\0');
  const std::string later = '\1' + std::string(7, '\0');
  const std::string never(8, '\xFF');
  const ReadBack back = Read(Compressed(PlainHead() + PlainMessage(later) + PlainMessage(early)));
  EXPECT_EQ(1U, back.messages.size());
  EXPECT_THAT(back.flaw, HasSubstr("the time goes back"));
  EXPECT_THAT(Read(Compressed(PlainHead() + PlainMessage(later) + '\0' + early)).flaw,
              HasSubstr("the time goes back"));
  EXPECT_THAT(Read(Compressed(PlainHead() + PlainMessage(never))).flaw,
              HasSubstr("more than a hundred years"));
  EXPECT_THAT(Read(Compressed(PlainHead() + '\0' + never)).flaw,
              HasSubstr("more than a hundred years"));
}

TEST(RecordingReaderTest, FramesCountTowardsTheLimitEvenWhenEmpty) {
  std::string plain = PlainHead() + '\1' + std::string(8, '\0') + "\xFF\xFF";
  plain += std::string(4 * 65535, '\0');
  EXPECT_EQ(1U, Read(Compressed(plain)).messages.size());
}

TEST(RecordedMessageTest, TheLimitIsThatOfTheReader) {
  const std::size_t longest = louddesk::kLargestMessage - louddesk::kFrameHeadSize;
  EXPECT_TRUE(louddesk::FitsRecording({std::string(longest, 'x')}));
  EXPECT_FALSE(louddesk::FitsRecording({std::string(longest + 1, 'x')}));
  EXPECT_FALSE(louddesk::FitsRecording({std::string(longest, 'x'), ""}));
  EXPECT_FALSE(louddesk::FitsRecording({}));
  EXPECT_TRUE(louddesk::FitsRecording(std::vector<std::string>(65535)));
  EXPECT_FALSE(louddesk::FitsRecording(std::vector<std::string>(65536)));
}

}  // namespace
