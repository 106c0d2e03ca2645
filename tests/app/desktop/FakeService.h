#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace tarvinel::test {

/// A service on a bus that records calls and replies as the test specifies.
class FakeService : public QDBusVirtualObject {
 public:
  /// Returns the reply to a call, or nullopt for silence.
  using Answer = std::function<std::optional<QVariantList>(const QDBusMessage&)>;

  FakeService(QDBusConnection bus, const QString& name, Answer answer)
      : bus_(std::move(bus)), name_(name), answer_(std::move(answer)) {
    bus_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    bus_.registerService(name_);
  }
  ~FakeService() override {
    bus_.unregisterService(name_);
    bus_.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
  }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

  void emitSignal(const QString& path, const QString& interface, const QString& name,
                  const QVariantList& arguments = {}) {
    auto signal = QDBusMessage::createSignal(path, interface, name);
    signal.setArguments(arguments);
    bus_.send(signal);
  }

  /// Replies to a call that has not been answered yet.
  void answer(const QDBusMessage& call, const QVariantList& arguments) {
    bus_.send(call.createReply(arguments));
  }

  /// Returns the calls of a method so far.
  std::vector<QDBusMessage> calls(const char* method) const {
    std::vector<QDBusMessage> found;
    for (const QDBusMessage& call : calls_)
      if (call.member() == QString::fromUtf8(method)) found.push_back(call);
    return found;
  }

  QString introspect(const QString& /*path*/) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
    calls_.push_back(message);
    if (const auto answer = answer_(message)) bus.send(message.createReply(*answer));
    return true;
  }

 private:
  QDBusConnection bus_;
  const QString name_;
  const Answer answer_;
  std::vector<QDBusMessage> calls_;
};

/// Replies to every call with the same arguments.
inline FakeService::Answer always(const QVariantList& answer) {
  return [answer](const QDBusMessage&) { return answer; };
}

inline FakeService::Answer never() {
  return [](const QDBusMessage&) { return std::nullopt; };
}

}  // namespace tarvinel::test
