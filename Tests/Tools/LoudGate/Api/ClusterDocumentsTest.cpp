// Compares the documents of clusters with the examples of Docs/PROTOCOL.md.

#include "ClusterDocuments.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "GoldenFile.h"
#include "GoldenMessage.h"
#include "ToldCluster.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;

class ClusterDocumentsTest : public testing::Test {
 protected:
  json Document() const { return json::parse(ClusterDocument(mTold.cluster, mTold.now)); }

  ToldCluster mTold;
};

TEST_F(ClusterDocumentsTest, AllAreTheExample) {
  mTold.StartMeasuring();
  EXPECT_EQ(ReadGolden("gate-clusters.json"),
            loudgate::ClustersDocument({&mTold.cluster}, mTold.now));
}

TEST_F(ClusterDocumentsTest, OneIsTheExample) {
  mTold.StartMeasuring();
  EXPECT_EQ(ReadGolden("gate-cluster.json"), ClusterDetailsDocument(mTold.cluster, mTold.now));
}

TEST_F(ClusterDocumentsTest, OneThatHasSaidNothingIsTheExample) {
  mTold.Answer("command-republished-at-start.frames");
  EXPECT_EQ(ReadGolden("gate-cluster-not-started.json"), ClusterDocument(mTold.cluster, mTold.now));
}

TEST_F(ClusterDocumentsTest, NoneIsAnEmptyArray) {
  EXPECT_EQ(json::array(), json::parse(loudgate::ClustersDocument({}, mTold.now)).at("Clusters"));
}

TEST_F(ClusterDocumentsTest, WithoutReadingThereIsNoNumber) {
  mTold.StartMeasuring();
  mTold.Data("loudness-data-reset.frames");
  const json document = Document();
  for (const char* name : {"MaxMomentary", "Momentary", "ShortTerm", "Integrated", "Lra", "Program",
                           "MaxTruePeak", "TruePeak", "MaxShortTerm", "HeldTruePeak"})
    EXPECT_TRUE(document.at(name).is_null()) << name;
}

TEST_F(ClusterDocumentsTest, FiguresThatDoNotChangeAreToldAfterThreeSeconds) {
  mTold.StartMeasuring();
  EXPECT_TRUE(Document().at("NoChange").is_null());
  for (int i = 0; i < 35; ++i) {
    mTold.Pass(milliseconds(100));
    mTold.Data("loudness-data.frames");
  }
  // 3.54 s since the first message, rounded.
  EXPECT_EQ(3.5, Document().at("NoChange"));
  EXPECT_EQ("RUNNING", Document().at("State"));
}

TEST_F(ClusterDocumentsTest, TextsOfPeersBecomeUtf8) {
  louddesk::ServiceAnswer answer;
  answer.command = "St\xE4rt";
  mTold.cluster.TakeAnswer(answer, mTold.now);
  const json document = json::parse(ClusterDetailsDocument(mTold.cluster, mTold.now));
  EXPECT_EQ("St\xEF\xBF\xBDrt acknowledged", document.at("Notes").at(0).at("Text"));
}

}  // namespace
