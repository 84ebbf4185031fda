// The limits that a programme has to keep.

#pragma once

namespace louddesk {

/// EBU R 128 for finished programmes.
constexpr double kR128TargetLkfs = -23.0;
constexpr double kR128ToleranceLu = 0.5;
constexpr double kR128MaxTruePeakDbtp = -1.0;

/// EBU R 128 where the target cannot be met exactly, as in live production.
constexpr double kR128LiveToleranceLu = 1.0;

/// What is allowed; by default EBU R 128. REQUIRES: all three finite, the tolerance not negative.
struct LoudnessLimits {
  double target = kR128TargetLkfs;            // integrated loudness, LKFS
  double tolerance = kR128ToleranceLu;        // on both sides of the target, LU
  double maxTruePeak = kR128MaxTruePeakDbtp;  // dBTP
};

}  // namespace louddesk
