#pragma once

#include <QDBusConnection>
#include <QObject>

#include <memory>
#include <utility>

namespace tarvinel {

/// Keeps the screen from going blank, by what the desktop has for that: the service of its screen
/// saver, else its portal and the X server. Lives on the main queue; does not wait for services.
class IdleInhibitor {
 public:
  explicit IdleInhibitor(QDBusConnection bus) : bus_(std::move(bus)) {}
  ~IdleInhibitor();
  IdleInhibitor(const IdleInhibitor&) = delete;
  IdleInhibitor& operator=(const IdleInhibitor&) = delete;

  /// Keeps it awake, or no longer. A desktop with nothing for that does what it always does.
  void keepAwake(bool awake);

 private:
  struct Hold;

  void askScreenSaver(const std::shared_ptr<Hold>& hold);
  void queryPortal(const std::shared_ptr<Hold>& hold);
  static void holdXServer(Hold& hold);

  const QDBusConnection bus_;
  std::shared_ptr<Hold> hold_;  ///< while it is to be kept awake
  QObject context_;             ///< of the calls
};

}  // namespace tarvinel
