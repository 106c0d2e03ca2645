#pragma once

#include <string_view>

namespace tarvinel {

/// The reverse-DNS name of this program: prefix of queue labels, D-Bus names and desktop files.
inline constexpr std::string_view applicationIdentifier = "org.tarvinel.Tarvinel";

}  // namespace tarvinel
