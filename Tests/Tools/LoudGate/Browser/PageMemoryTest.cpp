// The pages beside eight clusters for a while: their memory does not grow.

#include <iostream>
#include <map>

#include "PageTest.h"

namespace {

using nlohmann::json;

// More than the variation between two garbage collections. What grows besides is small and bounded
// or the test's own: the history of a cluster's page, which is full after 20 minutes, adds about 20
// kB. The browser keeps about 80 bytes of each script that its driver has run, so the test runs one
// a second only.
constexpr double kMostGrowth = 512.0 * 1024;

class PageMemoryTest : public PageTest, public testing::WithParamInterface<unsigned> {
 protected:
  // What is in use after a garbage collection.
  struct Held {
    double heap;     // of the scripts, bytes
    unsigned nodes;  // of the document, and removed ones that scripts still refer to
    unsigned handlers;
    unsigned events;  // taken by the page so far
  };

  // Opens a page in the current window and makes it count its events, each of which changes the age
  // of at least one cluster. Returns the window.
  std::string OpenCounting(const std::string& path, unsigned meters) {
    mBrowser.Open(Url() + path);
    AwaitTrue(
        "return [...document.querySelectorAll('.state')].filter("
        "(state) => state.textContent === 'RUNNING').length === " +
        std::to_string(meters));
    mBrowser.Run(
        "window.events = 0; new MutationObserver(() => ++window.events).observe("
        "document.body, {subtree: true, childList: true, characterData: true})");
    return mBrowser.Current();
  }

  Held Measure(const std::string& window) {
    mBrowser.Use(window);
    mBrowser.Tool("HeapProfiler.collectGarbage");
    const json counts = mBrowser.Tool("Memory.getDOMCounters");
    return {mBrowser.Tool("Runtime.getHeapUsage").at("usedSize"), counts.at("nodes"),
            counts.at("jsEventListeners"), mBrowser.Run("return window.events")};
  }

  // Feeds blocks until the page in the current window has taken `count` more events.
  void TakeEvents(unsigned count) {
    const auto begin = mBrowser.Run("return window.events").get<unsigned>();
    const auto end = std::chrono::steady_clock::now() + kPeriod * count * 2 + kPatience;
    while (mBrowser.Run("return window.events").get<unsigned>() < begin + count) {
      ASSERT_LT(std::chrono::steady_clock::now(), end);
      FeedASecond();
    }
  }

  void FeedASecond() {
    for (int i = 0; i < 10; ++i) {
      Feed(1, -23.0 - i * 2);
      Pass(kPeriod);
      mUnit.DropLoudnessData();
      mUnit.DropStates();
    }
  }
};

TEST_P(PageMemoryTest, DoesNotGrow) {
  ASSERT_NO_FATAL_FAILURE(StartBoard());
  std::map<std::string, std::string> windows;  // by page
  windows["the board's page"] = OpenCounting("/", kClusters);
  mBrowser.OpenWindow();
  windows["the page of a cluster"] = OpenCounting("/cluster/1-1", 1);
  AwaitStreams(2);
  ASSERT_NO_FATAL_FAILURE(TakeEvents(20));
  std::map<std::string, Held> before;
  for (const auto& [page, window] : windows)
    before[page] = Measure(window);
  ASSERT_NO_FATAL_FAILURE(TakeEvents(GetParam()));
  AwaitStreams(2);
  for (const auto& [page, window] : windows) {
    SCOPED_TRACE(page);
    const Held& old = before[page];
    const Held now = Measure(window);
    EXPECT_LE(old.events + GetParam() / 2, now.events);
    // An empty text has no node, so the number of nodes varies a little.
    EXPECT_GT(old.nodes + GetParam() / 2, now.nodes);
    EXPECT_EQ(old.handlers, now.handlers);
    EXPECT_GT(kMostGrowth, now.heap - old.heap);
    std::cout << page << ": " << now.events - old.events << " events, heap " << old.heap << " to "
              << now.heap << " bytes, " << old.nodes << " to " << now.nodes << " nodes\n";
  }
}

// Ten seconds in every run; ten minutes, at ten events a second, with the label `soak`.
INSTANTIATE_TEST_SUITE_P(Short, PageMemoryTest, testing::Values(100u));
INSTANTIATE_TEST_SUITE_P(Soak, PageMemoryTest, testing::Values(6000u));

}  // namespace
