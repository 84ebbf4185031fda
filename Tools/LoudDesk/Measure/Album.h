// Several programmes measured as one, with the readings of all of them.

#pragma once

#include <cstddef>

#include "MeasuredFile.h"

namespace louddesk {

/// The combined figures of programmes. No reading spans the boundary between two programmes.
class Album {
 public:
  /// Adds a programme, as if it followed the previous ones.
  void Add(const MeasuredProgramme& programme);

  std::size_t Programmes() const { return mProgrammes; }

  /// The figures of all programmes so far, without the times of maxima, peaks of channels and
  /// series. `programme` is that of the first programme.
  MeasuredProgramme AsOne() const;

 private:
  std::size_t mProgrammes = 0;
  MeasuredProgramme mAll;
};

}  // namespace louddesk
