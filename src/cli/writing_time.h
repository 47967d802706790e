#pragma once

#include <ctime>
#include <string>

namespace orvix::cli {

/// A time in UTC, as 2026-01-31T12:00:00. Throws RunError for one beyond the calendar, as only
/// SOURCE_DATE_EPOCH can name.
std::string timeText(std::time_t time);

/// Time of writing; SOURCE_DATE_EPOCH, where set, makes files that are the same every time.
std::string writingTime();

}  // namespace orvix::cli
