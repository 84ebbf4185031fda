// The pages in a browser: figures, connection, keyboard, announcements, phones.

#include <fmt/format.h>

#include <cmath>
#include <csignal>
#include <numeric>
#include <set>
#include <vector>

#include "FiguresText.h"
#include "PageTest.h"

namespace {

using louddesk::LoudnessMessage;
using nlohmann::json;

constexpr char kNoReading[] = "\u2013";
constexpr char kTabulator[] = "\uE004";
constexpr char kEnter[] = "\uE007";

// The gain of a 5.1 programme over a single speaker: five speakers count, the surround ones with
// the weight 1.41, ITU-R BS.1770.
const double kSurroundGain = 10.0 * std::log10(3 + 2 * 1.41);

constexpr char kMomentaryScript[] =
    "return document.querySelector('[data-figure=Momentary]').textContent";

class LivePageTest : public PageTest {
 protected:
  // Notes the figures that the page shows, whenever they change.
  void NoteFigures() {
    mBrowser.Run(R"(
      const members = ["MaxMomentary", "Momentary", "ShortTerm", "Integrated", "Lra", "Program",
                       "MaxTruePeak", "TruePeak"];
      const figures = () => members.map(
          (member) => document.querySelector(`[data-figure=${member}]`).textContent).join(" ");
      window.shown = [figures()];
      new MutationObserver(() => window.shown.push(figures())).observe(
          document.querySelector("article"), {subtree: true, childList: true, characterData: true});
    )");
  }

  // The same figures, taken from a message.
  static std::string FiguresOf(const LoudnessMessage& message) {
    const LoudnessData_t& data = message.data;
    const auto loudness = [](std::int16_t code) {
      return code == kNoLoudnessCode ? kNoReading : fmt::format("{:.1f}", code / 10.0);
    };
    const auto peak = [](std::int16_t code) {
      return code == kNoTruePeakCode ? kNoReading : fmt::format("{:.2f}", code / 100.0);
    };
    const std::string range = louddesk::HasRange(data) ? loudness(data.Lra) : kNoReading;
    return fmt::format("{} {} {} {} {} {} {} {}", loudness(data.MaxMomentary),
                       loudness(data.Momentary), loudness(data.ShortTerm),
                       loudness(data.Integrated), range, loudness(data.Program),
                       peak(data.MaxTruePeak), peak(data.TruePeak));
  }

  // Feeds blocks at the unit's pace with levels that vary like a programme's: from `lkfs` down by
  // 0.6 LU, and 0.3 LU lower on average.
  void FeedProgramme(unsigned count, double lkfs) {
    for (unsigned block = 0; block < count; ++block) {
      Feed(1, lkfs - 0.1 * (block % 7));
      Pass(kPeriod);
    }
  }

  void SetMedia(const std::string& name, const std::string& value) {
    mBrowser.Tool("Emulation.setEmulatedMedia",
                  {{"features", {{{"name", name}, {"value", value}}}}});
  }
};

TEST_F(LivePageTest, ShowsTheFiguresOfThePublishedMessages) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  const double lastLevel = -20.0 + kSurroundGain;
  std::set<std::string> published;
  std::string last;
  const auto note = [&](const LoudnessMessage& message) {
    last = FiguresOf(message);
    published.insert(last);
    return std::abs(message.data.Momentary / 10.0 - lastLevel) <= 0.1;
  };
  mUnit.DropLoudnessData();
  ExpectData([&](const auto& message) { return note(message), true; }, "anything");
  NoteFigures();
  for (const double lkfs : {-31.0, -23.0, -20.0})
    for (unsigned block = 0; block < 10; ++block) {  // at the unit's pace
      Feed(1, lkfs);
      Pass(kPeriod);
    }
  ExpectData(note, "the momentary loudness of the last level");
  // All blocks have been taken and the figures stay, so the page must show the last ones in the
  // end.
  const json shown = AwaitPage("return window.shown", [&](const json& all) {
    while (const auto message = mUnit.NextLoudnessData(std::chrono::milliseconds(0)))
      note(*message);
    return all.back() == last;
  });
  EXPECT_LT(3u, published.size());
  std::set<std::string> different;
  for (const json& figures : shown) {
    different.insert(figures.get<std::string>());
    EXPECT_EQ(1u, published.count(figures.get<std::string>())) << figures;
  }
  EXPECT_LT(3u, different.size());
  EXPECT_EQ("", mBrowser.Complaints());
}

