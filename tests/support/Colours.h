#pragma once

#include <cstdint>

namespace tarvinel {

/// The colours with which tests paint, as 0xRRGGBB.
inline constexpr std::uint32_t red = 0xFF0000;
inline constexpr std::uint32_t green = 0x00FF00;
inline constexpr std::uint32_t blue = 0x0000FF;

}  // namespace tarvinel
