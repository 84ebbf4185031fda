// Clusters of the preset: texts, cluster objects, the meters that belong to them, access functions.

#include "Clusters.h"

#include <gtest/gtest.h>

#include <limits>

#include "JsonText.h"
#include "Meters.h"

namespace {

constexpr std::int32_t kMeters = 32;
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

std::string Cluster(std::int64_t first, std::int64_t count) {
  return "{\"FirstMeter\":" + std::to_string(first) +
         ",\"NumberOfMeters\":" + std::to_string(count) + "}";
}

class ClusterTest : public testing::Test {
 protected:
  int Parse(const std::string& text) { return mCluster.ParseCluster(Json(text)); }

  void ExpectInitial() {
    EXPECT_EQ(mCluster.miClusterId, 3);
    EXPECT_EQ(mCluster.miFirstMeter, -1);
    EXPECT_EQ(mCluster.miNumberOfMeters, 0);
    EXPECT_TRUE(mCluster.mbMuteOnPresetRecall);
    EXPECT_EQ(mCluster.mClusterType, ACCT_NONE);
    EXPECT_EQ(mCluster.msClusterType, "");
    EXPECT_EQ(mCluster.msClusterName, "");
  }

  cCluster mCluster{3};
};

class ClusterSetTest : public testing::Test {
 protected:
  int Parse(const std::string& text) { return mSet.ParseClusterSet(Json(text), &mMeters); }

  // Checks that exactly the meters from `first` up to but excluding `end` belong to `cluster`.
  void ExpectClaims(std::int32_t cluster, std::int32_t first, std::int32_t end) {
    for (std::int32_t meter = 0; meter < kMeters; ++meter)
      EXPECT_EQ(mMeters.GetClusterId(meter), meter >= first && meter < end ? cluster : -1) << meter;
  }

  cMeterSet mMeters{kMeters};
  cClusterSet mSet{kMeters};
};

}  // namespace

TEST_F(ClusterTest, TypeTextsAreFoundByTheNamesTheyContain) {
  struct Case {
    const char* text;
    AudioChannelsClusterType_e type;
  };
  const Case cases[] = {
      {"None", ACCT_NONE},
      {"Mono", ACCT_MONO},
      {"Stereo", ACCT_STEREO},
      {"5.1", ACCT_5_1},
      {"5.1Surround", ACCT_5_1},
      {"7.1Surround", ACCT_7_1},
      {"Custom", ACCT_CUSTOM},
      {"7.1", ACCT_NONE},
      {"stereo", ACCT_NONE},
      {"", ACCT_NONE},
      {"Mono None", ACCT_NONE},
      {"Stereo Mono", ACCT_MONO},
      {"5.1 Stereo", ACCT_STEREO},
      {"7.1Surround 5.1", ACCT_5_1},
      {"Custom 7.1Surround", ACCT_7_1},
  };
  for (const Case& row : cases)
    EXPECT_EQ(cCluster::ConvertToClusterTypeFromString(row.text), row.type) << row.text;
  EXPECT_EQ(cCluster::ConvertToClusterTypeFromString(nullptr), ACCT_NONE);
}

TEST_F(ClusterTest, NewClusterHasNoMeters) {
  ExpectInitial();
}

TEST_F(ClusterTest, ReadsEveryMember) {
  EXPECT_EQ(Parse(R"({"FirstMeter":9,"NumberOfMeters":6,"MuteOnPresetRecall":false,
                      "Type":"5.1Surround","Name":"Main"})"),
            1);
  EXPECT_EQ(mCluster.miFirstMeter, 8);
  EXPECT_EQ(mCluster.miNumberOfMeters, 6);
  EXPECT_FALSE(mCluster.mbMuteOnPresetRecall);
  EXPECT_EQ(mCluster.mClusterType, ACCT_5_1);
  EXPECT_EQ(mCluster.msClusterType, "5.1Surround");
  EXPECT_EQ(mCluster.msClusterName, "Main");
}

TEST_F(ClusterTest, ResetKeepsOnlyTheIndex) {
  Parse(R"({"FirstMeter":9,"NumberOfMeters":6,"MuteOnPresetRecall":false,"Type":"Mono",
            "Name":"x"})");
  mCluster.ResetCluster();
  ExpectInitial();
}

TEST_F(ClusterTest, MissingAndMistypedMembersLeaveTheirFields) {
  EXPECT_EQ(Parse("{}"), 1);
  ExpectInitial();
  EXPECT_EQ(Parse(R"({"FirstMeter":1.0,"NumberOfMeters":"6","MuteOnPresetRecall":0,"Type":5.1,
                      "Name":null})"),
            1);
  ExpectInitial();
}

TEST_F(ClusterTest, ClusterThatIsNotAnObjectFails) {
  for (const char* text : {"[]", "null", "1", "\"x\"", "true"})
    EXPECT_EQ(Parse(text), 0) << text;
}

TEST_F(ClusterTest, LowestFirstMeterDoesNotOverflow) {
  EXPECT_EQ(Parse(Cluster(kLowest, 1)), 1);
  EXPECT_EQ(mCluster.miFirstMeter, kLowest);
}

