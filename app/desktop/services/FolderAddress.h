#pragma once

#include <QString>

#include <filesystem>
#include <optional>

namespace tarvinel {

/// A folder's address, "file:" and percent-encoded: its bytes are kept, whatever they mean. Pure.
QString folderAddress(const std::filesystem::path& folder);

/// The folder of an address on this machine. Pure.
std::optional<std::filesystem::path> folderOfAddress(const QString& address);

}  // namespace tarvinel
