#include "app/desktop/dbus/DBusCall.h"

#include <QDBusPendingCallWatcher>

#include <utility>

namespace tarvinel {

void callOverDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
                  std::function<void(const QDBusMessage& reply)> done,
                  std::chrono::milliseconds limit) {
  // owned by the context; deletes itself when the call has finished
  auto* const watcher =
      new QDBusPendingCallWatcher(bus.asyncCall(call, static_cast<int>(limit.count())), &context);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context,
                   [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                     finished->deleteLater();
                     done(finished->reply());
                   });
}

bool isRefusal(const QDBusMessage& reply) {
  return reply.type() != QDBusMessage::ReplyMessage;
}

DBusSignal::DBusSignal(QDBusConnection bus, Source source,
                       std::function<void(const QDBusMessage&)> received)
    : bus_(std::move(bus)), source_(std::move(source)), received_(std::move(received)) {
  bus_.connect(source_.service, source_.path, source_.interface, source_.name, this,
               SLOT(receive(QDBusMessage)));
}

DBusSignal::~DBusSignal() {
  bus_.disconnect(source_.service, source_.path, source_.interface, source_.name, this,
                  SLOT(receive(QDBusMessage)));
}

void DBusSignal::receive(const QDBusMessage& signal) {
  received_(signal);
}

}  // namespace tarvinel
