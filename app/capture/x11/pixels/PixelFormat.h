#pragma once

#include <cstdint>

namespace tarvinel::x11 {

class Connection;

/// Throws Error (unsupportedPixels) unless the root window's pixels are what a BGRA buffer
/// holds: true colour, 32 bits a pixel, blue lowest, lowest byte first.
void requireBGRA(const Connection& connection);

/// The same for windows of a visual, with or without alpha.
void requireBGRA(const Connection& connection, std::uint32_t visual);

/// True when that would not throw.
bool isBGRA(const Connection& connection, std::uint32_t visual);

}  // namespace tarvinel::x11
