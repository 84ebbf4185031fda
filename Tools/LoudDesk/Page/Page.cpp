// The frame around the contents of a page.

#include "Page.h"

#include <iterator>

#include "ReportStyle.h"
#include "XmlText.h"

namespace louddesk {
namespace {

// The policy forbids browsers to fetch or run anything.
constexpr char kHead[] =
    "<!DOCTYPE html>\n"
    "<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\">\n<head>\n"
    "<meta charset=\"utf-8\"/>\n"
    "<meta http-equiv=\"Content-Security-Policy\" "
    "content=\"default-src 'none'; style-src 'unsafe-inline'\"/>\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
    "<meta name=\"color-scheme\" content=\"light dark\"/>\n";

struct BadgeLook {
  const char* style;  // in the style sheet
  const char* sign;
};

// In the order of Badge.
constexpr BadgeLook kLooks[] = {
    {"pass", "\xE2\x9C\x93"},   // check mark
    {"noted", "\xE2\x89\x88"},  // almost equal to
    {"fail", "\xE2\x9C\x97"},   // ballot X
    {"none", "\xE2\x80\x93"},   // dash
};
static_assert(std::size(kLooks) == static_cast<std::size_t>(Badge::kNone) + 1);

const BadgeLook& LookOf(Badge badge) {
  return kLooks[static_cast<std::size_t>(badge)];
}

}  // namespace

std::string Page(const PageParts& parts) {
  return std::string(kHead) + "<title>" + XmlEscaped(parts.title) + "</title>\n<style>" +
         kReportStyle + "</style>\n</head>\n<body>\n<header>\n<h1>" + XmlEscaped(parts.heading) +
         "</h1>\n<p>" + XmlEscaped(parts.lead) + "</p>\n</header>\n<main>\n" + parts.contents +
         "</main>\n<footer>" + parts.footer + "</footer>\n</body>\n</html>\n";
}

std::string BadgeText(Badge badge, const std::string& word) {
  return std::string("<span class=\"verdict ") + StyleFor(badge) + "\">" + LookOf(badge).sign +
         " " + XmlEscaped(word) + "</span>";
}

const char* StyleFor(Badge badge) {
  return LookOf(badge).style;
}

std::string Isolated(const std::string& text) {
  return "<bdi>" + XmlEscaped(text) + "</bdi>";
}

}  // namespace louddesk
