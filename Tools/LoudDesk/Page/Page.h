// What the pages of this tool have in common: their head, the style sheet and the marks of their
// verdicts. A page is HTML that is well-formed XML too, without scripts or anything to fetch.
// Stateless.

#pragma once

#include <string>

namespace louddesk {

/// What a page is made of. Contents and footer are elements, the others plain text.
struct PageParts {
  std::string title;     // of the browser's window
  std::string heading;   // over the page
  std::string lead;      // what the page is about, below the heading
  std::string contents;  // sections and tables
  std::string footer;    // paragraphs
};

/// The whole page.
std::string Page(const PageParts& parts);

/// How something was judged.
enum class Badge {
  kGood,
  kNoted,  // not as asked for, and known to be so
  kBad,
  kNone,  // nothing to judge
};

/// A word with a sign beside it for the quick eye.
std::string BadgeText(Badge badge, const std::string& word);

/// The name of the badge in the style sheet: "pass", "noted", "fail" or "none".
const char* StyleFor(Badge badge);

/// `text` escaped, in an element of its own: it may run from right to left, what stands around it
/// does not.
std::string Isolated(const std::string& text);

}  // namespace louddesk
