// The ring of loudness codes.

#include "Circbuf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

namespace {

std::vector<std::uint16_t> CodesOf(const cCircBuf& ring) {
  return {ring.pCircBuf.get(), ring.pCircBuf.get() + ring.MaxNumElements};
}

void Add(cCircBuf& ring, std::initializer_list<std::uint16_t> codes) {
  for (std::uint16_t code : codes)
    ring.AddElement(code);
}

TEST(CircBufTest, NewRingIsEmptyAndZeroed) {
  const cCircBuf ring(5);
  EXPECT_EQ(ring.MaxNumElements, 5U);
  EXPECT_EQ(ring.NumElementsInUse, 0U);
  EXPECT_EQ(ring.CurrentElementIndx, 4U);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(0, 0, 0, 0, 0));
}

TEST(CircBufTest, FirstCodeGoesToIndexZero) {
  cCircBuf ring(3);
  ring.AddElement(1111);
  EXPECT_EQ(ring.CurrentElementIndx, 0U);
  EXPECT_EQ(ring.NumElementsInUse, 1U);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(1111, 0, 0));
}

TEST(CircBufTest, CodesFollowOneAnotherUpToTheCapacity) {
  cCircBuf ring(3);
  Add(ring, {1, 2, 3});
  EXPECT_EQ(ring.CurrentElementIndx, 2U);
  EXPECT_EQ(ring.NumElementsInUse, 3U);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(1, 2, 3));
}

TEST(CircBufTest, FullRingOverwritesTheOldestAndStaysFull) {
  cCircBuf ring(3);
  Add(ring, {1, 2, 3, 4});
  EXPECT_EQ(ring.CurrentElementIndx, 0U);
  EXPECT_EQ(ring.NumElementsInUse, 3U);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(4, 2, 3));
  Add(ring, {5, 6, 7});
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(7, 5, 6));
  EXPECT_EQ(ring.NumElementsInUse, 3U);
}

TEST(CircBufTest, ResetEmptiesAndZeroes) {
  cCircBuf ring(3);
  Add(ring, {1, 2, 3, 4});
  ring.Reset();
  EXPECT_EQ(ring.MaxNumElements, 3U);
  EXPECT_EQ(ring.NumElementsInUse, 0U);
  EXPECT_EQ(ring.CurrentElementIndx, 2U);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(0, 0, 0));
  ring.AddElement(9);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(9, 0, 0));
}

TEST(CircBufTest, RingOfOneKeepsTheNewest) {
  cCircBuf ring(1);
  EXPECT_EQ(ring.CurrentElementIndx, 0U);
  Add(ring, {1, 2});
  EXPECT_EQ(ring.CurrentElementIndx, 0U);
  EXPECT_EQ(ring.NumElementsInUse, 1U);
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(2));
}

TEST(CircBufTest, CodesAreStoredUnchanged) {
  cCircBuf ring(2);
  Add(ring, {0, 65535});
  EXPECT_THAT(CodesOf(ring), testing::ElementsAre(0, 65535));
}

}  // namespace
