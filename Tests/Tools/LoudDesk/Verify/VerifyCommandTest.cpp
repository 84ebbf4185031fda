// The shipped `LoudDesk verify`: its command line, and its table, which must equal the one in
// Docs/COMPLIANCE.md.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sndfile.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "CompliancePage.h"
#include "TestAudio.h"

namespace {

using test_audio::AudioDirectory;
using test_audio::BytesOf;
using testing::HasSubstr;

constexpr char kLoudDesk[] = LOUDDESK_BINARY;
constexpr char kDocument[] = LOUDCALC_COMPLIANCE_DOCUMENT;

// The lines of the document around the table.
constexpr char kTableBegin[] = "<!-- the output of LoudDesk verify --format markdown -->\n";
constexpr char kTableEnd[] = "<!-- end of the output -->\n";

struct Outcome {
  int status = -1;
  std::string out;
  std::string errors;
};

class VerifyCommandTest : public testing::Test {
 protected:
  Outcome Run(const std::string& arguments, const std::string& redirection = "") const {
    const std::string out = mDirectory.Path("out.txt");
    const std::string errors = mDirectory.Path("errors.txt");
    const std::string command = std::string("'") + kLoudDesk + "' verify " + arguments + " >'" +
                                out + "' 2>'" + errors + "' " + redirection;
    const int status = std::system(command.c_str());
    Outcome outcome;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.out = BytesOf(out);
    outcome.errors = BytesOf(errors);
    return outcome;
  }

  AudioDirectory mDirectory;
};

// The text between `begin` and `end`; empty if one of them is missing.
std::string Between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t from = text.find(begin);
  const std::size_t to = text.find(end);
  if (from == std::string::npos || to == std::string::npos || to < from)
    return "";
  return text.substr(from + begin.size(), to - from - begin.size());
}

TEST_F(VerifyCommandTest, TheDocumentShowsWhatTheToolPrints) {
  const Outcome outcome = Run("--format markdown");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_NE(outcome.out, "");
  EXPECT_EQ(Between(BytesOf(kDocument), kTableBegin, kTableEnd), outcome.out)
      << "replace the table in " << kDocument << " by the output of LoudDesk verify";
}

// The page takes its explanations from the document.
TEST_F(VerifyCommandTest, TheDocumentExplainsEveryCase) {
  const std::string document = BytesOf(kDocument);
  std::istringstream rows(Between(document, kTableBegin, kTableEnd));
  int cases = 0;
  for (std::string row; std::getline(rows, row);) {
    const std::string id = row.substr(2, row.find(' ', 2) - 2);
    if (id.find('-') != 4)
      continue;
    ++cases;
    const std::string explanation = louddesk::ExplanationOf(id);
    EXPECT_THAT(explanation, testing::ContainsRegex("\\.\\)?$")) << id;
    EXPECT_THAT(explanation, testing::Not(testing::AnyOf(HasSubstr("\n"), HasSubstr("**")))) << id;
  }
  EXPECT_GT(cases, 30);
  EXPECT_EQ(louddesk::ExplanationOf("3341-20"), louddesk::ExplanationOf("3341-23"));
  EXPECT_EQ(louddesk::ExplanationOf("3341-24"), "");
}

TEST_F(VerifyCommandTest, AReportIsWrittenBesideTheTable) {
  const std::string report = mDirectory.Path("report.html");
  const Outcome outcome =
      Run("--case 3341-1 --rate 44100 --format markdown --report '" + report + "'");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, testing::StartsWith("| Case | Signal |"));
  EXPECT_THAT(BytesOf(report),
              testing::AllOf(HasSubstr("id=\"case-3341-1\""), HasSubstr("at 44.1 kHz, measured")));
}

TEST_F(VerifyCommandTest, AReportThatCannotBeWrittenIsOneLine) {
  const std::string report = mDirectory.Path("missing/report.html");
  const Outcome outcome = Run("--case 3341-7 --report '" + report + "'");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.errors,
            "LoudDesk: " + report + ": the report cannot be written: No such file or directory\n");
}

TEST_F(VerifyCommandTest, JsonIsAllThereIsOnStandardOutput) {
  const Outcome outcome = Run("--case 3341-1 --rate 44100 --format json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  std::istringstream lines(outcome.out);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    rapidjson::Document document;
    document.Parse(line.c_str());
    ASSERT_FALSE(document.HasParseError()) << line;
    EXPECT_NEAR(document["Measured"].GetDouble(), -23.0, 0.1);
    EXPECT_STREQ(document["Verdict"].GetString(), "pass");
  }
  EXPECT_EQ(count, 3);
}

