#pragma once

#include <filesystem>
#include <string_view>

namespace tarvinel {

/// Gives a file this content, making it and the folders above it where they are missing. Whatever
/// happens meanwhile, a reader finds the old content or the new one, also after a power cut. The
/// file can be read by its owner only. Throws std::system_error.
void replaceFile(const std::filesystem::path& file, std::string_view content);

}  // namespace tarvinel
