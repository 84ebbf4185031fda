// Reads orders from the bodies of requests.

#include "ControlOrder.h"

#include <gtest/gtest.h>

namespace {

using loudgate::ReadControlOrder;

TEST(ControlOrderTest, CommandsHaveTheNamesOfMessages) {
  for (const std::string name : {"Start", "Pause", "Play", "Stop", "Reset"}) {
    const auto* const order = ReadControlOrder(R"({"Command":")" + name + R"("})");
    ASSERT_NE(nullptr, order) << name;
    EXPECT_EQ(name, order->name);
    EXPECT_EQ(name, order->command);
  }
}

TEST(ControlOrderTest, ReportingIsSwitchedOnAndOff) {
  const auto* const on = ReadControlOrder(R"({"Command":"ReportingOn"})");
  const auto* const off = ReadControlOrder(R"({"Command":"ReportingOff"})");
  ASSERT_TRUE(on != nullptr && off != nullptr);
  EXPECT_EQ(nullptr, on->command);
  EXPECT_TRUE(on->isReporting);
  EXPECT_EQ(nullptr, off->command);
  EXPECT_FALSE(off->isReporting);
}

TEST(ControlOrderTest, AnythingElseIsNone) {
  for (const std::string body :
       {"", "Start", "[]", "{}", "null", R"({"Command":"Print"})", R"({"Command":"start"})",
        R"({"Command":"Start "})", R"({"Command":1})", R"({"Command":["Start"]})",
        R"({"command":"Start"})", R"({"Command":"Start")"})
    EXPECT_EQ(nullptr, ReadControlOrder(body)) << body;
  EXPECT_EQ(nullptr, ReadControlOrder(std::string(4096, '[')));
}

TEST(ControlOrderTest, TheirNamesAreListed) {
  EXPECT_EQ("Start, Pause, Play, Stop, Reset, ReportingOn, ReportingOff",
            loudgate::ControlOrderNames());
}

}  // namespace
