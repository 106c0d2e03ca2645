#pragma once

#include <optional>
#include <string_view>

namespace tarvinel {

/// Returns the media type of a file name extension without its dot, in any case, or nullopt if it
/// is not one of the web's image and font types.
std::optional<std::string_view> contentTypeForExtension(std::string_view extension);

}  // namespace tarvinel
