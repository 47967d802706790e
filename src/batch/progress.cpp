#include "batch/progress.h"

#include <cmath>
#include <cstdio>

namespace orvix::batch {
namespace {

/// Rates of fewer seconds say little.
constexpr double leastSeconds = 1.0;

std::string clockText(double seconds) {
    const auto whole = std::llround(seconds);
    char text[32];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    }
    return text;
}

}  // namespace

std::string progressText(const Progress& progress) {
    const std::size_t over = progress.earlier + progress.done + progress.failed;
    std::string text = std::to_string(over) + " of " + std::to_string(progress.total);
    if (progress.earlier > 0) {
        text += ", " + std::to_string(progress.earlier) + " done before";
    }
    if (progress.failed > 0) {
        text += ", " + std::to_string(progress.failed) + " failed";
    }
    const std::size_t now = progress.done + progress.failed;
    if (now == 0 || progress.seconds < leastSeconds) {
        return text;
    }
    const double rate = static_cast<double>(now) / progress.seconds;
    char number[48];
    std::snprintf(number, sizeof number, ", %.0f proteins a minute", rate * 60.0);
    text += number;
    if (over < progress.total) {
        text += ", " + clockText(static_cast<double>(progress.total - over) / rate) + " left";
    }
    return text;
}

}  // namespace orvix::batch
