// The live meter's rows for pipes.

#include "WatchRows.h"

#include <gtest/gtest.h>

#include "LuEnumerations.h"

namespace {

using louddesk::LoudnessMessage;
using louddesk::UtcText;
using louddesk::WallTime;
using louddesk::WatchCsvRow;
using louddesk::WatchJsonRow;

// 1718011999 s: 2024-06-10 09:33:19 UTC (19884 days of 86400 s and 34399 s).
const WallTime kTime = WallTime{} + std::chrono::milliseconds(1718011999007);

LoudnessMessage Message() {
  LoudnessMessage message;
  message.data = {-101, -102, -5, -104, 105, 16, -107, 8};
  message.validSource = 1;
  message.command = LU_CMD_PLAY;
  message.cluster = 3;
  message.wellFormed = true;
  return message;
}

LoudnessMessage NoReadings() {
  LoudnessMessage message;
  message.command = LU_CMD_NONE;
  message.cluster = 8;
  message.wellFormed = true;
  return message;
}

TEST(WatchRowsTest, TimeIsUtcWithMilliseconds) {
  EXPECT_EQ("2024-06-10T09:33:19.007Z", UtcText(kTime));
}

TEST(WatchRowsTest, CsvRowHasAFieldForEachName) {
  EXPECT_EQ(
      "Time,MaxMomentary,Momentary,ShortTerm,Integrated,Lra,Program,MaxTruePeak,TruePeak,"
      "ValidSource,Command,Cluster\n",
      louddesk::WatchCsvHeader());
  EXPECT_EQ("2024-06-10T09:33:19.007Z,-10.1,-10.2,-0.5,-10.4,10.5,1.6,-1.07,0.08,1,Play,3\n",
            WatchCsvRow(Message(), kTime));
}

TEST(WatchRowsTest, NoReadingIsEmptyInCsv) {
  EXPECT_EQ("2024-06-10T09:33:19.007Z,,,,,,,,,0,None,8\n", WatchCsvRow(NoReadings(), kTime));
}

TEST(WatchRowsTest, JsonRowIsAnObject) {
  EXPECT_EQ(R"({"Time":"2024-06-10T09:33:19.007Z","MaxMomentary":-10.1,"Momentary":-10.2,)"
            R"("ShortTerm":-0.5,"Integrated":-10.4,"Lra":10.5,"Program":1.6,"MaxTruePeak":-1.07,)"
            R"("TruePeak":0.08,"ValidSource":true,"Command":"Play","Cluster":3})"
            "\n",
            WatchJsonRow(Message(), kTime));
}

TEST(WatchRowsTest, NoReadingIsNullInJson) {
  EXPECT_EQ(R"({"Time":"2024-06-10T09:33:19.007Z","MaxMomentary":null,"Momentary":null,)"
            R"("ShortTerm":null,"Integrated":null,"Lra":null,"Program":null,"MaxTruePeak":null,)"
            R"("TruePeak":null,"ValidSource":false,"Command":"None","Cluster":8})"
            "\n",
            WatchJsonRow(NoReadings(), kTime));
}

TEST(WatchRowsTest, RangeOfASteadyProgrammeIsAReading) {
  LoudnessMessage message = Message();
  message.data.Lra = 0;
  EXPECT_NE(std::string::npos, WatchCsvRow(message, kTime).find(",-10.4,0.0,1.6,"));
  EXPECT_NE(std::string::npos, WatchJsonRow(message, kTime).find(R"("Lra":0.0,)"));
}

TEST(WatchRowsTest, CodeOfTheOtherKindIsAReading) {
  LoudnessMessage message = Message();
  message.data.TruePeak = kNoLoudnessCode;
  EXPECT_NE(std::string::npos, WatchCsvRow(message, kTime).find(",-9.90,"));
}

}  // namespace