TEST_F(LivePageTest, ThePageOfAClusterShowsHistoryConfigurationAndAcknowledgements) {
  ASSERT_NO_FATAL_FAILURE(OpenPage("/cluster/1-1"));
  louddesk::LoudnessConfiguration configuration;
  configuration.loudnessStandard = "EBU R128 (+18)";
  configuration.loudnessWindow = "Custom";
  configuration.loudnessWindowTime = 120;
  SendConfiguration(configuration);
  AwaitTrue("return document.getElementById('configuration').innerText.includes('120 s')");
  AwaitTrue("return document.querySelector('.target').textContent.endsWith('EBU +18 scale')");
  AwaitTrue("return document.getElementById('notes').innerText.includes('EBU R128 (+18)')");
  Feed(40, -26.0);
  AwaitTrue(R"(
    const shortTerm = document.querySelector("[data-figure=ShortTerm]").textContent;
    return document.querySelector("#history figcaption p").textContent
        .endsWith(`, last ${shortTerm} LKFS`);
  )");
  AwaitTrue("return /^M\\d/.test(document.querySelector('.curve').getAttribute('d'))");
  SendCommand("Pause");
  AwaitTrue("return document.getElementById('notes').innerText.includes('Pause acknowledged')");
  EXPECT_EQ("", mBrowser.Complaints());
}

// Two levels, 30 LU apart. The relative gate is 10 LU below their mean power, which is the louder
// level plus 10 log10 of its share of the readings, ITU-R BS.1770, Annex 1. The gated loudness is
// then the louder level. Readings of 400 ms mix both levels where they meet.
TEST_F(LivePageTest, ThePageOfAClusterShowsTheHistogramWithItsGates) {
  ASSERT_NO_FATAL_FAILURE(OpenPage("/cluster/1-1"));
  const double louder = -20.0 - 0.3 + kSurroundGain;
  FeedProgramme(30, -50.0);
  FeedProgramme(30, -20.0);
  const json histogram = Await("/api/clusters/1-1", [](const json& document) {
                           return document.at("Histogram").at("Counts").size() > 250;
                         }).at("Histogram");
  const auto counts = histogram.at("Counts").get<std::vector<double>>();
  const double share = std::accumulate(counts.end() - 10, counts.end(), 0.0) /
                       histogram.at("Readings").get<double>();
  EXPECT_NEAR(louder + 10.0 * std::log10(share) - 10.0, histogram.at("RelativeGate"), 1.0);
  EXPECT_NEAR(louder, histogram.at("Gated"), 0.5);
  for (const char* bars : {"bars-counted", "bars-gated"})
    AwaitTrue("return document.querySelector('." + std::string(bars) +
              "').getAttribute('d').startsWith('M')");
  const json shown = AwaitPage(
      "return document.querySelector('#histogram figcaption').innerText.match("
      "/relative gate (-[0-9.]+) LKFS, gated loudness (-[0-9.]+) LKFS/)",
      [&](const json& match) {
        return match.is_array() &&
               std::abs(std::stod(match.at(2).get<std::string>()) - louder) < 0.5;
      });
  EXPECT_LE(std::stod(shown.at(1).get<std::string>()), louder - 10.0);
  EXPECT_EQ("", mBrowser.Complaints());
}