TEST_F(VerifyCommandTest, CasesAreGivenOneByOneOrInARow) {
  for (const char* arguments :
       {"--case 3341-7 --case 3342-5", "--case 3341-7 3342-5", "--case=3342-5 --case=3341-7"}) {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments;
    EXPECT_THAT(outcome.out, HasSubstr("\n0 pass, 0 grid, 0 FAIL, 2 not run\n")) << arguments;
  }
}

TEST_F(VerifyCommandTest, HelpShowsAnExampleAndEveryVerdict) {
  const Outcome outcome = Run("--help");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.out, HasSubstr("\nExample:\n  LoudDesk verify\n"));
  for (const char* word :
       {"--case", "--list-cases", "--file", "--rate", "--format", "--report", "--service",
        "--cluster", "--wait", "  pass ", "  grid ", "  FAIL ", "  not run "})
    EXPECT_THAT(outcome.out, HasSubstr(word));
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);)
    EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(VerifyCommandTest, WrongArgumentsAreNamedAndAreAFailure) {
  struct {
    const char* arguments;
    const char* complaint;
  } const cases[] = {
      {"--case 3341-24",
       "--case: \"3341-24\" is not a case; the cases are 1770-gain 1770-level 3341-1 "},
      {"--case 334", "\"334\" is not a case"},
      {"--case ''", "\"\" is not a case"},
      {"--rate 7999", "--rate: Value 7999 not in range 8000 to 192000"},
      {"--rate 192001", "not in range"},
      {"--rate fast", "--rate"},
      {"--format xml", "--format: xml not in {table,json,markdown}"},
      {"--cluster 2", "--cluster requires --service"},
      {"--service --cluster 9", "--cluster: Value 9 not in range 1 to 8"},
      {"--service --wait -1", "--wait: \"-1\" is not between 0 and 3600"},
      {"--report page.wav", "--report: the name of a report ends in .html"},
      {"3341-1", "3341-1"},
      {"--file a.wav", "--file: each needs the --case that it is a recording of"},
      {"--case 3341-7 --case 3341-8 --file a.wav", "--file: each needs the --case"},
      {"--case 3341-1 --file a.wav",
       "--file: 3341-1 is not a recording; these are: 3341-7 3341-8 3342-5 3342-6"},
      {"--case 3341-99 --file a.wav", "--case: \"3341-99\" is not a case"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Run(c.arguments);
    EXPECT_EQ(outcome.status, 2) << c.arguments;
    EXPECT_EQ(outcome.out, "") << c.arguments;
    EXPECT_THAT(outcome.errors, HasSubstr(c.complaint)) << c.arguments;
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << c.arguments;
  }
}

TEST_F(VerifyCommandTest, EveryCaseIsListedWithItsSignal) {
  const Outcome outcome = Run("--list-cases");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 32);
  EXPECT_THAT(outcome.out, testing::AllOf(HasSubstr("\n3341-1       -23 dBFS 20 s\n"),
                                          HasSubstr("\n3342-6       recording, ")));
}

// A tone of -23 dBFS on two channels has the required loudness.
TEST_F(VerifyCommandTest, ACopyOfARecordingMayComeByStandardInput) {
  const test_audio::Samples tone =
      test_audio::Sine(test_audio::Amplitude(-23.0), 1000.0, 48000, 960000);
  const std::string path = mDirectory.Write("narrow.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000,
                                            2, test_audio::Repeated(tone, 2));
  const Outcome outcome = Run("--case 3341-7 --file - --format json", "<'" + path + "'");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.out,
            "{\"Case\":\"3341-7\",\"Signal\":\"recording, -\",\"Figure\":\"Integrated loudness\","
            "\"Unit\":\"LKFS\",\"Standard\":-23.00,\"Expected\":-23.00,\"ToleranceBelow\":0.1,"
            "\"ToleranceAbove\":0.1,\"Measured\":-22.99,\"Verdict\":\"pass\"}\n");
}

TEST_F(VerifyCommandTest, AFullDiskIsAFailure) {
  const Outcome outcome = Run("--case 3341-1", ">/dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "LoudDesk: the figures could not be written\n");
}

}  // namespace
