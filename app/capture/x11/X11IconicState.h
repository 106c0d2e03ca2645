#pragma once

#include "app/capture/x11/X11Property.h"

#include <optional>

namespace tarvinel {

/// Whether a window's WM_STATE says that its window manager has put it away: minimised, or on
/// another workspace. Some that compose the screen leave such a window mapped, so that it goes on
/// drawing for their previews. Pure.
bool isIconic(const std::optional<X11Property>& state);

}  // namespace tarvinel
