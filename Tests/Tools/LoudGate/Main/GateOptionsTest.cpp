// The command line of the gate.

#include "GateOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using loudgate::GateOptions;
using loudgate::ReadGateOptions;
using testing::HasSubstr;

class GateOptionsTest : public testing::Test {
 protected:
  std::optional<GateOptions> Read(const std::vector<std::string>& arguments) {
    return ReadGateOptions(arguments, mOut, mErrors, mStatus);
  }

  // Expects that the program exits with this complaint.
  void ExpectRefused(const std::vector<std::string>& arguments, const std::string& complaint) {
    mErrors.str("");
    EXPECT_FALSE(Read(arguments));
    EXPECT_EQ(2, mStatus);
    EXPECT_THAT(mErrors.str(), testing::StartsWith("LoudGate: "));
    EXPECT_THAT(mErrors.str(), HasSubstr(complaint));
    EXPECT_THAT(mErrors.str(), testing::EndsWith(" (see LoudGate --help)\n"));
    EXPECT_EQ("", mOut.str());
  }

  std::ostringstream mOut;
  std::ostringstream mErrors;
  int mStatus = -1;
};

TEST_F(GateOptionsTest, WithoutAnyThisMachineAloneReachesIt) {
  const auto options = Read({});
  ASSERT_TRUE(options);
  EXPECT_EQ("127.0.0.1:8128", options->listen.Text());
  EXPECT_EQ("/run/shm/mq", options->directory);
  EXPECT_TRUE(options->names.empty());
  EXPECT_EQ("", options->certificate);
  EXPECT_EQ("", options->token);
  EXPECT_EQ("/var/lib/loudgate/station.db", options->record.file);
  EXPECT_EQ(90, options->record.days);
  EXPECT_EQ(2147483648u, options->record.mostBytes);
  EXPECT_EQ(57, options->writeEvery.count());
  EXPECT_EQ("", mOut.str() + mErrors.str());
}

TEST_F(GateOptionsTest, TakesEveryOption) {
  const auto options = Read({"--listen", "[::1]:80", "--directory", "/run/x", "--name", "a.example",
                             "--name", "b.example", "--certificate", "c.pem", "--key", "k.pem"});
  ASSERT_TRUE(options);
  EXPECT_EQ("[::1]:80", options->listen.Text());
  EXPECT_EQ("/run/x", options->directory);
  EXPECT_EQ((std::set<std::string>{"a.example", "b.example"}), options->names);
  EXPECT_EQ("c.pem", options->certificate);
  EXPECT_EQ("k.pem", options->key);
}

TEST_F(GateOptionsTest, ControlNeedsATokenAndATokenControl) {
  const auto options = Read({"--control", "--token-file", "token"});
  ASSERT_TRUE(options);
  EXPECT_EQ("token", options->token);
  ExpectRefused({"--control"}, "--control requires --token-file");
  ExpectRefused({"--token-file", "token"}, "--token-file requires --control");
}

TEST_F(GateOptionsTest, TakesBoundsOfTheRecord) {
  const auto options =
      Read({"--record", "/srv/a.db", "--days", "31", "--max-size", "500MB", "--write-every", "10"});
  ASSERT_TRUE(options) << mErrors.str();
  EXPECT_EQ("/srv/a.db", options->record.file);
  EXPECT_EQ(31, options->record.days);
  EXPECT_EQ(500'000'000u, options->record.mostBytes);
  EXPECT_EQ(10, options->writeEvery.count());
  EXPECT_EQ(3u << 20, Read({"--max-size", "3MiB"})->record.mostBytes);
  EXPECT_EQ(5'000'000u, Read({"--max-size", "5000000"})->record.mostBytes);
  EXPECT_EQ("", Read({"--no-record"})->record.file);
}

TEST_F(GateOptionsTest, RefusesBoundsThatHoldNothing) {
  ExpectRefused({"--days", "0"}, "--days");
  ExpectRefused({"--days", "x"}, "--days");
  ExpectRefused({"--max-size", "0"}, "--max-size");
  ExpectRefused({"--max-size", "9 apples"}, "--max-size");
  ExpectRefused({"--write-every", "0"}, "--write-every");
  ExpectRefused({"--write-every", "58"}, "--write-every");
  ExpectRefused({"--record", ""}, "--record");
  ExpectRefused({"--record", "a.db", "--no-record"}, "--no-record");
}

TEST_F(GateOptionsTest, RefusesWhatItDoesNotUnderstand) {
  ExpectRefused({"--listen", "8128"}, "8128 is not an address and a port");
  ExpectRefused({"--frobnicate"}, "--frobnicate");
  ExpectRefused({"file"}, "file");
  ExpectRefused({"--certificate", "c.pem"}, "--key");
  ExpectRefused({"--key", "k.pem"}, "--certificate");
  ExpectRefused({"\x1b[31m"}, "\\x1B[31m");
}

TEST_F(GateOptionsTest, HelpHasAnExampleAndFitsATerminal) {
  EXPECT_FALSE(Read({"--help"}));
  EXPECT_EQ(0, mStatus);
  EXPECT_THAT(mOut.str(), HasSubstr("Example"));
  EXPECT_THAT(mOut.str(), HasSubstr("--listen ADDRESS:PORT"));
  std::istringstream lines(mOut.str());
  for (std::string line; std::getline(lines, line);)
    EXPECT_GE(80u, line.size()) << line;
}

TEST_F(GateOptionsTest, VersionIsThatOfTheSystem) {
  EXPECT_FALSE(Read({"--version"}));
  EXPECT_EQ(0, mStatus);
  EXPECT_THAT(mOut.str(), testing::MatchesRegex("LoudGate [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
