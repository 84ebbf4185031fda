// Orders, given as words, letters and lines of input.

#include "Orders.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <vector>

namespace {

using louddesk::Order;
using louddesk::OrderInput;
using louddesk::OrderKind;
using louddesk::OrderOf;
using testing::ElementsAre;

struct OrderCase {
  const char* word;
  char letter;
  OrderKind kind;
  const char* command;
};

constexpr OrderCase kCases[] = {
    {"start", 's', OrderKind::kCommand, "Start"},
    {"pause", 'p', OrderKind::kCommand, "Pause"},
    {"play", 'y', OrderKind::kCommand, "Play"},
    {"stop", 't', OrderKind::kCommand, "Stop"},
    {"reset", 'r', OrderKind::kCommand, "Reset"},
    {"print", 'i', OrderKind::kCommand, "Print"},
    {"reporting on", '+', OrderKind::kReportingOn, ""},
    {"reporting off", '-', OrderKind::kReportingOff, ""},
    {"help", 'h', OrderKind::kHelp, ""},
    {"quit", 'q', OrderKind::kQuit, ""},
};

TEST(OrdersTest, EveryOrderHasAWordAndALetter) {
  for (const OrderCase& expected : kCases) {
    const Order* order = OrderOf(expected.word);
    ASSERT_NE(nullptr, order) << expected.word;
    EXPECT_EQ(order, OrderOf(std::string(1, expected.letter))) << expected.word;
    EXPECT_EQ(expected.kind, order->kind) << expected.word;
    EXPECT_STREQ(expected.command, order->command) << expected.word;
  }
}

TEST(OrdersTest, CaseAndBlanksAroundAWordDoNotMatter) {
  EXPECT_EQ(OrderOf("pause"), OrderOf("\t Pause \r"));
  EXPECT_EQ(OrderOf("reporting off"), OrderOf("REPORTING OFF"));
  EXPECT_EQ(OrderOf("pause"), OrderOf(" P\r"));
}

TEST(OrdersTest, OtherLinesAreNotOrders) {
  for (const char* line :
       {"", "x", "paus", "pauses", "pause now", "pp", "reporting", "reporting  on"})
    EXPECT_EQ(nullptr, OrderOf(line)) << line;
}

TEST(OrdersTest, EveryOrderIsNamed) {
  EXPECT_EQ(
      "start (s), pause (p), play (y), stop (t), reset (r), print (i), reporting on (+), "
      "reporting off (-), help (h) and quit (q)",
      louddesk::OrderWords());
}

/// Uses the reading end of a pipe as the input.
class OrderInputTest : public testing::Test {
 protected:
  OrderInputTest() {
    EXPECT_EQ(0, pipe2(mEnds, O_CLOEXEC));
    mInput.emplace(mEnds[0]);
  }

  ~OrderInputTest() override {
    close(mEnds[0]);
    CloseWriter();
  }

  void Write(const std::string& text) {
    ASSERT_EQ(static_cast<ssize_t>(text.size()), write(mEnds[1], text.data(), text.size()));
  }

  void CloseWriter() {
    if (mEnds[1] >= 0)
      close(mEnds[1]);
    mEnds[1] = -1;
  }

  /// Texts of everything that can be read now.
  std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    while (const auto typed = mInput->Next()) {
      texts.push_back(typed->text);
      if (texts.size() > 10000)
        break;
    }
    return texts;
  }

  int mEnds[2] = {-1, -1};
  std::optional<OrderInput> mInput;
};

TEST_F(OrderInputTest, NothingIsWaitedFor) {
  EXPECT_FALSE(mInput->Next());
  EXPECT_FALSE(mInput->IsTyped());
}

TEST_F(OrderInputTest, LinesAreOrders) {
  Write("pause\nreporting off\n");
  const auto first = mInput->Next();
  ASSERT_TRUE(first);
  EXPECT_EQ("pause", first->text);
  EXPECT_EQ(OrderOf("pause"), first->order);
  const auto second = mInput->Next();
  ASSERT_TRUE(second);
  EXPECT_EQ(OrderOf("reporting off"), second->order);
  EXPECT_FALSE(mInput->Next());
}

TEST_F(OrderInputTest, LineIsWholeBeforeItCounts) {
  Write("pa");
  EXPECT_FALSE(mInput->Next());
  Write("use\npl");
  EXPECT_THAT(Texts(), ElementsAre("pause"));
  Write("ay\n");
  EXPECT_THAT(Texts(), ElementsAre("play"));
}

TEST_F(OrderInputTest, LastLineNeedsNoEnd) {
  Write("pause\nplay");
  CloseWriter();
  EXPECT_THAT(Texts(), ElementsAre("pause", "play"));
  EXPECT_FALSE(mInput->Next());
}

TEST_F(OrderInputTest, EndOfTheInputIsForGood) {
  CloseWriter();
  for (int i = 0; i < 3; ++i)
    EXPECT_FALSE(mInput->Next());
}

TEST_F(OrderInputTest, EmptyLinesDoNotCount) {
  Write("\n\r\n \t\n\npause\n\n");
  EXPECT_THAT(Texts(), ElementsAre("pause"));
}

TEST_F(OrderInputTest, OtherLinesHaveNoOrder) {
  Write("restart\n");
  const auto typed = mInput->Next();
  ASSERT_TRUE(typed);
  EXPECT_EQ("restart", typed->text);
  EXPECT_EQ(nullptr, typed->order);
}

TEST_F(OrderInputTest, WhatCannotBePrintedIsNotPassedOn) {
  Write("\033[2Jpau\x07se\n");
  EXPECT_THAT(Texts(), ElementsAre("?[2Jpau?se"));
}

TEST_F(OrderInputTest, LongLineIsCut) {
  Write(std::string(450, 'x') + "\npause\n");
  EXPECT_THAT(Texts(), ElementsAre(std::string(200, 'x'), std::string(200, 'x'),
                                   std::string(50, 'x'), "pause"));
}

TEST_F(OrderInputTest, EndlessLineIsNotCollected) {
  Write(std::string(300, 'x'));
  const auto typed = mInput->Next();
  ASSERT_TRUE(typed);
  EXPECT_EQ(200u, typed->text.size());
}

TEST(OrderInputFileTest, NullDeviceHasNoOrders) {
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  OrderInput input(null);
  EXPECT_FALSE(input.Next());
  EXPECT_FALSE(input.Next());
  close(null);
}

TEST(OrderInputFileTest, DescriptorThatIsClosedHasNoOrders) {
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(null);
  OrderInput input(null);
  EXPECT_FALSE(input.Next());
  EXPECT_FALSE(input.Next());
}

TEST(OrderInputFileTest, DirectoryHasNoOrders) {
  const int directory = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  OrderInput input(directory);
  EXPECT_FALSE(input.Next());
  EXPECT_FALSE(input.Next());
  close(directory);
}

// For a process, another session's terminal is like its own terminal in the background.
TEST(OrderInputTerminalTest, ForeignTerminalIsLeftAlone) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(terminal, 0);
  ASSERT_EQ(0, grantpt(terminal));
  ASSERT_EQ(0, unlockpt(terminal));
  const int shell = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(shell, 0);
  {
    OrderInput input(shell);
    EXPECT_FALSE(input.IsTyped());
    ASSERT_EQ(2, write(terminal, "p\n", 2));
    EXPECT_FALSE(input.Next());
  }
  close(shell);
  close(terminal);
}

}  // namespace
