// Parses a request for a period of the record, and answers it. Stateless.

#pragma once

#include <functional>
#include <string>

#include "Evidence.h"
#include "HttpMessage.h"

namespace loudgate {

/// The format of an answer.
enum class LogStyle {
  kJson,  // the figures of the period
  kCsv,   // a table of its seconds
  kHtml,  // the printable report
};

struct LogRequest {
  std::optional<louddesk::StationCluster> cluster;
  louddesk::PeriodAsked period;
  LogStyle style = LogStyle::kJson;
  louddesk::Criteria criteria;
};

/// The request cannot be understood. The text is one line for the client.
class BadLogRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The longest periods in s: of a table of seconds, and of figures or a report.
constexpr std::int64_t kLongestSeconds = std::int64_t{25} * 3600;
constexpr std::int64_t kLongestFigures = std::int64_t{31} * 86400 + 3600;

/// Parses the parameters of a request. `now` is in s since 1970. Throws BadLogRequest.
LogRequest ReadLogRequest(const HttpRequest& request, std::int64_t now);

/// Answers from the record in `file`; a missing record or period is an answer too. Calls `check`
/// for each second read; an exception from `check` ends the work and is passed on.
HttpAnswer AnswerFrom(const std::string& file, const LogRequest& request, std::int64_t now,
                      const std::function<void()>& check);

}  // namespace loudgate
