#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace tarvinel::test {

/// A real session bus for one test, which does not start services; the destructor ends it.
class PrivateBus {
 public:
  /// Throws if the bus does not start.
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /// Returns a new connection to the bus.
  QDBusConnection connect();

 private:
  QTemporaryDir folder_;
  QProcess daemon_;
  QString address_;
  QStringList connections_;
};

}  // namespace tarvinel::test
