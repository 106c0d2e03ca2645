#pragma once

#include <limits>

namespace tarvinel {

/// Values of a double that are invalid as sizes and rates.
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();

}  // namespace tarvinel
