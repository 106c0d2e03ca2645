#include "app/desktop/icon/NotifierHosts.h"

#include "app/desktop/dbus/DBusCall.h"

#include <QDBusVariant>

#include <utility>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

const QString watcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;

DBusSignal::Source watcherSignal(QString name) {
  return {watcherName, watcherPath, watcherName, std::move(name)};
}

}  // namespace

NotifierHosts::NotifierHosts(const QDBusConnection& bus, std::function<void()> onChange)
    : bus_(bus),
      onChange_(std::move(onChange)),
      watcher_(watcherName, bus, QDBusServiceWatcher::WatchForOwnerChange),
      registered_(bus, watcherSignal(u"StatusNotifierHostRegistered"_s),
                  [this](const QDBusMessage&) { ask(); }),
      unregistered_(bus, watcherSignal(u"StatusNotifierHostUnregistered"_s),
                    [this](const QDBusMessage&) { ask(); }) {
  QObject::connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, &watcher_,
                   [this] { ask(); });
  ask();
}

void NotifierHosts::ask() {
  auto question = QDBusMessage::createMethodCall(watcherName, watcherPath,
                                                 u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
  question.setAutoStartService(false);
  question << watcherName << u"IsStatusNotifierHostRegistered"_s;
  callOverDBus(bus_, question, watcher_, [this](const QDBusMessage& answer) {
    set(!isRefusal(answer) && answer.arguments().value(0).value<QDBusVariant>().variant().toBool());
  });
}

void NotifierHosts::set(bool isThere) {
  if (std::exchange(isThere_, isThere) != isThere) onChange_();
}

}  // namespace tarvinel
