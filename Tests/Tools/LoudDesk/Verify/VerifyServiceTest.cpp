// `LoudDesk verify --service` against the shipped service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Compliance.h"
#include "Emulation.h"
#include "ServiceClient.h"
#include "ServiceProcess.h"
#include "ServiceUnderTest.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

// Long enough for a machine that builds at the same time. Only a failure takes this long.
constexpr ServiceProcess::Patience kPatience{60000 * kSlowness};

class VerifyServiceTest : public testing::Test {
 protected:
  void StartService(const std::string& cluster = "1") {
    mService =
        std::make_unique<ServiceProcess>(LOUDCALC_BINARY, Arguments{"-m", "1", "-c", cluster});
  }

  void StartVerify(Arguments arguments) {
    arguments.insert(arguments.begin(), {"verify", "--service"});
    mVerify = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments);
  }

  void ExpectEnd(int status) {
    const auto report = mVerify->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(report->signal, 0);
    EXPECT_EQ(report->status, status) << mVerify->StandardOutput() << mVerify->StandardError();
  }

  void ExpectComplaint(const std::string& text) {
    ExpectEnd(1);
    EXPECT_THAT(mVerify->StandardError(), StartsWith("LoudDesk: "));
    EXPECT_THAT(mVerify->StandardError(), HasSubstr(text));
  }

  std::unique_ptr<ServiceProcess> mService;
  std::unique_ptr<ServiceProcess> mVerify;
};

// Figures are published in tenths. Each case starts from empty, although the second tone is below
// the first one's gate.
TEST_F(VerifyServiceTest, FiguresAreThoseThatTheServicePublishes) {
  StartService();
  StartVerify({"--case", "3341-1", "3341-2", "3341-6", "3342-2"});
  ExpectEnd(0);
  EXPECT_EQ(mVerify->StandardError(), "");
  const std::string out = mVerify->StandardOutput();
  EXPECT_THAT(out, HasSubstr("  Momentary                         -23.00   -23.00     +-0.1   "
                             "-23.00 LKFS pass\n"));
  EXPECT_THAT(out, HasSubstr("  Loudness range                      5.00     5.00       +-1     "
                             "5.00 LU   pass\n"));
  EXPECT_THAT(out, EndsWith("\n8 pass, 0 grid, 0 FAIL, 0 not run\n"));
}

TEST_F(VerifyServiceTest, TruePeaksGoThroughTheServiceToo) {
  StartService();
  StartVerify({"--case", "3341-15", "3341-19", "3341-22"});
  ExpectEnd(0);
  EXPECT_EQ(mVerify->StandardError(), "");
  EXPECT_THAT(mVerify->StandardOutput(), EndsWith("\n3 pass, 0 grid, 0 FAIL, 0 not run\n"));
}

// -23.46 is published as -23.5 and -23.22 as -23.2.
TEST_F(VerifyServiceTest, WhatFollowsFromTheBlocksIsPublishedToo) {
  StartService();
  StartVerify({"--case", "3341-14"});
  ExpectEnd(0);
  EXPECT_THAT(mVerify->StandardOutput(), EndsWith("\n4 pass, 16 grid, 0 FAIL, 0 not run\n"));
}

// The momentary reading after each block, with a level that changes at every block.
louddesk::ComplianceCase CaseOfEveryBlock() {
  louddesk::StepSignal signal = {{"Left", "Right"}, {}};
  std::vector<louddesk::Expectation> expectations;
  for (int blocks = 1; blocks <= 12; ++blocks) {
    signal.steps.push_back({0.1, {-20.0 - 3.0 * (blocks * 5 % 7)}});
    expectations.push_back({louddesk::Quantity::kMomentary,
                            "",
                            louddesk::Pick::kLast,
                            blocks,
                            blocks,
                            0.0,
                            0.0,
                            {0.0, 0.0}});
  }
  return {"every block", "", {{signal, expectations}}};
}

std::vector<std::optional<double>> MeasuredBy(louddesk::MeterUnderTest& meter) {
  std::vector<std::optional<double>> measured;
  louddesk::RunCase(CaseOfEveryBlock(), 48000, meter,
                    [&](const louddesk::ComplianceRow& row) { measured.push_back(row.measured); });
  return measured;
}

