// HTML for the figures of a page.

#include "PlotFigure.h"

#include "XmlText.h"

namespace louddesk {
namespace {

std::string SampleOf(const LegendEntry& entry) {
  const std::string style = std::string(" class=\"") + entry.style + "\"";
  return "<svg aria-hidden=\"true\" class=\"sample\" viewBox=\"0 0 28 12\">" +
         (entry.sample == LegendEntry::Sample::kDot
              ? "<circle" + style + " cx=\"14\" cy=\"6\" r=\"4\"/>"
              : "<path" + style + " d=\"M1 6H27\"/>") +
         "</svg>";
}

std::string Legend(const std::vector<LegendEntry>& entries) {
  std::string list = "<ul class=\"legend\">\n";
  for (const LegendEntry& entry : entries)
    list += "<li>" + SampleOf(entry) + XmlEscaped(entry.text) + "</li>\n";
  return list + "</ul>\n";
}

}  // namespace

std::string FigureElement(const PlotFigure& figure) {
  return "<figure>\n<h3>" + XmlEscaped(figure.heading) + " <span class=\"unit\">" +
         XmlEscaped(figure.unit) + "</span></h3>\n" + Legend(figure.legend) + figure.drawing +
         "<p class=\"axis\">" + XmlEscaped(figure.axis) + "</p>\n<figcaption>" +
         XmlEscaped(figure.explanation) + "</figcaption>\n</figure>\n";
}

}  // namespace louddesk
