// Minimum and maximum of each group of blocks.

#include "Envelope.h"

#include <algorithm>

namespace louddesk {
namespace {

std::optional<EnvelopeColumn> ColumnOf(const SeriesPoint* begin, const SeriesPoint* end,
                                       SeriesMember member) {
  std::optional<EnvelopeColumn> column;
  for (const SeriesPoint* point = begin; point != end; ++point) {
    const std::optional<float>& reading = point->*member;
    if (!reading)
      continue;
    if (!column)
      column = EnvelopeColumn{(begin->seconds + (end - 1)->seconds) / 2.0, *reading, *reading};
    column->low = std::min(column->low, *reading);
    column->high = std::max(column->high, *reading);
  }
  return column;
}

}  // namespace

std::vector<EnvelopeRun> EnvelopeOf(const std::vector<SeriesPoint>& points, SeriesMember member,
                                    std::size_t maxColumns) {
  const std::size_t width = std::max<std::size_t>((points.size() + maxColumns - 1) / maxColumns, 1);
  std::vector<EnvelopeRun> runs;
  bool isInRun = false;
  for (std::size_t first = 0; first < points.size(); first += width) {
    const std::size_t last = std::min(first + width, points.size());
    const auto column = ColumnOf(points.data() + first, points.data() + last, member);
    if (column && !isInRun)
      runs.emplace_back();
    if (column)
      runs.back().push_back(*column);
    isInRun = column.has_value();
  }
  return runs;
}

}  // namespace louddesk
