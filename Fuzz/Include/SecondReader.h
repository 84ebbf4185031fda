// Whether a text is JSON within the limits, judged by another JSON library than the one under test.

#pragma once

namespace fuzz {

enum class Verdict {
  kRefused,  // it is not JSON, or exceeds a limit
  kTaken,    // it is JSON within the limits
  kEither,  // a number is at the very end of the range of a double, or has so many digits or such a
            // high exponent that a reader may reject it
};

/// The verdict on a zero-terminated text. The limits are those of JsonAccess.h: size, values and
/// keys together, nesting. Bytes above 127 and halves of surrogate pairs count as characters, as in
/// every reader of the service.
Verdict JudgeText(const char* text);

}  // namespace fuzz
