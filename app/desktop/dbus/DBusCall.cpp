#include "app/desktop/dbus/DBusCall.h"

#include <QDBusPendingCallWatcher>

#include <utility>

namespace tarvinel {

void callOverDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
                  std::function<void(const QDBusMessage& answer)> done,
                  std::chrono::milliseconds limit) {
  // owned by the context, and by nobody once it has finished
  auto* const watcher =
      new QDBusPendingCallWatcher(bus.asyncCall(call, static_cast<int>(limit.count())), &context);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context,
                   [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                     finished->deleteLater();
                     done(finished->reply());
                   });
}

bool isRefusal(const QDBusMessage& answer) {
  return answer.type() != QDBusMessage::ReplyMessage;
}

}  // namespace tarvinel
