// The page of eight clusters for a while: what it keeps does not grow.

#include "PageTest.h"

namespace {

using nlohmann::json;

// Far more than what differs from one collection to the next.
constexpr double kMostGrowth = 512.0 * 1024;

class PageMemoryTest : public PageTest, public testing::WithParamInterface<unsigned> {
 protected:
  struct Held {
    double heap;     // of scripts, bytes
    unsigned nodes;  // of the document, and those that scripts still know
    unsigned handlers;
  };

  // What is still in use.
  Held Measure() {
    mBrowser.Tool("HeapProfiler.collectGarbage");
    const json counts = mBrowser.Tool("Memory.getDOMCounters");
    return {mBrowser.Tool("Runtime.getHeapUsage").at("usedSize"), counts.at("nodes"),
            counts.at("jsEventListeners")};
  }

  // Feeds blocks until the page has taken so many events more.
  void TakeEvents(unsigned count) {
    const auto begin = mBrowser.Run("return window.events").get<unsigned>();
    const auto end = std::chrono::steady_clock::now() + kPeriod * count * 2 + kPatience;
    unsigned fed = 0;
    while (mBrowser.Run("return window.events").get<unsigned>() < begin + count) {
      ASSERT_LT(std::chrono::steady_clock::now(), end);
      Feed(1, -23.0 - fed++ % 20);
      Pass(kPeriod);
      mUnit.DropLoudnessData();
      mUnit.DropStates();
    }
  }
};

TEST_P(PageMemoryTest, DoesNotGrow) {
  ASSERT_NO_FATAL_FAILURE(StartBoard());
  mBrowser.Open(Url() + "/");
  AwaitTrue(
      "return [...document.querySelectorAll('.state')].filter("
      "(state) => state.textContent === 'RUNNING').length === 8");
  // Each event changes the age of one cluster at least.
  mBrowser.Run(
      "window.events = 0; new MutationObserver(() => ++window.events).observe("
      "document.body, {subtree: true, childList: true, characterData: true})");
  ASSERT_NO_FATAL_FAILURE(TakeEvents(20));
  const Held before = Measure();
  ASSERT_NO_FATAL_FAILURE(TakeEvents(GetParam()));
  const Held after = Measure();
  // A text that is empty at the moment has no node, so their number varies a little.
  EXPECT_GT(before.nodes + GetParam() / 2, after.nodes);
  EXPECT_EQ(before.handlers, after.handlers);
  EXPECT_GT(kMostGrowth, after.heap - before.heap);
}

// Ten seconds every day, ten minutes of ten events a second with the label `soak`.
INSTANTIATE_TEST_SUITE_P(Short, PageMemoryTest, testing::Values(100u));
INSTANTIATE_TEST_SUITE_P(Soak, PageMemoryTest, testing::Values(6000u));

}  // namespace
