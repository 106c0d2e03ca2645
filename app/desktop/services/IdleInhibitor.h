#pragma once

#include <QDBusConnection>
#include <QObject>

#include <memory>
#include <utility>

namespace tarvinel {

/// Keeps the screen from blanking, by the desktop's screen saver service, else by its portal and
/// the X server. Lives on the main queue; does not wait for services.
class IdleInhibitor {
 public:
  explicit IdleInhibitor(QDBusConnection bus) : bus_(std::move(bus)) {}
  ~IdleInhibitor();
  IdleInhibitor(const IdleInhibitor&) = delete;
  IdleInhibitor& operator=(const IdleInhibitor&) = delete;

  /// Starts or stops keeping the screen awake. Has no effect on a desktop without such a service.
  void keepAwake(bool awake);

 private:
  struct Hold;

  void askScreenSaver(const std::shared_ptr<Hold>& hold);
  void queryPortal(const std::shared_ptr<Hold>& hold);
  static void holdXServer(Hold& hold);

  const QDBusConnection bus_;
  std::shared_ptr<Hold> hold_;  ///< null while the screen is not kept awake
  QObject context_;             ///< context of pending calls
};

}  // namespace tarvinel
