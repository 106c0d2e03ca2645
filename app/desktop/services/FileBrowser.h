#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <filesystem>
#include <optional>

namespace tarvinel {

/// Returns a folder's percent-encoded "file:" URL, which preserves its bytes in any encoding. Pure.
QString folderAddress(const std::filesystem::path& folder);

/// Returns the folder of a URL on this computer, or nullopt for any other URL. Pure.
std::optional<std::filesystem::path> folderOfAddress(const QString& address);

/// Shows a folder in the desktop's file browser, or in the default program for folders. Does not
/// wait; stops when `context` is destroyed.
void showInFileBrowser(const QDBusConnection& bus, const std::filesystem::path& folder,
                       QObject& context);

}  // namespace tarvinel
