// The page and its rows.

#include "StationPage.h"

#include "FiguresText.h"
#include "PageFiles.h"
#include "WatchRows.h"
#include "XmlText.h"

namespace loudgate {
namespace {

constexpr char kNowPlace[] = "@NOW@";
constexpr char kClustersPlace[] = "@CLUSTERS@";
constexpr char kCssType[] = "text/css; charset=utf-8";

std::string Cell(const std::string& text) {
  return "<td>" + louddesk::XmlEscaped(text) + "</td>";
}

// Figures that are not current are not shown.
std::string Row(const Cluster& cluster, Moment now) {
  const louddesk::WatchModel& model = cluster.Model();
  const LoudnessData_t data = model.IsLive(now.steady) ? model.Data() : LoudnessData_t{};
  return "<tr><th scope=\"row\">" + cluster.Name() + "</th>" +
         Cell(WordsOf(model.State(now.steady)).name) + Cell(louddesk::TenthsText(data.Momentary)) +
         Cell(louddesk::TenthsText(data.ShortTerm)) + Cell(louddesk::TenthsText(data.Integrated)) +
         Cell(louddesk::RangeText(data)) + Cell(louddesk::HundredthsText(data.MaxTruePeak)) +
         "</tr>\n";
}

std::string Rows(const std::vector<const Cluster*>& clusters, Moment now) {
  if (clusters.empty())
    return "<tr><td colspan=\"7\">No cluster publishes on this board.</td></tr>\n";
  std::string rows;
  for (const Cluster* cluster : clusters)
    rows += Row(*cluster, now);
  return rows;
}

void Fill(std::string& page, const std::string& place, const std::string& text) {
  page.replace(page.find(place), place.size(), text);
}

}  // namespace

std::string StationPage(const std::vector<const Cluster*>& clusters, Moment now) {
  std::string page = kStationPage;
  Fill(page, kNowPlace, louddesk::UtcText(now.wall));
  Fill(page, kClustersPlace, Rows(clusters, now));
  return page;
}

void AddPage(Routes& routes, const ClusterBoard& board) {
  routes.Add(kGet, "/", [&board](const HttpRequest&) {
    const Moment now = Moment::Now();
    return HttpAnswer::Html(StationPage(board.Clusters(now), now));
  });
  routes.Add(kGet, "/station.css", [](const HttpRequest&) {
    HttpAnswer answer;
    answer.type = kCssType;
    answer.body = kStationStyle;
    return answer;
  });
}

}  // namespace loudgate
