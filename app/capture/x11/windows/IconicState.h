#pragma once

#include "app/x11/Property.h"

#include <optional>

namespace tarvinel::x11 {

/// Whether a window's WM_STATE says that its window manager has put it away: minimised, or on
/// another workspace. Some that compose the screen leave such a window mapped, so that it goes on
/// drawing for their previews. Pure.
bool isIconic(const std::optional<Property>& state);

}  // namespace tarvinel::x11