// A service that gets no more blocks repeats its last figures.
TEST_F(LivePageTest, ThePageOfAClusterShowsWhenNothingChangesAndCountsItOnce) {
  ASSERT_NO_FATAL_FAILURE(OpenPage("/cluster/1-1"));
  FeedProgramme(20, -23.0);
  const auto readingsAfter = [this](double noChange) {
    const json document = Await("/api/clusters/1-1", [noChange](const json& cluster) {
      const json& told = cluster.at("NoChange");
      return told.is_number() && told >= noChange;
    });
    return document.at("Histogram").at("Readings").get<int>();
  };
  const int readings = readingsAfter(3.3);  // three messages after the repeats are recognised
  EXPECT_EQ(readings, readingsAfter(6.0));
  // One reading per block, except at either end, where blocks may share a message.
  EXPECT_NEAR(20, readings, 12);
  AwaitTrue(
      "return /^Dotted: [0-9]+.s without change/.test("
      "document.querySelector('#history figcaption').innerText.split('\\n').pop())");
  AwaitTrue("return document.querySelector('.curve-unchanged').getAttribute('d').startsWith('M')");
  AwaitTrue("return document.querySelector('#histogram figcaption').innerText.includes(' of " +
            std::to_string(readings) + " readings lie')");
  FeedProgramme(20, -30.0);
  Await("/api/clusters/1-1", [readings](const json& cluster) {
    return cluster.at("Histogram").at("Readings") >= readings + 10;
  });
  EXPECT_EQ("", mBrowser.Complaints());
}

// Without a configuration the target is -23 LKFS with a tolerance of 1 LU. 32768 is full scale.
TEST_F(LivePageTest, MarksFiguresThatAreOutOfTolerance) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  const std::string find =
      "return ['Integrated', 'Program', 'MaxTruePeak', 'TruePeak'].map("
      "(member) => document.querySelector(`[data-figure=${member}]`)"
      ".closest('.figure'))";
  const std::string marked = find + ".map((figure) => figure.classList.contains('alert'))";
  const std::string remarks =
      find + ".map((figure) => figure.querySelector('.remark').textContent)";
  Feed(20, -23.0 - kSurroundGain);
  AwaitPage(remarks, [](const json& texts) { return texts.at(0) != ""; });
  EXPECT_EQ(json::array({false, false, false, false}), mBrowser.Run(marked));
  SendCommand("Reset");
  ExpectAcknowledgement("Reset");
  Feed(20, -20.0 - kSurroundGain, 32768);
  AwaitPage(marked, [](const json& flags) {
    return flags == json::array({true, true, true, true});
  });
  EXPECT_EQ(json::array({"+3.0 LU, too loud", "+3.0 LU, too loud", "over", "over"}),
            mBrowser.Run(remarks));
}

TEST_F(LivePageTest, AClusterThatIsNotThereIsNamed) {
  ASSERT_NO_FATAL_FAILURE(StartGate());
  mBrowser.Open(Url() + "/cluster/1-7");
  AwaitConnection("No cluster 1-7 publishes on this board.");
  EXPECT_EQ(true, mBrowser.Run("return document.querySelector('main').hidden"));
}

TEST_F(LivePageTest, ALostConnectionIsShownAndComesBackByItself) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  Feed(10, -23.0);
  const auto isReading = [](const json& text) { return text != kNoReading; };
  AwaitPage(kMomentaryScript, isReading);
  mBrowser.Run("window.isTheSamePage = true");
  mGate->Signal(SIGKILL);
  ASSERT_TRUE(mGate->WaitForExit(kPatience));
  AwaitConnection("Connection lost at ");
  EXPECT_EQ(kNoReading, mBrowser.Run(kMomentaryScript));
  EXPECT_EQ("", mBrowser.Run("return document.querySelector('.facts').textContent"));
  ASSERT_NO_FATAL_FAILURE(StartGateAgain());
  AwaitConnection("Connected");
  AwaitPage(kMomentaryScript, isReading);
  EXPECT_EQ(true, mBrowser.Run("return window.isTheSamePage"));
}

