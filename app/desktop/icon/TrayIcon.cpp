#include "app/desktop/icon/TrayIcon.h"

#include "app/desktop/icon/ProgramIcons.h"

#include <QCursor>
#include <QGuiApplication>

#include <utility>

namespace tarvinel {

namespace {

/// Only on X a program knows the pointer's position and can place a window there.
bool canPlaceMenu() {
  return QGuiApplication::platformName() == QStringLiteral("xcb");
}

}  // namespace

TrayIcon::TrayIcon(MenuDrawer drawer, const TrayMenu::Perform& perform,
                   std::function<void()> openWindow)
    : openWindow_(std::move(openWindow)),
      menu_(drawer, perform),
      clickedMenu_(MenuDrawer::toolkit, perform) {
  icon_.setContextMenu(&menu_.menu());
  QObject::connect(&icon_, &QSystemTrayIcon::activated, &icon_,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) clicked();
                   });
}

void TrayIcon::draw(const std::vector<MenuItem>& items, bool isSharing) {
  menu_.draw(items);
  clickedMenu_.draw(items);
  if (!items.empty()) icon_.setToolTip(shortLabel(items.front().label));
  if (std::exchange(isSharing_, isSharing) == isSharing) return;
  icon_.setIcon(ProgramIcons::tray(isSharing));
  icon_.show();
}

void TrayIcon::clicked() {
  if (canPlaceMenu()) {
    clickedMenu_.menu().popup(QCursor::pos());
  } else {
    openWindow_();
  }
}

}  // namespace tarvinel
