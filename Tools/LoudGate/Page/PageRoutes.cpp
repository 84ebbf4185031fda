// The table of the pages' files.

#include "PageRoutes.h"

#include "PageFiles.h"

namespace loudgate {
namespace {

constexpr char kCssType[] = "text/css; charset=utf-8";
constexpr char kScriptType[] = "text/javascript; charset=utf-8";
constexpr char kIconType[] = "image/svg+xml";

struct PageFile {
  const char* path;
  const char* type;
  const char* text;
};

constexpr PageFile kFiles[] = {
    {"/", kHtmlType, kStationPage},
    {"/cluster/*", kHtmlType, kClusterPage},
    {"/page/style.css", kCssType, kStyle},
    {"/page/icon.svg", kIconType, kIcon},
    {"/page/stream.js", kScriptType, kStreamScript},
    {"/page/meter.js", kScriptType, kMeterScript},
    {"/page/plot.js", kScriptType, kPlotScript},
    {"/page/history.js", kScriptType, kHistoryScript},
    {"/page/histogram.js", kScriptType, kHistogramScript},
    {"/page/station.js", kScriptType, kStationScript},
    {"/page/control.js", kScriptType, kControlScript},
    {"/page/cluster.js", kScriptType, kClusterScript},
};

}  // namespace

void AddPages(Routes& routes) {
  for (const PageFile& file : kFiles)
    routes.Add(kGet, file.path, [&file](const HttpRequest&) {
      HttpAnswer answer;
      answer.type = file.type;
      answer.body = file.text;
      return answer;
    });
}

}  // namespace loudgate
