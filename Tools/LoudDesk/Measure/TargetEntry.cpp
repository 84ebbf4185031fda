// The target in words.

#include "TargetEntry.h"

#include "FigureText.h"

namespace louddesk {

void AddTargetEntry(std::vector<LegendEntry>& legend, const Criteria& criteria) {
  if (!criteria.target)
    return;
  std::string text = "Target " + FigureText(criteria.target, "") + " LKFS";
  if (criteria.limits.tolerance)
    text += " \xC2\xB1" + FigureText(criteria.limits.tolerance, "") + " LU";
  legend.push_back({"aim band", text});
}

}  // namespace louddesk
