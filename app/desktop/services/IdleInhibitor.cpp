#include "app/desktop/services/IdleInhibitor.h"

#include "app/desktop/dbus/DBusCall.h"
#include "app/x11/Error.h"
#include "app/x11/ScreenSaverSuspension.h"

#include <QDBusObjectPath>
#include <QGuiApplication>
#include <QVariantMap>

#include <cstdint>
#include <optional>
#include <utility>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

const QString screenSaver = u"org.freedesktop.ScreenSaver"_s;
const QString screenSaverPath = u"/org/freedesktop/ScreenSaver"_s;
const QString whyAwake = u"Sharing the screen"_s;
constexpr std::uint32_t inhibitIdle = 8;

}  // namespace

/// One period of keeping the screen awake. An inhibition that is granted after its end is released
/// at once.
struct IdleInhibitor::Hold {
  explicit Hold(QDBusConnection where) : bus(std::move(where)) {}

  void granted(const QDBusMessage& howToRelease) {
    release = howToRelease;
    if (!isWanted) end();
  }

  void end() {
    isWanted = false;
    suspension.reset();
    if (release) bus.send(*std::exchange(release, std::nullopt));
  }

  QDBusConnection bus;
  bool isWanted = true;
  std::optional<QDBusMessage> release;
  std::unique_ptr<x11::ScreenSaverSuspension> suspension;
};

IdleInhibitor::~IdleInhibitor() {
  keepAwake(false);
}

void IdleInhibitor::keepAwake(bool awake) {
  if (awake == (hold_ != nullptr)) return;
  if (awake) {
    hold_ = std::make_shared<Hold>(bus_);
    askScreenSaver(hold_);
  } else {
    std::exchange(hold_, nullptr)->end();
  }
}

void IdleInhibitor::askScreenSaver(const std::shared_ptr<Hold>& hold) {
  auto call =
      QDBusMessage::createMethodCall(screenSaver, screenSaverPath, screenSaver, u"Inhibit"_s);
  call << u"Tarvinel"_s << whyAwake;
  callOverDBus(bus_, call, context_, [this, hold](const QDBusMessage& reply) {
    if (isRefusal(reply)) {
      if (!hold->isWanted) return;
      queryPortal(hold);
      holdXServer(*hold);
      return;
    }
    auto release =
        QDBusMessage::createMethodCall(screenSaver, screenSaverPath, screenSaver, u"UnInhibit"_s);
    release << reply.arguments().value(0).toUInt();
    hold->granted(release);
  });
}

void IdleInhibitor::queryPortal(const std::shared_ptr<Hold>& hold) {
  auto call = QDBusMessage::createMethodCall(DesktopPortal::service, DesktopPortal::path,
                                             u"org.freedesktop.portal.Inhibit"_s, u"Inhibit"_s);
  call << QString() << inhibitIdle << QVariantMap{{u"reason"_s, whyAwake}};
  callOverDBus(bus_, call, context_, [hold](const QDBusMessage& reply) {
    if (isRefusal(reply)) return;
    const auto request = reply.arguments().value(0).value<QDBusObjectPath>();
    hold->granted(QDBusMessage::createMethodCall(DesktopPortal::service, request.path(),
                                                 DesktopPortal::requestInterface, u"Close"_s));
  });
}

void IdleInhibitor::holdXServer(Hold& hold) {
  if (QGuiApplication::platformName() != "xcb"_L1) return;
  try {
    hold.suspension =
        std::make_unique<x11::ScreenSaverSuspension>(qgetenv("DISPLAY").toStdString());
  } catch (const x11::Error&) {
    // the screen blanks as usual
  }
}

}  // namespace tarvinel
