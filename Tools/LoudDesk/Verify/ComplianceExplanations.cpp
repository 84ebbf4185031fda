// Explanations of the cases. Docs/COMPLIANCE.md holds the same ones, and a test holds it to that.

#include "ComplianceExplanations.h"

#include <algorithm>

namespace louddesk {

const std::vector<CaseExplanation>& CaseExplanations() {
  static const std::vector<CaseExplanation> explanations = {
      {{"1770-gain"},
       "The K-weighting, measured with sines of 0 dBFS at the front end. The mean power of the "
       "third second is compared with that of the sine before the filters. The gains at 48 kHz "
       "follow from the filter coefficients that BS.1770 prints; the coefficients for other "
       "rates from the same analogue prototypes, which is why the gain at 997 Hz differs a "
       "little from rate to rate. The tolerance is half of the last digit to which each gain "
       "is known. These are the only rows that do not go through the engine."},
      {{"1770-level"},
       "The anchor of the scale. BS.1770 chooses its offset of -0.691 dB such that a 997 Hz "
       "sine of 0 dBFS on one front channel reads -3.01 LKFS. The reading at other sample "
       "rates shows how far their weighting differs at that frequency: by 0.04 LU at most."},
      {{"3341-1", "3341-2"},
       "A steady tone reads its peak level in every figure. On two channels its power is twice "
       "that of one, which makes up for the 3.01 dB from the peak of a sine to its effective "
       "value. The readings lie 0.01 LU above the level because the weighting at 1 kHz is "
       "0.007 dB above that at 997 Hz, and because loudness codes are 0.02 LU wide and stand "
       "for the loudness 0.0085 LU above their lower edge."},
      {{"3341-3"},
       "The relative gate. Of the 80 s the 20 s at -36 lie more than 10 LU below the rest and "
       "do not count."},
      {{"3341-4"},
       "Both gates. The passages at -72 lie below the absolute gate of -70 LKFS, those at -36 "
       "below the relative one."},
      {{"3341-5"},
       "Passages at -26 lie less than 10 LU below those at -20 and do count. The mean power of "
       "40 s at -26 and 20.1 s at -20 is that of -23.0."},
      {{"3341-6"},
       "Weights of the channels. Surrounds count 1.41 times: the powers of -28, -28, -24, -30 "
       "and -30, the last two weighted, add up to that of two channels at -23."},
      {{"3341-7", "3341-8"},
       "Recordings of programmes with a narrow and a wide loudness range, which the EBU does "
       "not allow to pass on. Who has them measures them with `LoudDesk measure FILE`; the "
       "document asks for an integrated loudness of -23.0 LUFS within 0.1 LU."},
      {{"3341-9"},
       "Short-term loudness stays constant while the level alternates within 3 s. From thirty "
       "readings on, that is from 3.3 s on, the window always holds a whole period and the "
       "reading is constant to the last digit. At 3.0, 3.1 and 3.2 s there are 27, 28 and 29 "
       "readings, and the lowest reading to be expected is that of 28: block 31 is loud again "
       "while the quiet blocks before it still count in full, 0.10 LU less than later. It is "
       "within the tolerance at 48 kHz; at sample rates whose weighting is 0.02 dB lower at 1 "
       "kHz it lies just outside and the verdict is `grid`. (The mean power of the period is "
       "that of -22.99, not of -23.00.)"},
      {{"3341-10"},
       "A tone of 3 s that begins i x 150 ms after the measurement. With i = 0 the readings 4 "
       "to 30 are full and there are no others. With i = 1 the best window holds 28 readings "
       "with the power of 27.5: 10 log10(27.5 / 28) = -0.08 LU. From i = 2 on it holds thirty "
       "readings with the power of 29, 27 full ones and three of 3/4, 3/4 and 2/4, or 26 full "
       "ones and four of 7/8, 7/8, 5/8 and 5/8 when the tone begins within a block: 10 "
       "log10(29 / 30) = -0.15 LU."},
      {{"3341-11"},
       "The bursts of case 10 as one stream, each tone 1 dB louder than the one before. Only "
       "the first begins with the measurement; all others lose one reading in thirty, which is "
       "0.15 LU."},
      {{"3341-12"},
       "Momentary loudness stays constant while the level alternates within 400 ms. Four "
       "blocks always hold a whole period. (Its mean power is that of -22.97.)"},
      {{"3341-13"},
       "A tone of 400 ms that begins i x 20 ms after the measurement. Four blocks hold all of "
       "it when it begins on a border of two blocks; otherwise they miss the share d of a "
       "block by which its beginning lies beside the nearest border: 10 log10(1 - d / 4), "
       "which is 0, -0.22, -0.46, -0.46 and -0.22 LU for d = 0, 0.2, 0.4, 0.4 and 0.2, "
       "repeating with i."},
      {{"3341-14"},
       "The bursts of case 13 as one stream, each tone 1 dB louder than the one before. "
       "Readings fall short as there."},
      {{"3341-15"},
       "True peak. At a quarter of the sample rate and 0 degrees samples fall on the crests."},
      {{"3341-16"},
       "Case 15 at 45 degrees: every sample lies 3 dB below the crest, which the interpolation "
       "finds."},
      {{"3341-17"},
       "A sixth of the sample rate at 60 degrees. Samples lie 1.25 dB below the crests, 0.5 "
       "samples away; the nearest interpolated points are an eighth of a sample beside a crest "
       "and take the filter's loss at this frequency."},
      {{"3341-18"},
       "An eighth of the sample rate at 67.5 degrees. Samples lie 0.69 dB below the crests, "
       "which the interpolation finds."},
      {{"3341-19"},
       "Case 16 at an amplitude of 1.41: peaks above full scale are read as they are, up to +6 "
       "dBTP."},
      {{"3341-20", "3341-21", "3341-22", "3341-23"},
       "One period of a quarter of the sample rate at full scale, hidden in a sine of a sixth "
       "at half of that. The signal is made at four times the sample rate, low-passed and "
       "thinned out with four offsets, so that the crest falls on a sample, a quarter or half "
       "of a sample beside one. The low pass costs the crest 0.13 dB; the tolerance of "
       "+0.2/-0.4 dB allows for such things."},
      {{"3342-1", "3342-2", "3342-3", "3342-4"},
       "Loudness range. The range is the distance of the 10th and the 95th percentile of the "
       "short-term loudness, which in signals of long steps are two of the steps. In case 3 "
       "the lower step lies just above the lower gate, 20 LU below the mean; in case 4 the "
       "steps at -50 lie below it."},
      {{"3342-5", "3342-6"},
       "Recordings, which the EBU does not allow to pass on. The document asks for 5 and 15 LU "
       "within 1 LU."},
      {{"3342-repeat"},
       "Playing a signal twice must not change its range, which is a matter of percentiles and "
       "not of length. The tolerance is one step of what the service publishes."},
  };
  return explanations;
}

std::string ExplanationOf(const std::string& caseId) {
  for (const CaseExplanation& explanation : CaseExplanations())
    if (std::count(explanation.caseIds.begin(), explanation.caseIds.end(), caseId) > 0)
      return explanation.text;
  return "";
}

}  // namespace louddesk
