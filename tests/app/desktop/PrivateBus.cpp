#include "tests/app/desktop/PrivateBus.h"

#include <QFile>
#include <QUuid>

#include <stdexcept>

namespace tarvinel::test {

namespace {

constexpr int patienceMs = 60000;

const char* const configuration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateBus::PrivateBus() {
  QFile file(folder_.filePath(QStringLiteral("bus.conf")));
  if (!file.open(QIODevice::WriteOnly)) throw std::runtime_error("no folder for a bus");
  file.write(QString::fromUtf8(configuration).arg(folder_.path()).toUtf8());
  file.close();
  daemon_.start(
      QStringLiteral("dbus-daemon"),
      {QStringLiteral("--config-file=") + file.fileName(), QStringLiteral("--print-address"),
       QStringLiteral("--nofork"), QStringLiteral("--nopidfile")});
  while (!daemon_.canReadLine()) {
    if (!daemon_.waitForReadyRead(patienceMs)) throw std::runtime_error("no bus came up");
  }
  address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
  for (const QString& connection : connections_)
    QDBusConnection::disconnectFromBus(connection);
  daemon_.terminate();
  daemon_.waitForFinished(patienceMs);
}

QDBusConnection PrivateBus::connect() {
  connections_.append(QUuid::createUuid().toString());
  return QDBusConnection::connectToBus(address_, connections_.back());
}

}  // namespace tarvinel::test
