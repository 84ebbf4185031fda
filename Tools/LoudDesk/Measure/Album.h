// Several programmes measured as one: all their readings behind each other.

#pragma once

#include <cstddef>

#include "MeasuredFile.h"

namespace louddesk {

/// No reading spans the end of one programme and the beginning of the next.
class Album {
 public:
  /// Adds a programme; the figures of all are then those of a programme of its length more.
  void Add(const MeasuredProgramme& programme);

  std::size_t Programmes() const { return mProgrammes; }

  /// The figures of all so far, at no particular times; `programme` is that of the first one,
  /// without peaks of channels and without series.
  MeasuredProgramme AsOne() const;

 private:
  std::size_t mProgrammes = 0;
  MeasuredProgramme mAll;
};

}  // namespace louddesk
