// A running service as a meter under test: played by the stand-in for the unit, and read by what it
// publishes. Single-threaded; one object at a time and machine.

#pragma once

#include <cstdint>

#include "MeterUnderTest.h"
#include "ServiceClient.h"
#include "UnitStandIn.h"

namespace louddesk {

/// Readings are those published: loudness and its range in steps of 0.1, true peak of 0.01.
///
/// Blocks go out as fast as the service takes them, and it says nothing of how many it has
/// measured. So each block, or in measurements of the true peak a silent one behind the last,
/// carries a small peak as its mark, by which its figures are known when they are published. Hence
/// measurements of loudness have no true peak, and those of the true peak no loudness.
class ServiceUnderTest : public MeterUnderTest {
 public:
  /// Opens the endpoints of the service's peers. Throws `BindError` when one is in use.
  explicit ServiceUnderTest(unsigned cluster);

  /// Waits until the service has subscribed and switches its reporting on. Throws `ServiceError`.
  void Connect(Patience patience);

  /// Hands the service programme and windows, and waits until it measures anew. Throws
  /// `ServiceError`.
  void Start(const SpeakerLayout& speakers, Subject subject) override;

  /// Throws `ServiceError` when the service does not keep up.
  void Feed(const BlockReading& block) override;

  /// Waits for the figures of the last block. Throws `ServiceError` when they do not come. None for
  /// the first three blocks, of which nothing is published.
  MeterReadings Read() override;

 private:
  void Send(const BlockReading& block);
  void SendMarked(const BlockReading& block);
  void Settle();
  LoudnessMessage AwaitMark();
  [[noreturn]] void Fail(const std::string& reason) const;

  UnitStandIn mUnit;
  ServiceClient mClient;
  Subject mSubject = Subject::kLoudness;
  std::uint32_t mMark = 0;      // peak of the last marked block
  unsigned mBlocks = 0;         // since the start
  unsigned mUnsettled = 0;      // blocks that the service has not been seen to have measured
  LoudnessData_t mPublished{};  // the figures of the last block when none is unsettled
};

}  // namespace louddesk
