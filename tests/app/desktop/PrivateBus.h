#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace tarvinel::test {

/// A real session bus of a test's own, which starts no services by itself; ended by the destructor.
class PrivateBus {
 public:
  /// Throws when it does not come up.
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /// One more connection to it.
  QDBusConnection connect();

 private:
  QTemporaryDir folder_;
  QProcess daemon_;
  QString address_;
  QStringList connections_;
};

}  // namespace tarvinel::test
