#include "app/desktop/dbus/DBusSignal.h"

#include <utility>

namespace tarvinel {

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
