#pragma once

#include <functional>
#include <string>

namespace tarvinel {

class AppModel;

/// Tells the service manager that started the program how it is: ready once the server listens, in
/// one line where and what is shared, and that it ends. Does nothing without a service manager.
/// Lives on the main queue; the model outlives it.
class SystemdNotifier {
 public:
  /// Takes what is to be told: "NAME=value" lines as sd_notify(3) has them.
  using Send = std::function<void(const std::string& state)>;

  explicit SystemdNotifier(const AppModel& model, Send send = toServiceManager);

  /// Tells that the program ends.
  ~SystemdNotifier();
  SystemdNotifier(const SystemdNotifier&) = delete;
  SystemdNotifier& operator=(const SystemdNotifier&) = delete;

  /// Tells what has changed since the last call; to be called on every change of the model.
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
