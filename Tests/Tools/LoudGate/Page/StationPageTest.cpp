// The page of all clusters.

#include "StationPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ToldCluster.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class StationPageTest : public testing::Test {
 protected:
  std::string Page() const { return loudgate::StationPage({&mTold.cluster}, mTold.now); }

  ToldCluster mTold;
};

TEST_F(StationPageTest, HasARowForEachCluster) {
  mTold.StartMeasuring();
  EXPECT_THAT(Page(), HasSubstr("Clusters at 2024-06-10T09:33:20.040Z"));
  EXPECT_THAT(Page(),
              HasSubstr("<tr><th scope=\"row\">1-1</th><td>RUNNING</td><td>-33.0</td><td>-28.3</td>"
                        "<td>-24.0</td><td>3.5</td><td>-6.02</td></tr>"));
}

TEST_F(StationPageTest, FiguresThatAreNotCurrentAreNotShown) {
  mTold.StartMeasuring();
  mTold.Pass(std::chrono::minutes(1));
  EXPECT_THAT(Page(), HasSubstr("<td>DEAD</td><td>-</td><td>-</td><td>-</td><td>-</td><td>-</td>"));
}

TEST_F(StationPageTest, SaysThatThereIsNoCluster) {
  EXPECT_THAT(loudgate::StationPage({}, mTold.now), HasSubstr("No cluster publishes"));
}

// What the content policy would refuse.
TEST_F(StationPageTest, HasNoScriptAndNoStyleOfItsOwn) {
  for (const char* text : {"<script", "<style", "style=", "onload", "http:", "https:", "@"})
    EXPECT_THAT(Page(), Not(HasSubstr(text))) << text;
}

}  // namespace
