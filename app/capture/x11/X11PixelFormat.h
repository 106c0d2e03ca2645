#pragma once

#include <cstdint>

namespace tarvinel {

class X11Connection;

/// Throws X11Error (unsupportedPixels) unless the root window's pixels are what a BGRA buffer
/// holds: true colour, 32 bits a pixel, blue lowest, lowest byte first.
void requireBGRA(const X11Connection& connection);

/// The same for windows of a visual, with or without alpha.
void requireBGRA(const X11Connection& connection, std::uint32_t visual);

/// True when that would not throw.
bool isBGRA(const X11Connection& connection, std::uint32_t visual);

}  // namespace tarvinel
