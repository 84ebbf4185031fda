// The preset of the probe's input/output matrix: the preset reader under its own name.

#include "ProbeMatrixConf.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(ProbeMatrixConfTest, IsAPresetAndNothingMore) {
  EXPECT_TRUE((std::is_base_of_v<cPresetParser, cProbeMatrixConf>));
  EXPECT_EQ(sizeof(cProbeMatrixConf), sizeof(cPresetParser));
}

TEST(ProbeMatrixConfTest, HasAsManyClustersAsMeters) {
  const cProbeMatrixConf conf(32);
  EXPECT_EQ(conf.mMeters.size(), 32U);
  EXPECT_EQ(conf.mClusters.size(), 32U);
}

TEST(ProbeMatrixConfTest, ReadsPresets) {
  cProbeMatrixConf conf(2);
  EXPECT_EQ(conf.ParsePreset(R"({"Clusters":[],"MeterSet":{"2":{"Speaker":"Left"}},
                                 "SystemClockSource":{}})",
                             true, false, 0, nullptr),
            1);
  EXPECT_EQ(conf.GetSpeakerType(1), AST_SPEAKER_LEFT);
}
