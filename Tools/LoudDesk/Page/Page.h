// Common parts of the tool's pages: head, style sheet and badges of verdicts. A page is HTML that
// is also well-formed XML, without scripts or external resources. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// The parts of a page. Contents and footer are HTML elements; the others are plain text.
struct PageParts {
  std::string title;     // in the title of the browser's window
  std::string heading;   // at the top of the page
  std::string lead;      // what the page is about, below the heading
  std::string contents;  // sections and tables
  std::string footer;    // paragraphs
};

/// The whole page.
std::string Page(const PageParts& parts);

/// The result of a judgement.
enum class Badge {
  kGood,
  kNoted,  // a known and accepted deviation
  kBad,
  kNone,  // nothing to judge
};

/// A word with a sign that can be seen at a glance.
std::string BadgeText(Badge badge, const std::string& word);

/// The class of the badge in the style sheet: "pass", "noted", "fail" or "none".
const char* StyleFor(Badge badge);

/// `text` escaped in a separate element, because it may run from right to left while the text
/// around it does not.
std::string Isolated(const std::string& text);

}  // namespace louddesk
