#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>

namespace tarvinel {

/// Ensures that the program runs once in a desktop session: the first run owns its name on the
/// session bus and is notified when the presenter starts it again. Without a bus every run is the
/// first. Lives on the main queue.
class SingleInstance {
 public:
  /// Takes the name if it has no owner; `launchedAgain` is called on the main queue.
  SingleInstance(QDBusConnection bus, std::function<void()> launchedAgain);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  bool isFirst() const { return isFirst_; }

  /// Requests the first run to show its window; returns false if it does not reply. Blocks for a
  /// few seconds at most.
  bool showFirst() const;

 private:
  /// The D-Bus object for other runs, with the interface org.freedesktop.Application.
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
