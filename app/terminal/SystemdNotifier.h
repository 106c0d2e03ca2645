#pragma once

#include <functional>
#include <string>

namespace tarvinel {

class AppModel;

/// Notifies the service manager that started the program: that the server is ready, in one status
/// line where and what is shared, and that the program ends. Does nothing without a service
/// manager. Lives on the main queue; the model outlives it.
class SystemdNotifier {
 public:
  /// Sends a notification of "NAME=value" lines, see sd_notify(3).
  using Send = std::function<void(const std::string& state)>;

  explicit SystemdNotifier(const AppModel& model, Send send = toServiceManager);

  /// Notifies that the program ends.
  ~SystemdNotifier();
  SystemdNotifier(const SystemdNotifier&) = delete;
  SystemdNotifier& operator=(const SystemdNotifier&) = delete;

  /// Notifies of changes since the last call; must be called after every change of the model.
  void refresh();

 private:
  static void toServiceManager(const std::string& state);
  std::string statusLine() const;

  const AppModel& model_;
  const Send send_;
  bool isReady_ = false;
  std::string told_;
};

}  // namespace tarvinel
