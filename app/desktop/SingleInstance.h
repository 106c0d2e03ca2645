#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>

namespace tarvinel {

/// Has one desktop session run the program once: the first run owns its name on the session bus and
/// is told when the presenter starts it again. Without a bus every run is the first. Lives on the
/// main queue.
class SingleInstance {
 public:
  /// Takes the name if nobody has it; `launchedAgain` is called on the main queue.
  SingleInstance(QDBusConnection bus, std::function<void()> launchedAgain);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  bool isFirst() const { return isFirst_; }

  /// Asks the first run to show itself; false when it does not answer. Blocks for some seconds at
  /// the most.
  bool showFirst() const;

 private:
  /// What others may call, as the freedesktop interface for applications has it.
  class Application : public QDBusVirtualObject {
   public:
    explicit Application(std::function<void()> launchedAgain);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override;

   private:
    const std::function<void()> launchedAgain_;
  };

  QDBusConnection bus_;
  Application application_;
  const bool isFirst_;
};

}  // namespace tarvinel
