#pragma once

#include <string_view>

namespace tarvinel::x11 {

class Connection;

/// Screen pixels per point, 1 to 3, from the desktop's resource database (lines such as
/// "Xft.dpi: 192"): the dots per inch divided by 96, rounded. 1 when there is no usable line.
int scaleFromResources(std::string_view resources);

/// The same from the database that the X server holds. Throws Error.
int desktopScale(const Connection& connection);

}  // namespace tarvinel::x11
