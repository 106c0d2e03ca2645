#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <chrono>
#include <functional>

namespace tarvinel {

/// How long a service may take to answer when nothing else is said.
inline constexpr std::chrono::milliseconds dbusAnswerLimit{25000};

/// Calls a method without waiting for it. `done` is called later on the main queue with the answer,
/// which is an error when the service is not there, refuses or is silent for too long; never once
/// `context` is gone.
void callOverDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
                  std::function<void(const QDBusMessage& answer)> done,
                  std::chrono::milliseconds limit = dbusAnswerLimit);

/// True for an answer that is none.
bool isRefusal(const QDBusMessage& answer);

}  // namespace tarvinel
