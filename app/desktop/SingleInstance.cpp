#include "app/desktop/SingleInstance.h"

#include "core/support/ApplicationIdentifier.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

constexpr int firstRunLimitMilliseconds = 5000;

const QString objectPath = u"/org/tarvinel/Tarvinel"_s;
const QString applicationInterface = u"org.freedesktop.Application"_s;

QString ownName() {
  return QString::fromUtf8(applicationIdentifier.data(), applicationIdentifier.size());
}

/// Registers the application on the bus; returns true if this run owns the name now, or if there is
/// no bus.
bool takeName(QDBusConnection& bus, QDBusVirtualObject& application) {
  if (!bus.isConnected()) return true;
  bus.registerVirtualObject(objectPath, &application);
  const auto reply = bus.interface()->registerService(ownName());
  return !reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceNotRegistered;
}

}  // namespace

SingleInstance::SingleInstance(QDBusConnection bus, std::function<void()> launchedAgain)
    : bus_(std::move(bus)),
      application_(std::move(launchedAgain)),
      isFirst_(takeName(bus_, application_)) {}

SingleInstance::~SingleInstance() {
  bus_.unregisterObject(objectPath);
  if (isFirst_ && bus_.isConnected()) bus_.interface()->unregisterService(ownName());
}

bool SingleInstance::showFirst() const {
  auto call =
      QDBusMessage::createMethodCall(ownName(), objectPath, applicationInterface, u"Activate"_s);
  call << QVariantMap();
  return bus_.call(call, QDBus::Block, firstRunLimitMilliseconds).type() ==
         QDBusMessage::ReplyMessage;
}

SingleInstance::Application::Application(std::function<void()> launchedAgain)
    : launchedAgain_(std::move(launchedAgain)) {}

QString SingleInstance::Application::introspect(const QString& /*path*/) const {
  return u"<interface name=\"org.freedesktop.Application\">"
         "<method name=\"Activate\"><arg type=\"a{sv}\" name=\"platform_data\" direction=\"in\"/>"
         "</method></interface>"_s;
}

bool SingleInstance::Application::handleMessage(const QDBusMessage& message,
                                                const QDBusConnection& bus) {
  if (message.interface() != applicationInterface || message.member() != "Activate"_L1) {
    return false;
  }
  bus.send(message.createReply());
  launchedAgain_();
  return true;
}

}  // namespace tarvinel
