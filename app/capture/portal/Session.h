#pragma once

#include "app/capture/portal/Capabilities.h"
#include "app/capture/portal/Messages.h"
#include "core/dbus/MessageBus.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/Result.h"
#include "core/support/SerialQueue.h"
#include "core/support/UniqueFd.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel::portal {

/// One session with the desktop's portal: requests a source, for which the desktop may open a
/// dialog, and watches for the end of the grant. Destroying it ends the session and closes an open
/// dialog, since the portal sees its connection close.
///
/// Lives on the capture queue, which outlives it. Handlers may destroy it.
class Session {
 public:
  struct Wish {
    SourceType type = SourceType::display;
    bool showsCursor = true;
    std::optional<std::string> restoreToken;
  };

  struct Handlers {
    /// Is called once: the presenter agreed. `mediaServer` is a connection that exposes only the
    /// node.
    std::function<void(const StreamInfo& grant, UniqueFd mediaServer)> onGranted;

    /// Is called once, and nothing follows: the presenter declined (std::errc::operation_canceled),
    /// or the session could not begin or ended (Error).
    std::function<void(std::exception_ptr)> onEnd;
  };

  /// Throws Error if there is no session bus.
  Session(SerialQueue& queue, Wish wish, Handlers handlers);

 private:
  using Reply = std::function<void(sd_bus_message& results)>;

  /// The continuations of a request. The session ends if the presenter declines.
  struct Outcomes {
    Reply onSuccess;
    std::function<void()> onError;    ///< the call was rejected
    std::function<void()> onFailure;  ///< it was accepted, but failed
  };

  /// For ten seconds: on a busy machine the desktop is slow to restart its backend.
  static constexpr int maxAttempts = 40;

  void watch();
  void askOffer();
  void createSession();
  void sessionCame(sd_bus_message& results);
  void createSessionLater();
  void selectSources();
  void reselectSources();
  void start();
  void grantCame(sd_bus_message& results);
  void openMediaServer();
  void request(MessageBus::Message message, Outcomes outcomes);
  void responseCame(sd_bus_message& response);
  const std::string& newToken();
  MessageBus::Message portalCall(const char* member);
  MessageBus::Message sessionCall(const char* member);
  MessageBus::Handler orEnd(std::function<void(sd_bus_message&)> step);
  void end(std::exception_ptr why);

  Wish wish_;
  std::string token_;  ///< in the name of the newest request; nobody can guess it
  Handlers handlers_;
  Capabilities offer_;
  std::string session_;  ///< its path on the bus, empty until there is one
  StreamInfo grant_;
  Outcomes outcomes_;  ///< of the pending request
  int attemptsLeft_ = maxAttempts;
  OneShotTimer nextAttempt_;
  std::unique_ptr<MessageBus> bus_;
};

/// Queries the portal's capabilities; `completion` is called on the queue, and not at all once the
/// returned bus is destroyed. Throws Error if there is no session bus.
std::unique_ptr<MessageBus> queryCapabilities(SerialQueue& queue,
                                              Completion<Capabilities> completion);

}  // namespace tarvinel::portal
