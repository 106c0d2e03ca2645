#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <memory>

namespace tarvinel {

/// Keeps the screen from going blank, by what the desktop has for that: its screen saver's service,
/// the desktop portal, or the X server. Lives on the main queue; does not wait.
class IdleInhibitor {
 public:
  explicit IdleInhibitor(const QDBusConnection& bus) : bus_(bus) {}
  ~IdleInhibitor();
  IdleInhibitor(const IdleInhibitor&) = delete;
  IdleInhibitor& operator=(const IdleInhibitor&) = delete;

  /// Keeps it awake, or no longer. A desktop with nothing for that does what it always does.
  void keepAwake(bool awake);

 private:
  class XServerHold;

  void askScreenSaver();
  void askPortal();
  void askXServer();
  void held(const QDBusMessage& release);
  void letGo();

  const QDBusConnection bus_;
  bool isAwake_ = false;
  std::unique_ptr<QObject> wish_;  ///< lives while it is to be kept awake: context of the calls
  QDBusMessage release_;           ///< what ends the hold; invalid when there is none
  std::unique_ptr<XServerHold> xServerHold_;
};

}  // namespace tarvinel
