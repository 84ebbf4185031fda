// The style sheet of the pages.

#pragma once

namespace louddesk {

/// The contents of ReportStyle.css.
extern const char kReportStyle[];

}  // namespace louddesk
