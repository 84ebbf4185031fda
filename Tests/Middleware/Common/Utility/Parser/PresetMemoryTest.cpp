// Memory that runs out while a preset document is read.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "FailingNew.h"
#include "PresetFixture.h"

namespace {

using testing::_;
using testing::Each;
using testing::ElementsAre;
using testing::NotNull;
using testing::Pair;

// Two channels at each of two slots.
constexpr char kFourChannels[] =
    R"("AudioOutputRouting":{
       "0":{"BNC":{"SDI":{"Pairs":[{"Pair":1,"OutputChannels":[
           {"OutputTrimDb":1,"MeterSources":[]},{"OutputTrimDb":2,"MeterSources":[7]}]}]}}},
       "1":{"XLR":{"AES":{"Pairs":[{"Pair":1,"OutputChannels":[
           {"OutputTrimDb":3,"MeterSources":[8]},{"OutputTrimDb":4,"MeterSources":[]}]}]}}}})";

class PresetMemoryTest : public testing::Test {
 protected:
  int Parse(const std::string& text) {
    testing::internal::CaptureStdout();
    const int result = mPreset.ParsePreset(text.c_str(), true, true, 0, nullptr);
    testing::internal::GetCapturedStdout();
    return result;
  }

  // Reads a document while the allocation after the first `others` fails. False if reading needed
  // no further allocation.
  bool ParseWithFailure(const std::string& text, std::size_t others) {
    testing::internal::CaptureStdout();
    FailNewAfter(others);
    try {
      mPreset.ParsePreset(text.c_str(), true, true, 0, nullptr);
    } catch (const std::bad_alloc&) {
      // The allocation was for the document itself; nothing is read.
    }
    const bool hasFailed = StopFailingNew();
    testing::internal::GetCapturedStdout();
    return hasFailed;
  }

  // The trims of all entries, in the order of the map.
  std::vector<std::int32_t> Trims() const {
    std::vector<std::int32_t> trims;
    for (const auto& entry : mPreset.mAcorMap)
      trims.push_back(entry.second->miOutputTrimDb);
    return trims;
  }

  cPresetParser mPreset{kMeters};
};

}  // namespace

TEST_F(PresetMemoryTest, AfterAnyFailedAllocationTheNextDocumentIsRead) {
  const std::string text = Accepted(kFourChannels);
  std::size_t others = 0;
  while (ParseWithFailure(text, others)) {
    ASSERT_THAT(mPreset.mAcorMap, Each(Pair(_, NotNull()))) << others;
    EXPECT_EQ(Parse(text), 1) << others;
    EXPECT_THAT(Trims(), ElementsAre(1, 2, 3, 4)) << others;
    mPreset.mAcorMap.clear();
    ++others;
  }
  EXPECT_GE(others, 4U * 2U) << "each channel takes a place in the map and a record";
}
