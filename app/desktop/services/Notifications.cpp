#include "app/desktop/services/Notifications.h"

#include "app/desktop/dbus/DBusCall.h"
#include "core/support/ApplicationIdentifier.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

constexpr int serviceDecidesHowLong = -1;

/// See "Urgency Levels" in the Desktop Notifications Specification.
enum class Urgency : uchar { normal = 1, critical = 2 };

QDBusMessage serviceCall(const QString& method) {
  const QString service = u"org.freedesktop.Notifications"_s;
  return QDBusMessage::createMethodCall(service, u"/org/freedesktop/Notifications"_s, service,
                                        method);
}

QDBusMessage notifyCall(quint32 replaced, const QString& title, const QString& text,
                        Urgency urgency) {
  const QString identifier =
      QString::fromUtf8(applicationIdentifier.data(), applicationIdentifier.size());
  QDBusMessage call = serviceCall(u"Notify"_s);
  // the text may be marked up, so that what looks like marks must be written otherwise
  call << u"Tarvinel"_s << replaced << identifier << title << text.toHtmlEscaped() << QStringList()
       << QVariantMap{{u"desktop-entry"_s, identifier},
                      {u"urgency"_s, QVariant::fromValue(static_cast<uchar>(urgency))}}
       << serviceDecidesHowLong;
  return call;
}

}  // namespace

void showNotification(const QDBusConnection& bus, const QString& title, const QString& text) {
  bus.asyncCall(notifyCall(0, title, text, Urgency::normal));
}

void Alert::show(const QString& title, const QString& text) {
  isWanted_ = true;
  callOverDBus(bus_, notifyCall(number_, title, text, Urgency::critical), context_,
               [this](const QDBusMessage& reply) {
                 number_ = isRefusal(reply) ? 0 : reply.arguments().value(0).toUInt();
                 if (!isWanted_) close();
               });
}

void Alert::close() {
  isWanted_ = false;
  if (number_ == 0) return;
  QDBusMessage call = serviceCall(u"CloseNotification"_s);
  call << std::exchange(number_, 0);
  bus_.asyncCall(call);
}

}  // namespace tarvinel
