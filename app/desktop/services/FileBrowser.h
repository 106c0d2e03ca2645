#pragma once

#include <QDBusConnection>
#include <QObject>

#include <filesystem>

namespace tarvinel {

/// Shows a folder in the desktop's file browser, or in whatever opens folders by default. Does not
/// wait; nothing more comes of it once `context` is gone.
void showInFileBrowser(const QDBusConnection& bus, const std::filesystem::path& folder,
                       QObject& context);

}  // namespace tarvinel
