#pragma once

#include <string_view>

namespace tarvinel {

/// The reverse-DNS name of this program: prefix of queue labels, D-Bus names and desktop files.
inline constexpr std::string_view applicationIdentifier = "org.tarvinel.Tarvinel";

/// The class (WM_CLASS) of this program's windows on an X server.
inline constexpr std::string_view windowClass = "Tarvinel";

}  // namespace tarvinel
