#pragma once

#include <optional>
#include <string_view>

namespace tarvinel {

/// The media type of a file name extension without its dot, in any case; nothing for others than
/// the web's images and fonts.
std::optional<std::string_view> contentTypeForExtension(std::string_view extension);

}  // namespace tarvinel
