#include "app/tray/Notifications.h"

#include "core/support/ApplicationIdentifier.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QStringList>
#include <QVariantMap>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

constexpr int serviceDecidesHowLong = -1;

}  // namespace

void showNotification(const QDBusConnection& bus, const QString& title, const QString& text,
                      Urgency urgency) {
  const QString identifier =
      QString::fromUtf8(applicationIdentifier.data(), applicationIdentifier.size());
  const QString service = u"org.freedesktop.Notifications"_s;
  auto call = QDBusMessage::createMethodCall(service, u"/org/freedesktop/Notifications"_s, service,
                                             u"Notify"_s);
  // the text may be marked up, so that what looks like marks must be written otherwise
  call << u"Tarvinel"_s << 0U << identifier << title << text.toHtmlEscaped() << QStringList()
       << QVariantMap{{u"desktop-entry"_s, identifier},
                      {u"urgency"_s, QVariant::fromValue(static_cast<uchar>(urgency))}}
       << serviceDecidesHowLong;
  bus.asyncCall(call);
}

}  // namespace tarvinel