// The curve stays, but without a connection its end is in the past.
TEST_F(LivePageTest, TheCurveEndsWhereTheConnectionWasLost) {
  ASSERT_NO_FATAL_FAILURE(OpenPage("/cluster/1-1"));
  const std::string ends =
      "return [...document.querySelectorAll('.curve-times span')].map((end) => end.textContent)"
      ".join()";
  const auto is = [](const char* text) {
    return [text](const json& shown) { return shown == text; };
  };
  AwaitPage(ends, is("20 min ago,now"));
  mGate->Signal(SIGKILL);
  ASSERT_TRUE(mGate->WaitForExit(kPatience));
  AwaitPage(ends, is("20 min before,connection lost"));
  ASSERT_NO_FATAL_FAILURE(StartGateAgain());
  AwaitPage(ends, is("20 min ago,now"));
}

TEST_F(LivePageTest, AServiceThatIsStartedAgainIsShownAgain) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  mBrowser.Run("window.isTheSamePage = true");
  mBrowser.Run(R"(
    window.announced = [];
    const region = document.getElementById("announcement");
    new MutationObserver(() => window.announced.push(region.textContent)).observe(
        region, {childList: true, characterData: true, subtree: true});
  )");
  ExpectCleanEnd(SIGTERM);
  AwaitTrue("return document.querySelector('.state').textContent === 'DEAD'");
  AwaitTrue("return document.querySelector('.card').classList.contains('alarming')");
  EXPECT_EQ(kNoReading, mBrowser.Run(kMomentaryScript));
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  Feed(10, -23.0);
  AwaitTrue("return document.querySelector('.state').textContent === 'RUNNING'");
  AwaitPage(kMomentaryScript, [](const json& text) { return text != kNoReading; });
  const json announced = mBrowser.Run("return window.announced");
  EXPECT_EQ("Cluster 1-1: DEAD", announced.front());
  EXPECT_EQ("Cluster 1-1: RUNNING", announced.back());
  EXPECT_EQ(true, mBrowser.Run("return window.isTheSamePage"));
}

// As behind a network that drops all packets: the connection stays open, but nothing arrives.
TEST_F(LivePageTest, AConnectionThatHasGoneSilentIsLost) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  Suspend(*mGate);
  AwaitConnection("Connection lost at ");
  EXPECT_EQ(kNoReading, mBrowser.Run(kMomentaryScript));
  mGate->Signal(SIGCONT);
  AwaitConnection("Connected");
}

TEST_F(LivePageTest, ATabInTheBackgroundHasNoStream) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  for (const char* path : {"/", "/cluster/1-1"}) {
    mBrowser.Open(Url() + path);
    AwaitConnection("Connected");
    AwaitStreams(1);
    mBrowser.OpenTab();
    AwaitStreams(0);
    mBrowser.CloseTab();
    AwaitConnection("Connected");
    AwaitStreams(1);
  }
}

TEST_F(LivePageTest, StatesAreAnnouncedAndFiguresAreNot) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  mBrowser.Run(R"(
    window.announced = [];
    const region = document.getElementById("announcement");
    new MutationObserver(() => window.announced.push(region.textContent)).observe(
        region, {childList: true, characterData: true, subtree: true});
  )");
  NoteFigures();
  Feed(20, -23.0);
  AwaitTrue("return window.shown.length > 10");
  EXPECT_EQ(json::array(), mBrowser.Run("return window.announced"));
  SendCommand("Pause");
  AwaitTrue("return window.announced.length > 0");
  EXPECT_EQ(json::array({"Cluster 1-1: PAUSED"}), mBrowser.Run("return window.announced"));
  EXPECT_EQ("status", mBrowser.Run("return document.getElementById('announcement').role"));
}

