// Looks of the report's page.

#pragma once

namespace louddesk {

/// The style sheet, ReportStyle.css.
extern const char kReportStyle[];

}  // namespace louddesk
