#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <filesystem>
#include <optional>

namespace tarvinel {

/// A folder's address, "file:" and percent-encoded: its bytes are kept, whatever they mean. Pure.
QString folderAddress(const std::filesystem::path& folder);

/// The folder of an address on this machine. Pure.
std::optional<std::filesystem::path> folderOfAddress(const QString& address);

/// Shows a folder in the desktop's file browser, or in whatever opens folders by default. Does not
/// wait; nothing more comes of it once `context` is gone.
void showInFileBrowser(const QDBusConnection& bus, const std::filesystem::path& folder,
                       QObject& context);

}  // namespace tarvinel
