#include "app/desktop/services/PrivacySettings.h"

#include <algorithm>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

}  // namespace

QList<LaunchCommand> privacySettingsPrograms(const QString& desktop) {
  QList<LaunchCommand> programs{{u"gnome-control-center"_s, {u"privacy"_s}}, {u"systemsettings"_s}};
  if (desktop.contains("KDE"_L1, Qt::CaseInsensitive)) std::ranges::reverse(programs);
  return programs;
}

bool openDesktopPrivacySettings() {
  return launchFirstOf(privacySettingsPrograms(qEnvironmentVariable("XDG_CURRENT_DESKTOP")));
}

}  // namespace tarvinel
