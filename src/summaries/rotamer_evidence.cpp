#include "summaries/rotamer_evidence.h"

#include <algorithm>
#include <cmath>

#include "base/missing.h"
#include "base/statistics.h"

namespace orvix::summaries {

int scoreBin(std::span<const double> scores) {
    if (scores.size() <= 2) {
        return 10;
    }
    const auto meanScore = static_cast<float>(mean(scores));
    if (!(meanScore >= 0.0F)) {
        return 0;
    }
    return static_cast<int>(10.0F * std::min(meanScore, 1.0F));
}

RotamerPrediction predictRotamer(const std::map<std::string, std::vector<double>>& scores,
                                 const RotamerCalibration& calibration, bool valine) {
    const auto binOf = [&scores](const char* word) {
        const auto group = scores.find(word);
        return static_cast<std::size_t>(group == scores.end() ? scoreBin({})
                                                              : scoreBin(group->second));
    };
    std::size_t plus = binOf("g+"), minus = binOf("g-"), trans = binOf("t");
    if (valine) {
        const std::size_t turnedPlus = trans, turnedMinus = plus, turnedTrans = minus;
        plus = turnedPlus;
        minus = turnedMinus;
        trans = turnedTrans;
    }
    const float p = calibration[plus], m = calibration[minus], t = calibration[trans];
    const float total = m + p + t;

    RotamerPrediction result;
    if (total == 0.0F || !std::isfinite(total)) {
        return result;
    }
    const double scale = 1.0 / static_cast<double>(total);
    result.gauchePlus = static_cast<float>(static_cast<double>(p) * scale);
    result.gaucheMinus = static_cast<float>(static_cast<double>(m) * scale);
    result.trans = static_cast<float>(static_cast<double>(t) * scale);

    constexpr float threshold = 0.6F;
    if (result.gauchePlus > result.gaucheMinus && result.gauchePlus > result.trans) {
        result.word = result.gauchePlus >= threshold ? "g+" : "na";
        return result;
    }
    const float top = std::max(result.gaucheMinus, result.trans);
    if (top >= threshold) {
        result.word = result.gauchePlus == top ? "g+" : result.gaucheMinus == top ? "g-" : "t";
    }
    return result;
}

double turnValine(double chi1) {
    double turned = chi1 - 120.0;
    if (turned < -180.0) {
        turned += 360.0;
    }
    return turned > 666.0 ? missingValue : turned;
}

}  // namespace orvix::summaries
