// Looks of the report's page.

#pragma once

namespace louddesk {

/// The style sheet: light and dark, narrow and wide, screen and paper. Holds no character that XML
/// would have escaped.
extern const char kReportStyle[];

}  // namespace louddesk