TEST_F(VerifyServiceTest, EachReadingIsThatOfItsBlock) {
  StartService();
  const auto service = louddesk::ConnectToService(1, kPatience);
  const auto published = MeasuredBy(*service);
  const auto computed = MeasuredBy(*std::make_unique<louddesk::EngineUnderTest>());
  ASSERT_EQ(published.size(), 12U);
  for (std::size_t i = 0; i < 12; ++i) {
    ASSERT_EQ(published[i].has_value(), i >= 3) << "block " << i + 1;
    if (i >= 3) {
      EXPECT_NEAR(*published[i], *computed[i], 0.0501) << "block " << i + 1;
    }
  }
}

TEST_F(VerifyServiceTest, AnotherClusterIsReachedByItsNumber) {
  StartService("3");
  StartVerify({"--cluster", "3", "--case", "3341-2"});
  ExpectEnd(0);
  EXPECT_THAT(mVerify->StandardOutput(), EndsWith("\n3 pass, 0 grid, 0 FAIL, 0 not run\n"));
}

TEST_F(VerifyServiceTest, WithoutAServiceThereAreNoFigures) {
  StartVerify({"--wait", "0.2", "--case", "3341-1"});
  ExpectComplaint("no service has subscribed in 0.2 s; start LoudCalc -m 1 -c 1\n");
  EXPECT_EQ(mVerify->StandardOutput(), "");
}

TEST_F(VerifyServiceTest, AServiceThatDiesIsNoticed) {
  StartService();
  StartVerify({"--case", "3341-9"});
  ASSERT_TRUE(mVerify->WaitForLine("Case  Signal", kPatience));
  mService->Signal(SIGKILL);
  ExpectComplaint("the service has ended: it has not ");
  EXPECT_THAT(mVerify->StandardOutput(), Not(HasSubstr(" pass")));
}

TEST_F(VerifyServiceTest, AServiceThatDiesAmidAMeasurementIsNoticedAtOnce) {
  StartService();
  const auto service = louddesk::ConnectToService(1, kPatience);
  service->Start({"Left", "Right"}, louddesk::Measurand::kLoudness);
  const louddesk::BlockReading silence;
  for (int block = 0; block < 10; ++block)
    service->Feed(silence);
  service->Read();
  mService->Signal(SIGKILL);
  ASSERT_TRUE(mService->WaitForExit(kPatience));
  service->Feed(silence);
  const auto begin = std::chrono::steady_clock::now();
  try {
    service->Read();
    FAIL() << "no service published anything";
  } catch (const louddesk::ServiceError& error) {
    EXPECT_STREQ(error.what(),
                 "the service has ended: it has not published the figures of the last block");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4 * kSlowness));
}

TEST_F(VerifyServiceTest, AServiceThatHangsIsDistinguishedFromOneThatHasEnded) {
  StartService();
  StartVerify({"--case", "3341-9"});
  ASSERT_TRUE(mVerify->WaitForLine("Case  Signal", kPatience));
  mService->Signal(SIGSTOP);
  ExpectComplaint("the service does not answer: it has not ");
  mService->Signal(SIGCONT);
}

// The status is 130, as for a verification of the engine, which the signal ends.
TEST_F(VerifyServiceTest, CtrlCEndsAVerification) {
  StartService();
  StartVerify({"--case", "3341-9"});
  ASSERT_TRUE(mVerify->WaitForLine("Case  Signal", kPatience));
  mVerify->Signal(SIGINT);
  ExpectEnd(130);
  EXPECT_EQ(mVerify->StandardError(), "LoudDesk: interrupted\n");
}

TEST_F(VerifyServiceTest, APlaceThatIsTakenIsNamed) {
  StartService();
  StartVerify({"--case", "3341-9"});
  ASSERT_TRUE(mVerify->WaitForLine("Case  Signal", kPatience));
  const std::unique_ptr<ServiceProcess> first = std::move(mVerify);
  StartVerify({"--case", "3341-1"});
  ExpectEnd(1);
  EXPECT_THAT(mVerify->StandardError(), StartsWith("LoudDesk: "));
  EXPECT_EQ(mVerify->StandardOutput(), "");
}

}  // namespace
