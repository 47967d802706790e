#pragma once

namespace orvix {

/// `value` as a float; infinity for numbers beyond the range of float.
float narrowToFloat(double value);

}  // namespace orvix
