#pragma once

#include <cstdint>

namespace tarvinel::x11 {

class Connection;

/// Throws Error (unsupportedPixels) unless the root window's pixels have the format of a BGRA
/// buffer: true colour, 32 bits per pixel, blue lowest, lowest byte first.
void requireBGRA(const Connection& connection);

/// Checks the same for windows of a visual, with or without alpha.
void requireBGRA(const Connection& connection, std::uint32_t visual);

/// Returns whether windows of the visual pass that check.
bool isBGRA(const Connection& connection, std::uint32_t visual);

}  // namespace tarvinel::x11
