// Recorded messages as lines of JSON.

#include "RecordingList.h"

#include <gtest/gtest.h>

namespace {

using louddesk::MessageLine;
using louddesk::Sender;

TEST(RecordingListTest, ShowsTextsAsTheyAre) {
  EXPECT_EQ(
      R"({"n":7,"time":1.500000,"from":"main application server","topic":"T","frames":["{\"a\":1}",""]})",
      MessageLine(7, {Sender::kMainAppServer, 1500000, {"T", R"({"a":1})", ""}}));
}

TEST(RecordingListTest, ShowsWhatIsNotTextAsDigits) {
  EXPECT_EQ(R"({"n":1,"time":0.000001,"from":"state publisher","topic":"T","frames":["ff00"]})",
            MessageLine(1, {Sender::kStatePublisher, 1, {"T", std::string("\xFF\0", 2)}}));
  EXPECT_EQ(R"({"n":1,"time":0.000000,"from":"signal processor","topic":"T","frames":["4100"]})",
            MessageLine(1, {Sender::kSignalProcessor, 0, {"T", std::string("A\0", 2)}}));
}

TEST(RecordingListTest, ShowsTheValuesOfLoudnessData) {
  std::vector<std::string> frames = {"LoudnessData"};
  for (char i = 1; i <= 11; ++i)
    frames.emplace_back(std::string{i, i < 3 ? '\xFF' : '\0'});
  EXPECT_EQ(
      R"({"n":1,"time":0.000000,"from":"data publisher","topic":"LoudnessData","figures":)"
      R"({"MaxMomentary":-255,"Momentary":-254,"ShortTerm":3,"Integrated":4,"Lra":5,"Program":6,)"
      R"("MaxPeak":7,"Peak":8,"ValidSrc":9,"Cmd":10,"ClId":11}})",
      MessageLine(1, {Sender::kDataPublisher, 0, frames}));
  frames.back() = "odd";
  EXPECT_NE(std::string::npos,
            MessageLine(1, {Sender::kDataPublisher, 0, frames}).find("\"6f6464\"]}"));
}

}  // namespace
