// The overview of all clusters.

#include "WatchOverview.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "FiguresText.h"

namespace louddesk {
namespace {

constexpr std::size_t kMargin = 1;
constexpr std::size_t kFirstRow = 4;  // below the title, a blank row, names and units
constexpr char kColumns[] = "{:>3} {:>2}  {:<11} {:>9} {:>10} {:>10} {:>7} {:>15}";
constexpr char kFooter[] = "q quits  up and down choose  Enter opens";

bool IsAlarming(const WatchModel& model, WatchModel::Time now) {
  return model.NoChangeFor(now) || WordsOf(model.State(now)).isAlarming;
}

std::string RowText(const OverviewRow& row, WatchModel::Time now) {
  const WatchModel& model = *row.model;
  const LoudnessData_t data = model.IsLive(now) ? model.Data() : LoudnessData_t{};
  // Without a meter set, the cluster is known only from the service's data.
  const int cluster =
      row.place.cluster != 0 ? static_cast<int>(row.place.cluster) : model.Cluster().value_or(0);
  return fmt::format(kColumns, row.place.meterSet, cluster == 0 ? "-" : std::to_string(cluster),
                     model.NoChangeFor(now) ? "NO CHANGE" : WordsOf(model.State(now)).name,
                     TenthsText(data.Momentary), TenthsText(data.ShortTerm),
                     TenthsText(data.Integrated), RangeText(data),
                     HundredthsText(data.MaxTruePeak));
}

void DrawRow(TextScreen& screen, std::size_t at, const OverviewRow& row, bool isSelected,
             WatchModel::Time now) {
  const bool isAlarming = IsAlarming(*row.model, now);
  const Ink plain = isAlarming ? Ink::kAlert : Ink::kPlain;
  const Ink badge = isAlarming ? Ink::kAlertBadge : Ink::kBadge;
  if (isSelected)
    screen.Write(at, 0, ">", Ink::kStrong);
  screen.Write(at, kMargin, RowText(row, now), isSelected ? badge : plain);
}

void DrawHead(TextScreen& screen, std::size_t count) {
  screen.Write(0, kMargin, "LoudDesk watch", Ink::kStrong);
  screen.Write(0, 18, fmt::format("{} cluster{} on this machine", count, count == 1 ? "" : "s"),
               Ink::kPlain);
  screen.Write(2, kMargin,
               fmt::format(kColumns, "Set", "Cl", "State", "Momentary", "Short-term", "Integrated",
                           "Range", "Max. true peak"),
               Ink::kPlain);
  screen.Write(3, kMargin, fmt::format(kColumns, "", "", "", "LKFS", "LKFS", "LKFS", "LU", "dBTP"),
               Ink::kFaint);
}

}  // namespace

TextScreen ComposeOverview(const std::vector<OverviewRow>& rows, std::size_t selected,
                           ScreenSize size, WatchModel::Time now) {
  TextScreen screen(size);
  DrawHead(screen, rows.size());
  const std::size_t room = size.rows - std::min(size.rows, kFirstRow + 1);  // above the footer
  const std::size_t first = selected - std::min(selected, std::max<std::size_t>(room, 1) - 1);
  for (std::size_t i = first; i < std::min(rows.size(), first + room); ++i)
    DrawRow(screen, kFirstRow + i - first, rows[i], i == selected, now);
  if (rows.empty())
    screen.Write(kFirstRow, kMargin, "No service publishes yet.", Ink::kAlert);
  if (size.rows > 0)
    screen.Write(size.rows - 1, kMargin, kFooter, Ink::kFaint);
  return screen;
}

}  // namespace louddesk
