// Warnings of the dates of a certificate, at times before, within and after them.

#include "CertificateDates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "TlsFiles.h"

namespace {

using loudgate::DateWarningOf;
using testing::MatchesRegex;

constexpr std::time_t kDay = 86400;
constexpr std::time_t kMinute = 60;

std::string ContentsOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class CertificateDatesTest : public testing::Test {
 protected:
  const TlsFiles mShort{60};
  const TlsFiles mLong{90};
  // Shortly after the certificates were made.
  const std::time_t mNow = std::time(nullptr);
  const std::string mOfSixtyDays = ContentsOf(mShort.Certificate());
  const std::string mOfNinetyDays = ContentsOf(mLong.Certificate());
};

TEST_F(CertificateDatesTest, ThereIsNoWarningUntilThirtyDaysBeforeTheEnd) {
  EXPECT_EQ("", DateWarningOf(mOfSixtyDays, mNow));
  EXPECT_EQ("", DateWarningOf(mOfSixtyDays, mNow + 30 * kDay - kMinute));
  EXPECT_THAT(DateWarningOf(mOfSixtyDays, mNow + 30 * kDay),
              MatchesRegex("the certificate expires at [0-9-]+ [0-9]+:[0-9]+ UTC; clients refuse "
                           "it from then on"));
  EXPECT_THAT(DateWarningOf(mOfSixtyDays, mNow + 60 * kDay - kMinute),
              MatchesRegex("the certificate expires at .*"));
}

TEST_F(CertificateDatesTest, AnExpiredCertificateIsTold) {
  EXPECT_THAT(
      DateWarningOf(mOfSixtyDays, mNow + 60 * kDay),
      MatchesRegex("the certificate expired at [0-9-]+ [0-9]+:[0-9]+ UTC; clients refuse it"));
}

TEST_F(CertificateDatesTest, ACertificateOfTheFutureIsTold) {
  EXPECT_THAT(DateWarningOf(mOfSixtyDays, mNow - kDay),
              MatchesRegex("the certificate is not valid before [0-9-]+ [0-9]+:[0-9]+ UTC; clients "
                           "refuse it until then"));
}

TEST_F(CertificateDatesTest, TheCertificateOfAChainThatEndsFirstCounts) {
  EXPECT_EQ("", DateWarningOf(mOfNinetyDays, mNow + 59 * kDay));
  for (const std::string& chain : {mOfNinetyDays + mOfSixtyDays, mOfSixtyDays + mOfNinetyDays}) {
    EXPECT_EQ("", DateWarningOf(chain, mNow));
    EXPECT_THAT(DateWarningOf(chain, mNow + 61 * kDay), MatchesRegex("the certificate expired.*"));
  }
}

TEST_F(CertificateDatesTest, TheTimeIsThatOfTheCertificateInUtc) {
  const std::time_t end = mNow + 60 * kDay;
  std::tm told{};
  ASSERT_NE(nullptr, strptime(DateWarningOf(mOfSixtyDays, end).c_str(),
                              "the certificate expired at %Y-%m-%d %H:%M UTC", &told));
  EXPECT_NEAR(static_cast<double>(end), static_cast<double>(timegm(&told)), 2 * kMinute);
}

TEST_F(CertificateDatesTest, WhatIsNotACertificateHasNoDates) {
  EXPECT_EQ("", DateWarningOf("", mNow));
  EXPECT_EQ("", DateWarningOf("not a certificate", mNow));
  EXPECT_EQ("", DateWarningOf(ContentsOf(mShort.Key()), mNow));
}

}  // namespace
