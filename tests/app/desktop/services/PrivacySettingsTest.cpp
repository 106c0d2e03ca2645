#include "app/desktop/services/Launcher.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(PrivacySettings, PrefersTheDesktopsOwn) {
  EXPECT_EQ(privacySettingsPrograms(QStringLiteral("ubuntu:GNOME")).front().program,
            QStringLiteral("gnome-control-center"));
  EXPECT_EQ(privacySettingsPrograms(QStringLiteral("KDE")).front().program,
            QStringLiteral("systemsettings"));
  EXPECT_EQ(privacySettingsPrograms(QString()).size(), 2);
}

}  // namespace
}  // namespace tarvinel