TEST_F(LivePageTest, WorksByKeyboard) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  mBrowser.Press(kTabulator);
  EXPECT_EQ("1-1", mBrowser.Run("return document.activeElement.textContent"));
  mBrowser.Press(kEnter);
  AwaitTrue("return location.pathname === '/cluster/1-1' && document.title.endsWith('1-1')");
  AwaitTrue("return document.querySelector('.state')?.textContent === 'RUNNING'");
  mBrowser.Press(kTabulator);
  mBrowser.Press(kEnter);
  AwaitTrue("return location.pathname === '/'");
}

// A wide window at a zoom of 400 % also has 320 CSS pixels.
TEST_F(LivePageTest, FitsAPhone) {
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  FeedProgramme(10, -20.0);
  for (const int width : {320, 390}) {
    mBrowser.Tool("Emulation.setDeviceMetricsOverride",
                  {{"width", width}, {"height", 844}, {"deviceScaleFactor", 1}, {"mobile", true}});
    for (const char* path : {"/", "/cluster/1-1"}) {
      mBrowser.Open(Url() + path);
      AwaitTrue("return document.querySelector('.remark')?.textContent.includes('LU')");
      if (std::string(path) != "/")
        AwaitTrue(
            "return document.querySelector('.gate-labels')?.textContent.includes('relative')");
      EXPECT_EQ(width, mBrowser.Run("return document.documentElement.scrollWidth")) << path;
    }
  }
}

// A whole screen of 1920 by 1080 pixels, as on a wall. Figures out of tolerance have longer
// remarks.
TEST_F(LivePageTest, AWallScreenShowsEightClustersAtOnce) {
  ASSERT_NO_FATAL_FAILURE(StartBoard());
  mBrowser.Tool("Emulation.setDeviceMetricsOverride",
                {{"width", 1920}, {"height", 1080}, {"deviceScaleFactor", 1}, {"mobile", false}});
  mBrowser.Open(Url() + "/");
  const char* const countTooLoud = R"(
    return [...document.querySelectorAll('.card')].filter((card) =>
        card.textContent.match(/, too loud/g)?.length === 2).length
  )";
  AwaitPage(countTooLoud, [this](const json& count) {
    Feed(1, -20.0);
    return count == 6;
  });
  EXPECT_GE(1080, mBrowser.Run(R"(
    return Math.max(...[...document.querySelectorAll('.card')].map((card) =>
        card.getBoundingClientRect().bottom))
  )"));
}

TEST_F(LivePageTest, IsDarkWhereTheReaderPrefersThat) {
  ASSERT_NO_FATAL_FAILURE(StartGate());
  mBrowser.Open(Url() + "/");
  const std::string script = "return getComputedStyle(document.body).backgroundColor";
  SetMedia("prefers-color-scheme", "light");
  EXPECT_EQ("rgb(244, 246, 248)", mBrowser.Run(script));
  SetMedia("prefers-color-scheme", "dark");
  EXPECT_EQ("rgb(15, 19, 25)", mBrowser.Run(script));
}

TEST_F(LivePageTest, ChangesOnceASecondForReadersWhoPreferLessMotion) {
  SetMedia("prefers-reduced-motion", "reduce");
  ASSERT_NO_FATAL_FAILURE(OpenPage());
  mBrowser.Run(R"(
    window.changes = [];
    new MutationObserver(() => window.changes.push(performance.now())).observe(
        document.querySelector("article"), {subtree: true, childList: true, characterData: true});
  )");
  std::vector<double> times;
  double lkfs = -40.0;
  AwaitPage("return window.changes", [&](const json& changes) {
    Feed(1, lkfs += 0.1);
    times = changes.get<std::vector<double>>();
    return times.size() >= 4;
  });
  for (std::size_t i = 1; i < times.size(); ++i)
    EXPECT_LE(800.0, times[i] - times[i - 1]);
}

}  // namespace
