#pragma once

#include "app/desktop/services/Launcher.h"

#include <QList>
#include <QString>

namespace tarvinel {

/// The programs that could show the desktop's privacy settings, the best first; `desktop` is what
/// XDG_CURRENT_DESKTOP says. Pure.
QList<LaunchCommand> privacySettingsPrograms(const QString& desktop);

/// Opens the desktop's privacy settings; false when nothing installed shows them.
bool openDesktopPrivacySettings();

}  // namespace tarvinel
