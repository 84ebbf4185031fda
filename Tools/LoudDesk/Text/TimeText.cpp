// Uses strptime, timegm and localtime_r, which know the calendar and the time zones.

#include "TimeText.h"

#include <fmt/chrono.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace louddesk {
namespace {

constexpr std::size_t kMostDigits = 9;  // of a count of units or of a fraction of a second
constexpr char kDigits[] = "0123456789";
constexpr int kFirstYear = 70;  // 1970, as std::tm counts years
constexpr int kLastYear = 8099;

// A format of a date and time, and where its time zone comes from.
enum class Zone { kNamed, kUsers };

struct Form {
  const char* text;
  Zone zone;
  bool hasDate;
};

// A longer format comes before its own prefixes. %z reads "Z" and "+01:00".
constexpr Form kForms[] = {
    {"%Y-%m-%dT%H:%M:%S%z", Zone::kNamed, true},
    {"%Y-%m-%dT%H:%M%z", Zone::kNamed, true},
    {"%Y-%m-%d %H:%M:%S %z", Zone::kNamed, true},
    {"%Y-%m-%dT%H:%M:%S", Zone::kUsers, true},
    {"%Y-%m-%d %H:%M:%S", Zone::kUsers, true},
    {"%Y-%m-%dT%H:%M", Zone::kUsers, true},
    {"%Y-%m-%d %H:%M", Zone::kUsers, true},
    {"%Y-%m-%d", Zone::kUsers, true},
    {"%H:%M:%S", Zone::kUsers, false},
    {"%H:%M", Zone::kUsers, false},
};

struct Unit {
  char name;
  std::int64_t seconds;
};

constexpr Unit kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}, {'w', 604800}};

// Midnight at the start of the current day, in local time.
std::tm DayOf(std::int64_t now) {
  const auto time = static_cast<std::time_t>(now);
  std::tm day{};
  localtime_r(&time, &day);
  day.tm_hour = day.tm_min = day.tm_sec = 0;
  return day;
}

// Whether the month has this day: timegm would silently turn 31 April into 1 May.
bool IsDayOfItsMonth(const std::tm& fields) {
  std::tm normalised = fields;
  normalised.tm_isdst = 0;
  timegm(&normalised);
  return normalised.tm_mday == fields.tm_mday && normalised.tm_mon == fields.tm_mon;
}

// How far local time is ahead of UTC, in seconds.
std::int64_t OffsetAt(std::int64_t moment) {
  const auto time = static_cast<std::time_t>(moment);
  std::tm local{};
  return localtime_r(&time, &local)->tm_gmtoff;
}

// The moment at which local clocks show these fields. Around a change of the clocks there may be
// none or two; mktime would then choose one by what it was asked before.
std::optional<std::int64_t> OnlyMomentOf(std::tm fields) {
  constexpr std::int64_t kDay = 86400;
  const std::int64_t shown = timegm(&fields);
  std::optional<std::int64_t> only;
  for (const std::int64_t offset : {OffsetAt(shown - kDay), OffsetAt(shown + kDay)}) {
    const std::int64_t moment = shown - offset;
    if (OffsetAt(moment) != offset || moment == only)
      continue;
    if (only)
      return std::nullopt;
    only = moment;
  }
  return only;
}

// Removes a fraction of a second, as JSON documents contain it: ":12.000".
std::string WithoutFraction(const std::string& text) {
  const std::size_t point = text.find('.');
  const bool isBehindSeconds =
      point != std::string::npos && point >= 6 && text[point - 3] == ':' && text[point - 6] == ':';
  if (!isBehindSeconds)
    return text;
  const std::size_t end = std::min(text.find_first_not_of(kDigits, point + 1), text.size());
  const std::size_t digits = end - point - 1;
  return digits == 0 || digits > kMostDigits ? text : text.substr(0, point) + text.substr(end);
}

std::optional<std::int64_t> ReadAs(const Form& form, const std::string& text, std::int64_t now) {
  std::tm fields = form.hasDate ? std::tm{} : DayOf(now);
  const char* end = strptime(text.c_str(), form.text, &fields);
  if (end == nullptr || *end != '\0' || fields.tm_year < kFirstYear || fields.tm_year > kLastYear ||
      !IsDayOfItsMonth(fields))
    return std::nullopt;
  if (form.zone == Zone::kNamed) {
    const long offset = fields.tm_gmtoff;  // timegm sets it to 0
    return std::int64_t{timegm(&fields)} - offset;
  }
  return OnlyMomentOf(fields);
}

}  // namespace

std::string LocalTimeText(std::int64_t time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm local{};
  return fmt::format("{:%Y-%m-%d %H:%M:%S %z}", *localtime_r(&seconds, &local));
}

std::optional<std::int64_t> ReadTime(const std::string& text, std::int64_t now) {
  if (text == "now")
    return now;
  const std::string whole = WithoutFraction(text);
  for (const Form& form : kForms)
    if (const auto time = ReadAs(form, whole, now))
      return time;
  return std::nullopt;
}

std::optional<std::int64_t> ReadDuration(const std::string& text) {
  const std::size_t digits = text.find_first_not_of(kDigits);
  if (digits == 0 || digits > kMostDigits || digits + 1 != text.size())
    return std::nullopt;
  for (const Unit& unit : kUnits)
    if (text.back() == unit.name) {
      const std::int64_t count = std::atoll(text.c_str());
      return count > 0 ? std::optional(count * unit.seconds) : std::nullopt;
    }
  return std::nullopt;
}

}  // namespace louddesk
