// Reads the parameters and makes the answers.

#include "LogRequest.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "EvidencePage.h"
#include "EvidenceText.h"
#include "Profiles.h"
#include "TimeText.h"
#include "Version.h"

namespace loudgate {
namespace {

using louddesk::Evidence;
using louddesk::EvidenceOf;
using louddesk::EvidenceQuestion;
using louddesk::NoEvidence;
using louddesk::RecordedSecond;
using louddesk::StationError;
using louddesk::StationReader;

constexpr char kCsvType[] = "text/csv; charset=utf-8";

// In the order of LogStyle.
constexpr std::array<const char*, 3> kStyles = {"json", "csv", "html"};

constexpr std::array<const char*, 6> kParameters = {"cluster", "from",   "to",
                                                    "last",    "format", "profile"};

// Rows are collected up to this size before they are written to the file.
constexpr std::size_t kRowBytes = std::size_t{64} * 1024;

// The value of a parameter, parsed by `read`; nothing if the parameter is missing.
template <typename Read>
auto ValueOf(const HttpRequest& request, const char* name, const Read& read)
    -> decltype(read(std::string())) {
  const auto found = request.query.find(name);
  if (found == request.query.end())
    return std::nullopt;
  auto value = read(found->second);
  if (!value)
    throw BadLogRequest(std::string("The parameter ") + name + " cannot be understood.");
  return value;
}

std::optional<LogStyle> StyleNamed(const std::string& name) {
  const auto found = std::find(kStyles.begin(), kStyles.end(), name);
  return found == kStyles.end() ? std::nullopt
                                : std::optional(static_cast<LogStyle>(found - kStyles.begin()));
}

std::optional<louddesk::Criteria> CriteriaNamed(const std::string& name) {
  const auto names = louddesk::ProfileNames();
  return std::find(names.begin(), names.end(), name) == names.end()
             ? std::nullopt
             : std::optional(louddesk::CriteriaOf(name));
}

// In a query, an unescaped plus sign means a blank. Restores the one in "...T20:15:00+01:00".
std::string WithPlus(std::string text) {
  if (text.find('T') != std::string::npos)
    std::replace(text.begin(), text.end(), ' ', '+');
  return text;
}

void CheckNames(const HttpRequest& request) {
  for (const auto& [name, value] : request.query)
    if (std::find(kParameters.begin(), kParameters.end(), name) == kParameters.end())
      throw BadLogRequest("The parameters are cluster, from, to, last, format and profile.");
}

void CheckPeriod(const louddesk::PeriodAsked& period) {
  if (period.from.has_value() == period.last.has_value())
    throw BadLogRequest("Either from or last is required.");
  if (period.from && period.to && *period.from >= *period.to)
    throw BadLogRequest("The period ends before it begins.");
}

void CheckLength(const louddesk::StationPeriod& period, LogStyle style) {
  const bool isSeconds = style == LogStyle::kCsv;
  if (period.to - period.from > (isSeconds ? kLongestSeconds : kLongestFigures))
    throw BadLogRequest(isSeconds ? "At most the seconds of a day can be asked for."
                                  : "At most 31 days can be asked for.");
}

// An unnamed file in the record's folder, written row by row.
class RowFile {
 public:
  explicit RowFile(const std::string& record)
      : mDescriptor(open(FolderOf(record).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)) {
    Check(mDescriptor >= 0);
  }
  ~RowFile() {
    if (mDescriptor >= 0)
      close(mDescriptor);
  }
  RowFile(const RowFile&) = delete;
  RowFile& operator=(const RowFile&) = delete;

  void Add(const std::string& row) {
    mRows += row;
    if (mRows.size() >= kRowBytes)
      Flush();
  }

  std::shared_ptr<const AnswerFile> Finish() {
    Flush();
    auto file = std::make_shared<const AnswerFile>(mDescriptor, mSize);
    mDescriptor = -1;
    return file;
  }

 private:
  static std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
  }

  static void Check(bool isWell) {
    if (!isWell)
      throw StationError(StationError::Fault::kUnavailable, "there is no room for the seconds");
  }

  void Flush() {
    Check(write(mDescriptor, mRows.data(), mRows.size()) == static_cast<ssize_t>(mRows.size()));
    mSize += mRows.size();
    mRows.clear();
  }

  int mDescriptor;
  std::uint64_t mSize = 0;
  std::string mRows;
};

HttpAnswer CsvOf(StationReader& reader, const EvidenceQuestion& question, const std::string& record,
                 const std::function<void()>& check) {
  const std::string name = NameOf(question.cluster);
  RowFile rows(record);
  rows.Add(louddesk::SecondsHeader());
  reader.ReadSeconds(question.cluster, question.period, [&](const RecordedSecond& second) {
    check();
    rows.Add(SecondsRow(name, second));
    return true;
  });
  HttpAnswer answer;
  answer.type = kCsvType;
  answer.file = rows.Finish();
  return answer;
}

HttpAnswer PageOf(const Evidence& evidence, std::int64_t now) {
  HttpAnswer answer =
      HttpAnswer::Html(EvidencePage(evidence, louddesk::LocalTimeText(now), louddesk::kVersion));
  answer.isStyled = true;
  return answer;
}

HttpAnswer Answer(const std::string& file, const LogRequest& request, std::int64_t now,
                  const std::function<void()>& check) {
  StationReader reader(file);
  const EvidenceQuestion question = {ResolveCluster(request.cluster, reader),
                                     ResolvePeriod(request.period, reader, now), request.criteria,
                                     std::nullopt};
  CheckLength(question.period, request.style);
  if (request.style == LogStyle::kCsv)
    return CsvOf(reader, question, file, check);
  const Evidence evidence =
      EvidenceOf(reader, question, [&check](const RecordedSecond&) { check(); });
  return request.style == LogStyle::kHtml ? PageOf(evidence, now)
                                          : HttpAnswer::Json(EvidenceJson(evidence));
}

}  // namespace

LogRequest ReadLogRequest(const HttpRequest& request, std::int64_t now) {
  const auto time = [now](const std::string& text) {
    return louddesk::ReadTime(WithPlus(text), now);
  };
  CheckNames(request);
  LogRequest read;
  read.cluster = ValueOf(request, "cluster", louddesk::ClusterNamed);
  read.period = {ValueOf(request, "from", time), ValueOf(request, "to", time),
                 ValueOf(request, "last", louddesk::ReadDuration)};
  read.style = ValueOf(request, "format", StyleNamed).value_or(LogStyle::kJson);
  read.criteria = ValueOf(request, "profile", CriteriaNamed)
                      .value_or(louddesk::CriteriaOf(louddesk::kUsualProfile));
  CheckPeriod(read.period);
  return read;
}

HttpAnswer AnswerFrom(const std::string& file, const LogRequest& request, std::int64_t now,
                      const std::function<void()>& check) {
  try {
    return Answer(file, request, now, check);
  } catch (const BadLogRequest& error) {
    return HttpAnswer::Plain(kBadRequest, error.what());
  } catch (const NoEvidence& error) {
    return HttpAnswer::Plain(kNotFound, std::string("No such period: ") + error.what() + ".");
  } catch (const StationError&) {
    return HttpAnswer::Plain(kUnavailable, "The record cannot be read.");
  }
}

}  // namespace loudgate
