#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace tarvinel::test {

/// A service on a bus that writes down how it is called and answers as the test says.
class FakeService : public QDBusVirtualObject {
 public:
  /// Answers a call; nothing answered is silence.
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

  /// Answers a call that was met with silence.
  void answer(const QDBusMessage& call, const QVariantList& arguments) {
    bus_.send(call.createReply(arguments));
  }

  /// The calls of one method so far.
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

/// Answers every call with the same.
inline FakeService::Answer always(const QVariantList& answer) {
  return [answer](const QDBusMessage&) { return answer; };
}

inline FakeService::Answer never() {
  return [](const QDBusMessage&) { return std::nullopt; };
}

}  // namespace tarvinel::test
