// Blocks of labelled values on standard output.

#include "LabelledBlock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

std::string Printed(const LabelledBlock& block) {
  testing::internal::CaptureStdout();
  block.Print();
  return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(LabelledBlockTest, EmptyBlockIsALineFeed) {
  EXPECT_EQ(Printed(LabelledBlock()), "\n");
}

TEST(LabelledBlockTest, ValuesFollowTheirLabelsAtOnce) {
  enum Colour { kRed = 3 };
  EXPECT_EQ(Printed(LabelledBlock()
                        .Add("\n\tText:", std::string("a b"))
                        .Add("\n\tFlag:", true)
                        .Add("\n\tNo flag:", false)
                        .Add("\n\tColour:", kRed)
                        .Add(" end")),
            "\n\tText:a b\n\tFlag:1\n\tNo flag:0\n\tColour:3 end\n");
}

TEST(LabelledBlockTest, NumbersArePrintedInTheirFullRange) {
  EXPECT_EQ(Printed(LabelledBlock()
                        .Add("a", std::numeric_limits<std::int32_t>::min())
                        .Add("b", std::numeric_limits<std::uint32_t>::max())
                        .Add("c", std::numeric_limits<std::uint64_t>::max())),
            "a-2147483648b4294967295c18446744073709551615\n");
}

TEST(LabelledBlockTest, PercentSignsInTextsAreNotFormats) {
  EXPECT_EQ(Printed(LabelledBlock().Add("%s", std::string("%n%d"))), "%s%n%d\n");
}
