#pragma once

#include <nlohmann/json.hpp>

#include "check/shift_check.h"

namespace orvix::check {

/// What a check found beside a prediction, as the member `by_prediction` of the record of
/// `orvix check`.
nlohmann::ordered_json checkRecord(const ShiftCheck& check);

}  // namespace orvix::check
