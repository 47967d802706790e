#include "cli/writing_time.h"

#include <cstdlib>

#include "base/run_end.h"

namespace orvix::cli {

std::string timeText(std::time_t time) {
    std::tm parts{};
    char text[64];
    if (gmtime_r(&time, &parts) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts) == 0) {
        throw RunError("SOURCE_DATE_EPOCH: no time");
    }
    return text;
}

std::string writingTime() {
    std::time_t now = std::time(nullptr);
    if (const char* const fixed = std::getenv("SOURCE_DATE_EPOCH"); fixed != nullptr) {
        now = static_cast<std::time_t>(std::strtoll(fixed, nullptr, 10));
    }
    return timeText(now);
}

}  // namespace orvix::cli
