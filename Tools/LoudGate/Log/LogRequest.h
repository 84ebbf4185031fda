// A request for a period of the record: what is asked for, and the answer. Stateless.

#pragma once

#include <functional>
#include <string>

#include "Evidence.h"
#include "HttpMessage.h"

namespace loudgate {

/// How a period is answered.
enum class LogStyle {
  kJson,  // its figures
  kCsv,   // its seconds
  kHtml,  // the report
};

struct LogRequest {
  std::optional<louddesk::StationCluster> cluster;
  louddesk::PeriodAsked period;
  LogStyle style = LogStyle::kJson;
  louddesk::Criteria criteria;
};

/// The request cannot be understood. The text is one line for its sender.
class BadLogRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The longest periods, s: of seconds and of figures.
constexpr std::int64_t kLongestSeconds = std::int64_t{25} * 3600;
constexpr std::int64_t kLongestFigures = std::int64_t{31} * 86400 + 3600;

/// What a request asks for. Throws BadLogRequest.
LogRequest ReadLogRequest(const HttpRequest& request, std::int64_t now);

/// The answer from the record in `file`: also that there is none. `check` is called with each
/// second; what it throws ends the work and is passed on.
HttpAnswer AnswerFrom(const std::string& file, const LogRequest& request, std::int64_t now,
                      const std::function<void()>& check);

}  // namespace loudgate
