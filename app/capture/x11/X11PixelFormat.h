#pragma once

namespace tarvinel {

class X11Connection;

/// Throws X11Error (unsupportedPixels) unless the root window's pixels are what a BGRA buffer
/// holds: true colour, 32 bits a pixel, blue lowest, lowest byte first.
void requireBGRA(const X11Connection& connection);

}  // namespace tarvinel
