// The script that runs the fuzz targets, with programs in their place that tell how they were
// called.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

// What libFuzzer writes, as far as the script looks at it.
constexpr char kFuzzer[] = R"(#!/bin/sh
echo "$0 $*"
for argument; do
  case $argument in -artifact_prefix=*) prefix=${argument#*=} ;; esac
done
echo '#2 INITED cov: 10 ft: 20'
echo '#77 DONE   cov: 4321 ft: 30 corp: 5/6b'
echo 'Done 98765 runs in 7 second(s)'
echo 'stat::number_of_executed_units: 98765'
case $0 in *CommandFuzz) if [ -e "$0.finds" ]; then echo x >"${prefix}crash-1"; exit 77; fi ;; esac
)";

struct Outcome {
  int status;
  std::string output;  // both streams
};

class RunTest : public testing::Test {
 protected:
  RunTest() : mBuild(fs::path(testing::TempDir()) / ("run-" + std::to_string(getpid()))) {
    fs::create_directories(mBuild / "Fuzz");
    for (const auto& corpus : fs::directory_iterator(LOUDCALC_FUZZ_DIR "/corpus"))
      MakeFuzzer(corpus.path().filename());
  }
  ~RunTest() override { fs::remove_all(mBuild); }

  void MakeFuzzer(const std::string& target) const {
    const fs::path path = mBuild / "Fuzz" / target;
    std::ofstream(path) << kFuzzer;
    fs::permissions(path, fs::perms::owner_all);
  }

  static Outcome Run(const std::string& arguments) {
    FILE* pipe = popen((LOUDCALC_FUZZ_DIR "/run " + arguments + " 2>&1").c_str(), "r");
    Outcome outcome{-1, {}};
    std::array<char, 4096> part{};
    for (std::size_t size; (size = fread(part.data(), 1, part.size(), pipe)) > 0;)
      outcome.output.append(part.data(), size);
    outcome.status = WEXITSTATUS(pclose(pipe));
    return outcome;
  }

  /// Runs what stands for the targets.
  Outcome RunBuilt(const std::string& arguments) const {
    return Run("--no-build --build-dir " + mBuild.string() + " " + arguments);
  }

  std::string Log(const std::string& target) const {
    std::ostringstream text;
    text << std::ifstream(mBuild / "runs" / (target + ".log")).rdbuf();
    return text.str();
  }

  const fs::path mBuild;
};

TEST_F(RunTest, HelpNamesEveryOption) {
  const Outcome outcome = Run("--help");
  EXPECT_EQ(0, outcome.status);
  for (const char* option :
       {"--seconds", "--jobs", "--build-dir", "--no-build", "--merge", "--list", "--help"})
    EXPECT_THAT(outcome.output, HasSubstr(option));
}

TEST_F(RunTest, EveryTargetHasCorpusAndDictionary) {
  const Outcome outcome = Run("--list");
  EXPECT_EQ(0, outcome.status);
  std::istringstream targets(outcome.output);
  std::size_t count = 0;
  for (std::string target; std::getline(targets, target); ++count) {
    EXPECT_TRUE(fs::exists(LOUDCALC_FUZZ_DIR "/" + target + ".cpp")) << target;
    EXPECT_FALSE(fs::is_empty(LOUDCALC_FUZZ_DIR "/corpus/" + target)) << target;
    EXPECT_TRUE(fs::exists(LOUDCALC_FUZZ_DIR "/dictionaries/" + target + ".dict")) << target;
  }
  EXPECT_EQ(std::string(LOUDCALC_FUZZ_TARGETS), std::to_string(count));
}

TEST_F(RunTest, WrongArgumentsAreRefused) {
  for (const char* arguments :
       {"--seconds", "--seconds 0", "--seconds x", "--jobs 0", "--build-dir", "--fast", "NoFuzz"}) {
    const Outcome outcome = RunBuilt(arguments);
    EXPECT_EQ(2, outcome.status) << arguments;
    EXPECT_THAT(outcome.output, testing::StartsWith("Fuzz/run: ")) << arguments;
  }
}

TEST_F(RunTest, TargetThatIsNotBuiltIsRefused) {
  fs::remove(mBuild / "Fuzz" / "EmsetFuzz");
  EXPECT_EQ(2, RunBuilt("ClusterFuzz EmsetFuzz").status);
  EXPECT_FALSE(fs::exists(mBuild / "runs")) << "nothing has been run";
}

TEST_F(RunTest, NamedTargetsRunFromBothCorpora) {
  const Outcome outcome = RunBuilt("--seconds 7 EmsetFuzz");
  EXPECT_EQ(0, outcome.status) << outcome.output;
  const std::string log = Log("EmsetFuzz");
  EXPECT_THAT(log, HasSubstr("-max_total_time=7 "));
  EXPECT_THAT(log, HasSubstr((mBuild / "runs/EmsetFuzz.corpus ").string()));
  EXPECT_THAT(log, HasSubstr("Fuzz/corpus/EmsetFuzz\n"));
  EXPECT_THAT(log, HasSubstr("Fuzz/dictionaries/EmsetFuzz.dict "));
  EXPECT_EQ("", Log("ClusterFuzz"));
}

TEST_F(RunTest, EachTargetIsReportedWithItsFigures) {
  const Outcome outcome = RunBuilt("--jobs 2");
  EXPECT_EQ(0, outcome.status);
  for (const char* target : {"ClusterFuzz", "DispatcherFuzz", "SystemStatusFuzz"})
    EXPECT_THAT(outcome.output,
                testing::ContainsRegex(std::string("\n") + target + " +98765 +7 +4321 +0\n"));
}

TEST_F(RunTest, FindingIsReportedAndFailsTheRun) {
  std::ofstream(mBuild / "Fuzz" / "CommandFuzz.finds") << "x";
  const Outcome outcome = RunBuilt("ClusterFuzz CommandFuzz");
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.output, testing::ContainsRegex("\nClusterFuzz +98765 +7 +4321 +0\n"));
  EXPECT_THAT(outcome.output, testing::ContainsRegex("\nCommandFuzz +98765 +7 +4321 +1\n"));
  EXPECT_TRUE(fs::exists(mBuild / "runs/CommandFuzz.findings/crash-1"));
}

TEST_F(RunTest, MergeAddsToTheCorpusAndRunsNothing) {
  const Outcome outcome = RunBuilt("--merge EmsetFuzz");
  EXPECT_EQ(0, outcome.status) << outcome.output;
  EXPECT_THAT(outcome.output, testing::MatchesRegex("EmsetFuzz: [0-9]+ files\n"));
  std::ostringstream log;
  log << std::ifstream(mBuild / "runs/EmsetFuzz.merge.log").rdbuf();
  EXPECT_THAT(log.str(), HasSubstr("-merge=1 "));
  EXPECT_THAT(log.str(),
              HasSubstr("Fuzz/corpus/EmsetFuzz " + (mBuild / "runs/EmsetFuzz.corpus\n").string()));
  EXPECT_EQ("", Log("EmsetFuzz"));
}

}  // namespace
