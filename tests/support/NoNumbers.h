#pragma once

#include <limits>

namespace tarvinel {

/// What sizes and rates may hold and must not be.
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();

}  // namespace tarvinel