TEST_F(ClusterSetTest, HoldsItsClustersFromTheStart) {
  EXPECT_EQ(mSet.miMaxClusters, kMeters);
  EXPECT_EQ(mSet.miValidClustersCount, 0);
  ASSERT_EQ(mSet.mClusters.size(), 32U);
  for (std::int32_t cluster = 0; cluster < kMeters; ++cluster)
    EXPECT_EQ(mSet.mClusters.at(cluster)->miClusterId, cluster);
}

TEST_F(ClusterSetTest, ElementsAreTheClustersInOrder) {
  EXPECT_EQ(Parse("[" + Cluster(1, 6) + "," + Cluster(7, 2) + "]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 2);
  for (std::int32_t meter = 0; meter < kMeters; ++meter)
    EXPECT_EQ(mMeters.GetClusterId(meter), meter < 6 ? 0 : meter < 8 ? 1 : -1) << meter;
}

TEST_F(ClusterSetTest, EmptyArraySucceedsWithoutValidClusters) {
  mSet.miValidClustersCount = 4;
  EXPECT_EQ(Parse("[]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 0);
}

TEST_F(ClusterSetTest, ValueThatIsNotAnArrayFails) {
  mSet.miValidClustersCount = 4;
  for (const char* text : {"{}", "null", "1", "\"x\""})
    EXPECT_EQ(Parse(text), 0) << text;
  EXPECT_EQ(mSet.miValidClustersCount, 4);
}

TEST_F(ClusterSetTest, FirstMeterZeroClaimsNothingAndIsNotValid) {
  EXPECT_EQ(Parse("[" + Cluster(0, 6) + "]"), 1);
  EXPECT_EQ(mSet.GetFirstMeter(0, 99), -1);
  EXPECT_EQ(mSet.miValidClustersCount, 0);
  ExpectClaims(0, 0, 0);
}

TEST_F(ClusterSetTest, ClusterWithoutFirstMeterIsNotValid) {
  EXPECT_EQ(Parse(R"([{"NumberOfMeters":6}])"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 0);
  ExpectClaims(0, 0, 0);
}

TEST_F(ClusterSetTest, NegativeCountClaimsNothingAndIsNotValid) {
  for (const std::int32_t count : {-1, kLowest}) {
    EXPECT_EQ(Parse("[" + Cluster(1, count) + "]"), 1) << count;
    EXPECT_EQ(mSet.miValidClustersCount, 0) << count;
  }
  ExpectClaims(0, 0, 0);
}

TEST_F(ClusterSetTest, CountZeroIsValidAndClaimsNothing) {
  EXPECT_EQ(Parse("[" + Cluster(5, 0) + "]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 1);
  ExpectClaims(0, 0, 0);
}

TEST_F(ClusterSetTest, ClaimEndsWithTheMeterSet) {
  EXPECT_EQ(Parse("[" + Cluster(31, 4) + "]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 1);
  ExpectClaims(0, 30, 32);
}

TEST_F(ClusterSetTest, ClaimBeyondTheMeterSetIsValidButEmpty) {
  for (const std::int32_t first : {33, kHighest}) {
    EXPECT_EQ(Parse("[" + Cluster(first, kHighest) + "]"), 1) << first;
    EXPECT_EQ(mSet.miValidClustersCount, 1) << first;
  }
  ExpectClaims(0, 0, 0);
}

TEST_F(ClusterSetTest, ClaimThatBeginsBelowTheFirstMeterReachesIntoTheSet) {
  // First meter -5 is index -6; eight meters are the indices -6 to 1.
  EXPECT_EQ(Parse("[" + Cluster(-5, 8) + "]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 1);
  ExpectClaims(0, 0, 2);
}

TEST_F(ClusterSetTest, ClaimBelowTheFirstMeterIsValidButEmpty) {
  EXPECT_EQ(Parse("[" + Cluster(-5, 6) + "]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 1);
  ExpectClaims(0, 0, 0);
}

TEST_F(ClusterSetTest, ExtremeClaimsNeitherOverflowNorTakeTime) {
  // 10,000 documents with clusters of 2^31 meters: a loop over the meters would take hours.
  const std::string text = "[" + Cluster(kLowest, kHighest) + "," + Cluster(2, kHighest) + "]";
  const rapidjson::Document document = Json(text);
  for (int repetition = 0; repetition < 10000; ++repetition)
    ASSERT_EQ(mSet.ParseClusterSet(document, &mMeters), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 2);
  ExpectClaims(1, 1, kMeters);
}

TEST_F(ClusterSetTest, LaterClusterOverridesAnEarlierClaim) {
  EXPECT_EQ(Parse("[" + Cluster(1, 8) + "," + Cluster(5, 2) + "]"), 1);
  EXPECT_EQ(mMeters.GetClusterId(3), 0);
  EXPECT_EQ(mMeters.GetClusterId(4), 1);
  EXPECT_EQ(mMeters.GetClusterId(5), 1);
  EXPECT_EQ(mMeters.GetClusterId(6), 0);
}

TEST_F(ClusterSetTest, ElementThatIsNotAnObjectFailsAndClaimsNothing) {
  EXPECT_EQ(Parse("[[]," + Cluster(1, 2) + ",null]"), 0);
  EXPECT_EQ(mSet.miValidClustersCount, 1);
  ExpectClaims(1, 0, 2);
}

TEST_F(ClusterSetTest, ElementsBeyondTheSetAreIgnored) {
  std::string text = "[";
  for (int cluster = 0; cluster < 32; ++cluster)
    text += Cluster(1, 1) + ",";
  EXPECT_EQ(Parse(text + Cluster(2, 31) + ",null]"), 1);
  EXPECT_EQ(mSet.miValidClustersCount, 32);
  ExpectClaims(31, 0, 1);
}

TEST_F(ClusterSetTest, WithoutMetersNothingIsClaimedOrValid) {
  EXPECT_EQ(mSet.ParseClusterSet(Json("[" + Cluster(1, 2) + "]"), nullptr), 1);
  EXPECT_EQ(mSet.GetFirstMeter(0, 99), 0);
  EXPECT_EQ(mSet.miValidClustersCount, 0);
}

TEST_F(ClusterSetTest, ParsingOverwritesTheClustersInPlace) {
  const std::shared_ptr<cCluster> cluster = mSet.GetCluster(0);
  Parse("[" + Cluster(1, 2) + "]");
  EXPECT_EQ(cluster->miNumberOfMeters, 2);
  mSet.ResetClusters();
  EXPECT_EQ(mSet.GetCluster(0), cluster);
  EXPECT_EQ(cluster->miNumberOfMeters, 0);
  EXPECT_EQ(mSet.miValidClustersCount, 0);
}

TEST_F(ClusterSetTest, GettersReadTheCluster) {
  Parse(R"([{},{"FirstMeter":9,"NumberOfMeters":6,"MuteOnPresetRecall":false,"Type":"7.1Surround",
                "Name":"Main"}])");
  EXPECT_EQ(mSet.GetFirstMeter(1, 99), 8);
  EXPECT_EQ(mSet.GetNumberOfMeters(1, 99), 6);
  EXPECT_FALSE(mSet.GetMuteOnPresetRecall(1, true));
  EXPECT_EQ(mSet.GetCusterType(1), ACCT_7_1);
  EXPECT_EQ(mSet.GetCusterTypeStr(1), "7.1Surround");
  EXPECT_EQ(mSet.GetClusterName(1), "Main");
}

TEST_F(ClusterSetTest, ClusterIsCopiedForItsIndex) {
  Parse(R"([{},{"FirstMeter":9,"NumberOfMeters":6,"MuteOnPresetRecall":false,"Type":"Mono",
                "Name":"Main"}])");
  cCluster copy(-1);
  EXPECT_EQ(mSet.GetClusterForId(1, copy), 1);
  EXPECT_EQ(copy.miClusterId, 1);
  EXPECT_EQ(copy.miFirstMeter, 8);
  EXPECT_EQ(copy.miNumberOfMeters, 6);
  EXPECT_FALSE(copy.mbMuteOnPresetRecall);
  EXPECT_EQ(copy.mClusterType, ACCT_MONO);
  EXPECT_EQ(copy.msClusterType, "Mono");
  EXPECT_EQ(copy.msClusterName, "Main");
}

TEST_F(ClusterSetTest, GettersFallBackOutsideTheSetAndWhereAClusterIsMissing) {
  mSet.mClusters.erase(9);
  for (const std::int32_t cluster : {kLowest, -1, 9, kMeters, kHighest}) {
    SCOPED_TRACE(cluster);
    EXPECT_EQ(mSet.GetCluster(cluster), nullptr);
    EXPECT_EQ(mSet.GetFirstMeter(cluster, 101), 101);
    EXPECT_EQ(mSet.GetNumberOfMeters(cluster, 102), 102);
    EXPECT_TRUE(mSet.GetMuteOnPresetRecall(cluster, true));
    EXPECT_FALSE(mSet.GetMuteOnPresetRecall(cluster, false));
    EXPECT_EQ(mSet.GetCusterType(cluster), ACCT_NONE);
    EXPECT_EQ(mSet.GetCusterTypeStr(cluster), "");
    EXPECT_EQ(mSet.GetClusterName(cluster), "");
    cCluster copy(77);
    EXPECT_EQ(mSet.GetClusterForId(cluster, copy), 0);
    EXPECT_EQ(copy.miClusterId, 77);
  }
}

TEST_F(ClusterSetTest, EntriesOutsideTheSetAreNotReached) {
  for (const std::int32_t cluster : {-1, kMeters}) {
    mSet.mClusters.emplace(cluster, std::make_shared<cCluster>(cluster));
    EXPECT_EQ(mSet.GetCluster(cluster), nullptr) << cluster;
  }
}

TEST_F(ClusterSetTest, InitMakesTheClustersAnew) {
  mSet.miMaxClusters = 2;
  mSet.GetCluster(0)->miNumberOfMeters = 9;
  mSet.InitClusters();
  EXPECT_EQ(mSet.mClusters.size(), 2U);
  EXPECT_EQ(mSet.GetNumberOfMeters(0, 99), 0);
}
