// The singleton of the service's reactor and the numbers that it stores.

#include "LcReactor.h"

#include <gtest/gtest.h>

namespace {

TEST(LcReactorTest, NothingExistsBeforeFirstUse) {
  EXPECT_EQ(nullptr, cLcReactor::mpReactor);
  EXPECT_EQ(nullptr, gpReactor);
}

TEST(LcReactorTest, InstanceIsMadeOnceAndMirrored) {
  cLcReactor* reactor = cLcReactor::GetInstance();
  ASSERT_NE(nullptr, reactor);
  EXPECT_TRUE(reactor->IsValidReactor());
  EXPECT_EQ(-1, reactor->GetSlot());
  EXPECT_EQ(reactor, cLcReactor::GetInstance());
  EXPECT_EQ(reactor, gpReactor);
}

TEST(LcReactorTest, DeletedInstanceLeavesNoPointer) {
  cLcReactor::GetInstance();
  cLcReactor::DeleteInstance();
  EXPECT_EQ(nullptr, cLcReactor::mpReactor);
  EXPECT_EQ(nullptr, gpReactor);
  cLcReactor::DeleteInstance();
}

TEST(LcReactorTest, DeletionAfterTheSocketsWereClosedIsClean) {
  cLcReactor* reactor = cLcReactor::GetInstance();
  reactor->CloseMq();
  EXPECT_FALSE(reactor->IsValidReactor());
  cLcReactor::DeleteInstance();
}

TEST(LcReactorTest, NumbersStartAtZeroAndAreKept) {
  EXPECT_EQ(0u, cLcReactor::GetCmdUserId());
  EXPECT_EQ(0u, cLcReactor::GetConfUserId());
  cLcReactor::SetMeterSetNo(1);
  cLcReactor::SetClusterNo(2);
  cLcReactor::SetCmdUserId(3);
  cLcReactor::SetConfUserId(4);
  EXPECT_EQ(1u, cLcReactor::GetMeterSetNo());
  EXPECT_EQ(2u, cLcReactor::GetClusterNo());
  EXPECT_EQ(3u, cLcReactor::GetCmdUserId());
  EXPECT_EQ(4u, cLcReactor::GetConfUserId());
}

}  // namespace
