// Figures as text.

#include "FigureText.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

TEST(FigureTextTest, FiguresHaveTwoDecimals) {
  EXPECT_EQ(FigureText(-23.0, "-"), "-23.00");
  EXPECT_EQ(FigureText(-23.006, "-"), "-23.01");
  EXPECT_EQ(FigureText(0.0, "-"), "0.00");
  EXPECT_EQ(FigureText(std::nullopt, "-"), "-");
}

TEST(FigureTextTest, ZeroHasNoSign) {
  EXPECT_EQ(FigureText(-0.001, "-"), "0.00");
  EXPECT_EQ(FigureText(-0.0, "-"), "0.00");
  EXPECT_EQ(FigureText(-0.006, "-"), "-0.01");
}

}  // namespace
}  // namespace louddesk
