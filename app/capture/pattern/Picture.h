#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tarvinel::pattern {

/// One character of the built-in picture's font: 7 rows of 5 pixels, the leftmost in bit 4.
using Glyph = std::array<std::uint8_t, 7>;

inline constexpr int glyphWidth = 5;
inline constexpr int glyphHeight = 7;

/// Returns the glyph of a digit or of the capital letters E, P, S, T; blank for anything else.
Glyph patternGlyph(char character);

/// Draws the built-in picture: colour bars, a ball that travels along a lane, and a step counter.
/// What it draws depends on the step alone. Buffers are `pixelWidth` by `pixelHeight`.
struct Picture {
  static constexpr int width = 1280;  ///< points
  static constexpr int height = 720;  ///< points
  static constexpr int density = 2;   ///< pixels per point
  static constexpr int pixelWidth = width * density;
  static constexpr int pixelHeight = height * density;

  /// Draws the whole picture of one step; steps count from 0.
  static void draw(MemoryPixelBuffer& buffer, std::int64_t step);

  /// Turns the picture of one step into that of another; returns the rectangles it changed, in
  /// points. The result is the same as drawing all of it.
  static std::vector<Rect> redraw(MemoryPixelBuffer& buffer, std::int64_t from, std::int64_t to);
};

}  // namespace tarvinel::pattern
