// The metrics, checked by Prometheus' own tool too.

#include "GateMetrics.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>

#include "ServiceProcess.h"
#include "ToldCluster.h"

namespace {

using loudgate::GateCounts;
using loudgate::RecordCounts;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;

constexpr milliseconds kPatience{20000};

class GateMetricsTest : public testing::Test {
 protected:
  std::string Text() const {
    return MetricsText({&mTold.cluster},
                       GateCounts{{3, 2, 1000, 7}, RecordCounts{4096, 2, 60, 3, true}}, mTold.now);
  }

  // The metrics without their HELP and TYPE lines.
  std::string Values() const {
    std::istringstream lines(Text());
    std::string values = "\n";
    for (std::string line; std::getline(lines, line);)
      if (line.rfind('#', 0) != 0)
        values += line + "\n";
    return values;
  }

  static std::string Of(const std::string& name, const std::string& value) {
    return "\n" + name + "{meter_set=\"1\",cluster=\"3\"} " + value + "\n";
  }

  ToldCluster mTold{3};
};

TEST_F(GateMetricsTest, FiguresAreThoseOfTheMessage) {
  mTold.StartMeasuring();
  const std::string values = Values();
  for (const auto& [name, value] : std::vector<std::pair<const char*, const char*>>{
           {"loudcalc_momentary_lufs", "-33"},
           {"loudcalc_short_term_lufs", "-28.3"},
           {"loudcalc_integrated_lufs", "-24"},
           {"loudcalc_programme_lufs", "-24.4"},
           {"loudcalc_range_lu", "3.5"},
           {"loudcalc_true_peak_dbtp", "-16.02"},
           {"loudcalc_recent_true_peak_dbtp", "-16.02"},
           {"loudcalc_max_momentary_lufs", "-23"},
           {"loudcalc_max_short_term_lufs", "-28.3"},
           {"loudcalc_max_true_peak_dbtp", "-6.02"},
           {"loudcalc_source_valid", "1"},
           {"loudcalc_last_message_age_seconds", "0.04"},
           {"loudcalc_unchanged_seconds", "0"},
           {"loudcalc_target_lufs", "-23"},
           {"loudcalc_tolerance_lu", "1"},
           {"loudcalc_messages_total", "1"},
           {"loudcalc_malformed_messages_total", "0"},
           {"loudcalc_gaps_total", "0"},
           {"loudcalc_restarts_total", "0"}})
    EXPECT_THAT(values, HasSubstr(Of(name, value)));
}

TEST_F(GateMetricsTest, WithoutReadingAFigureIsAbsent) {
  mTold.StartMeasuring();
  mTold.Data("loudness-data-reset.frames");
  const std::string values = Values();
  for (const char* name :
       {"momentary_lufs", "short_term_lufs", "integrated_lufs", "programme_lufs", "range_lu",
        "true_peak_dbtp", "max_momentary_lufs", "max_short_term_lufs", "max_true_peak_dbtp"})
    EXPECT_THAT(values, Not(HasSubstr(std::string("\nloudcalc_") + name + "{"))) << name;
  EXPECT_THAT(values, HasSubstr(Of("loudcalc_source_valid", "1")));
  EXPECT_THAT(values, Not(HasSubstr("Nan")));
}

TEST_F(GateMetricsTest, FiguresOfAServiceThatIsGoneAreAbsent) {
  mTold.StartMeasuring();
  mTold.Pass(milliseconds(60000));
  const std::string values = Values();
  for (const char* name : {"momentary_lufs", "integrated_lufs", "max_true_peak_dbtp",
                           "recent_true_peak_dbtp", "max_short_term_lufs", "unchanged_seconds"})
    EXPECT_THAT(values, Not(HasSubstr(std::string("\nloudcalc_") + name + "{"))) << name;
  EXPECT_THAT(values, HasSubstr(Of("loudcalc_last_message_age_seconds", "60.04")));
  EXPECT_THAT(values,
              HasSubstr("\nloudcalc_state{meter_set=\"1\",cluster=\"3\",state=\"dead\"} 1\n"));
}

// EBU R 128, and its tolerance for live programmes. The alerts rely on these values.
TEST_F(GateMetricsTest, WithoutConfigurationTheTargetIsThatOfR128) {
  mTold.Data("loudness-data.frames");
  EXPECT_THAT(Values(), HasSubstr(Of("loudcalc_target_lufs", "-23")));
  EXPECT_THAT(Values(), HasSubstr(Of("loudcalc_tolerance_lu", "1")));
}

TEST_F(GateMetricsTest, TargetAndToleranceAreThoseOfTheConfiguration) {
  mTold.StartMeasuring();
  louddesk::ServiceAnswer answer;
  answer.kind = louddesk::StateKind::kConfiguration;
  answer.configuration =
      R"~({"OriginFromFp":true,"ClusterId":3,"LraWindow":60,"LoudnessStandard":"EBU R128 (+18)",)~"
      R"~("LoudnessWindow":"Custom","AlarmTolerance":2,"Alarm":"Over","ReferenceLevel":-27,)~"
      R"~("Mode":"Manual","LoudnessWindowTime":600,"UserID":17})~";
  mTold.cluster.TakeAnswer(answer, mTold.now);
  EXPECT_THAT(Values(), HasSubstr(Of("loudcalc_target_lufs", "-27")));
  EXPECT_THAT(Values(), HasSubstr(Of("loudcalc_tolerance_lu", "2")));
}

TEST_F(GateMetricsTest, ExactlyOneStateIsSet) {
  mTold.StartMeasuring();
  const std::string values = Values();
  std::size_t states = 0;
  std::size_t set = 0;
  const std::string start = "\nloudcalc_state{";
  for (std::size_t place = values.find(start); place != std::string::npos;
       place = values.find(start, place + 1)) {
    ++states;
    set += values[values.find('\n', place + 1) - 1] == '1' ? 1 : 0;
  }
  EXPECT_EQ(8u, states);
  EXPECT_EQ(1u, set);
  EXPECT_THAT(values, HasSubstr("state=\"running\"} 1\n"));
}

TEST_F(GateMetricsTest, TheGateCountsItself) {
  const std::string values = Values();
  for (const char* line :
       {"\nloudgate_clusters 1\n", "\nloudgate_connections 3\n", "\nloudgate_streams 2\n",
        "\nloudgate_requests_total 1000\n", "\nloudgate_dropped_connections_total 7\n",
        "\nloudgate_record_bytes 4096\n", "\nloudgate_record_working 1\n",
        "\nloudgate_record_failures_total 2\n", "\nloudgate_record_lost_seconds_total 60\n",
        "\nloudgate_record_lost_events_total 3\n", "\nloudgate_build_info{version=\""})
    EXPECT_THAT(values, HasSubstr(line));
}

// OPERATIONS.md calculates a fleet's load from these numbers.
TEST_F(GateMetricsTest, AClusterHas27ValuesAndTheGateEleven) {
  mTold.StartMeasuring();
  const std::string values = Values();
  EXPECT_EQ(1 + 27 + 11, std::count(values.begin(), values.end(), '\n'));
}

TEST_F(GateMetricsTest, AnAnswerForEightClustersHasSixteenKilobytes) {
  mTold.StartMeasuring();
  std::istringstream text(Text());
  std::size_t ofCluster = 0;
  std::size_t ofGate = 0;
  for (std::string line; std::getline(text, line);)
    (line.find("{meter_set=") == std::string::npos ? ofGate : ofCluster) += line.size() + 1;
  EXPECT_NEAR(16000, static_cast<double>(8 * ofCluster + ofGate), 1000);
}

TEST_F(GateMetricsTest, EveryMetricHasMeaningAndType) {
  mTold.StartMeasuring();
  const std::string text = "\n" + Text();
  std::istringstream lines(Values().substr(1));
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find_first_of("{ "));
    EXPECT_NE(std::string::npos, text.find("\n# HELP " + name + " ")) << name;
    EXPECT_NE(std::string::npos, text.find("\n# TYPE " + name + " ")) << name;
  }
}

