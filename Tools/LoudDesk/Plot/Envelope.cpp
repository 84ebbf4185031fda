// Minimum and maximum of each group of points.

#include "Envelope.h"

#include <algorithm>

namespace louddesk {
namespace {

// The column of the points from `begin` up to but excluding `end`; nothing without a reading.
std::optional<EnvelopeColumn> ColumnOf(const PointAt& pointAt, std::size_t begin, std::size_t end) {
  std::optional<EnvelopeColumn> column;
  for (std::size_t i = begin; i < end; ++i) {
    const std::optional<float> reading = pointAt(i).reading;
    if (!reading)
      continue;
    if (!column)
      column = EnvelopeColumn{(pointAt(begin).seconds + pointAt(end - 1).seconds) / 2.0, *reading,
                              *reading};
    column->low = std::min(column->low, *reading);
    column->high = std::max(column->high, *reading);
  }
  return column;
}

}  // namespace

std::vector<EnvelopeRun> EnvelopeOf(std::size_t count, const PointAt& pointAt,
                                    std::size_t maxColumns) {
  const std::size_t width = std::max<std::size_t>((count + maxColumns - 1) / maxColumns, 1);
  std::vector<EnvelopeRun> runs;
  bool isInRun = false;
  for (std::size_t first = 0; first < count; first += width) {
    const auto column = ColumnOf(pointAt, first, std::min(first + width, count));
    if (column && !isInRun)
      runs.emplace_back();
    if (column)
      runs.back().push_back(*column);
    isInRun = column.has_value();
  }
  return runs;
}

}  // namespace louddesk
