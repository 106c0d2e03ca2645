#pragma once

#include <array>
#include <cstdint>

namespace tarvinel::pattern {

/// One character of the built-in picture's font: 7 rows of 5 pixels, the leftmost in bit 4.
using Glyph = std::array<std::uint8_t, 7>;

inline constexpr int glyphWidth = 5;
inline constexpr int glyphHeight = 7;

/// The glyph of a digit or of one of the capital letters E, P, S, T; blank for anything else.
Glyph patternGlyph(char character);

}  // namespace tarvinel::pattern