// Names after a colon are names of rules.
TEST_F(GateMetricsTest, RulesAskOnlyForMetricsThatThereAre) {
  const std::string text = "\n" + Text();
  const std::regex name("[^:a-z](loud(calc|gate)_[a-z_]+)");
  for (const char* file : {"/rules/records.yml", "/rules/alerts.yml"}) {
    std::ifstream stream(PROMETHEUS_FILES + std::string(file));
    const std::string rules((std::istreambuf_iterator<char>(stream)),
                            std::istreambuf_iterator<char>());
    const std::sregex_iterator names(rules.begin(), rules.end(), name);
    EXPECT_NE(std::sregex_iterator(), names) << file;
    for (auto found = names; found != std::sregex_iterator(); ++found)
      EXPECT_THAT(text, HasSubstr("\n# TYPE " + (*found)[1].str() + " ")) << file;
  }
}

TEST_F(GateMetricsTest, PrometheusHasNoComplaint) {
  mTold.StartMeasuring();
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  ProcessOptions options;
  options.input = ends[0];
  ServiceProcess tool(PROMTOOL_BINARY, {"check", "metrics"}, {}, options);
  close(ends[0]);
  const std::string text = Text();
  ASSERT_EQ(static_cast<ssize_t>(text.size()), write(ends[1], text.data(), text.size()));
  close(ends[1]);
  const auto report = tool.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status);
  EXPECT_EQ("", tool.StandardOutput() + tool.StandardError());
}

}  // namespace
