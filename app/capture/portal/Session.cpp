#include "app/capture/portal/Session.h"

#include "app/capture/portal/Error.h"
#include "app/capture/portal/Messages.h"
#include "core/support/UUID.h"

#include <fcntl.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace tarvinel::portal {

namespace {

constexpr const char* service = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* screenCast = "org.freedesktop.portal.ScreenCast";

constexpr const char* responses =
    "type='signal',interface='org.freedesktop.portal.Request',member='Response'";
constexpr const char* closings =
    "type='signal',interface='org.freedesktop.portal.Session',member='Closed'";
constexpr const char* ownerChanges =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
    "arg0='org.freedesktop.portal.Desktop'";

constexpr std::uint32_t untilRevoked = 2;  // how long the desktop remembers a choice

constexpr std::chrono::milliseconds betweenAttempts{250};

enum class Response : std::uint8_t { success = 0, refused = 1 };

std::exception_ptr refusal() {
  return std::make_exception_ptr(
      std::system_error(std::make_error_code(std::errc::operation_canceled)));
}

std::unique_ptr<MessageBus> openBus(SerialQueue& queue, std::function<void()> onLost) {
  auto bus = MessageBus::openSession(queue, std::move(onLost));
  if (!bus) throw Error(Error::Case::noBus);
  return bus;
}

std::string tokenForPaths() {
  std::string token = "tarvinel_" + UUID::random().text();
  std::replace(token.begin(), token.end(), '-', '_');
  return token;
}

bool endsWithToken(sd_bus_message& message, const std::string& token) {
  const char* path = sd_bus_message_get_path(&message);
  return path != nullptr && std::string_view(path).ends_with("/" + token);
}

UniqueFd duplicate(int fd) {
  UniqueFd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
  if (!copy) throw std::system_error(errno, std::generic_category(), "screen capture");
  return copy;
}

bool isError(sd_bus_message& reply) {
  return sd_bus_message_is_method_error(&reply, nullptr) > 0;
}

MessageBus::Message offerQuestion(MessageBus& bus) {
  auto question =
      bus.startingMethodCall(service, portalPath, "org.freedesktop.DBus.Properties", "GetAll");
  sd_bus_message_append(question.get(), "s", screenCast);
  return question;
}

Capabilities offerIn(sd_bus_message& reply) {
  if (isError(reply)) throw Error(Error::Case::noPortal);
  return Capabilities::read(reply);
}

void notStarted() {
  throw Error(Error::Case::notStarted);
}

}  // namespace

Session::Session(SerialQueue& queue, Wish wish, Handlers handlers)
    : wish_(std::move(wish)),
      handlers_(std::move(handlers)),
      nextAttempt_(queue),
      bus_(openBus(queue, [this] { end(portalFailure(Error::Case::noBus)); })) {
  watch();
  askOffer();
}

void Session::watch() {
  bus_->listen(responses, orEnd([this](sd_bus_message& response) { responseCame(response); }));
  bus_->listen(closings, [this](sd_bus_message& closing) {
    const char* path = sd_bus_message_get_path(&closing);
    if (path != nullptr && path == session_) end(portalFailure(Error::Case::sessionClosed));
  });
  bus_->listen(ownerChanges, [this](sd_bus_message& change) {
    const char* before = "";
    sd_bus_message_read(&change, "sss", nullptr, &before, nullptr);
    if (*before != '\0') end(portalFailure(Error::Case::portalGone));
  });
}

void Session::askOffer() {
  bus_->call(offerQuestion(*bus_), orEnd([this](sd_bus_message& reply) {
               offer_ = offerIn(reply);
               createSession();
             }));
}

void Session::createSession() {
  auto message = portalCall("CreateSession");
  appendOptions(*message,
                {{"handle_token", newToken()}, {"session_handle_token", tokenForPaths()}});
  request(std::move(message), {[this](sd_bus_message& results) { sessionCame(results); },
                               notStarted, [this] { createSessionLater(); }});
}

void Session::sessionCame(sd_bus_message& results) {
  forEachValue(results, [&](std::string_view name, std::string_view type) {
    if (name != "session_handle" || type != "s") return false;
    session_ = readText(results);
    return true;
  });
  selectSources();
}

/// A desktop's portal backend is on the bus a little before it accepts requests. Some exit when one
/// of their dialogs is closed from outside, as by another choice, and are restarted.
void Session::createSessionLater() {
  if (--attemptsLeft_ <= 0) notStarted();
  nextAttempt_.start(betweenAttempts, [this] {
    const auto done = resultOf([this] { createSession(); });
    if (!done.ok()) end(done.error());
  });
}

void Session::selectSources() {
  std::vector<Option> options{{"handle_token", newToken()},
                              {"types", static_cast<std::uint32_t>(wish_.type)},
                              {"multiple", false}};
  if (const auto mode = offer_.cursorMode(wish_.showsCursor)) {
    options.emplace_back("cursor_mode", static_cast<std::uint32_t>(*mode));
  }
  if (offer_.remembers()) options.emplace_back("persist_mode", untilRevoked);
  if (offer_.remembers() && wish_.restoreToken) {
    options.emplace_back("restore_token", *wish_.restoreToken);
  }
  auto message = sessionCall("SelectSources");
  appendOptions(*message, options);
  request(std::move(message), {[this](sd_bus_message& /*results*/) { start(); },
                               [this] { reselectSources(); }, notStarted});
}

/// A token that the portal rejects as malformed must not block shares for ever.
void Session::reselectSources() {
  if (!wish_.restoreToken) notStarted();
  wish_.restoreToken.reset();
  selectSources();
}

void Session::start() {
  auto message = sessionCall("Start");
  constexpr const char* noParentWindow = "";
  checkMessage(sd_bus_message_append_basic(message.get(), 's', noParentWindow));
  appendOptions(*message, {{"handle_token", newToken()}});
  request(std::move(message),
          {[this](sd_bus_message& results) { grantCame(results); }, notStarted, notStarted});
}

void Session::grantCame(sd_bus_message& results) {
  grant_ = StreamInfo::read(results);
  grant_.cursorIsApart = offer_.cursorMode(wish_.showsCursor) == CursorMode::metadata;
  openMediaServer();
}

void Session::openMediaServer() {
  auto message = sessionCall("OpenPipeWireRemote");
  appendOptions(*message, {});
  bus_->call(std::move(message), orEnd([this](sd_bus_message& reply) {
               int fd = -1;
               if (isError(reply) || sd_bus_message_read_basic(&reply, 'h', &fd) <= 0) {
                 throw Error(Error::Case::noMediaServer);
               }
               handlers_.onGranted(grant_, duplicate(fd));
             }));
}

/// Calls a method whose actual response is a signal, which may take as long as the presenter does.
void Session::request(MessageBus::Message message, Outcomes outcomes) {
  outcomes_ = std::move(outcomes);
  bus_->call(std::move(message), orEnd([onError = outcomes_.onError](sd_bus_message& reply) {
               if (isError(reply)) onError();
             }));
}

void Session::responseCame(sd_bus_message& response) {
  if (!outcomes_.onSuccess || !endsWithToken(response, token_)) return;
  const Outcomes outcomes = std::exchange(outcomes_, {});
  switch (static_cast<Response>(readNumber(response))) {
    case Response::success:
      return outcomes.onSuccess(response);
    case Response::refused:
      return end(refusal());
  }
  outcomes.onFailure();
}

/// Returns a token for the name of the next request: an old name may not be free yet.
const std::string& Session::newToken() {
  token_ = tokenForPaths();
  return token_;
}

MessageBus::Message Session::portalCall(const char* member) {
  auto message = bus_->startingMethodCall(service, portalPath, screenCast, member);
  if (!message) throw Error(Error::Case::noPortal);
  return message;
}

MessageBus::Message Session::sessionCall(const char* member) {
  auto message = portalCall(member);
  if (sd_bus_message_append_basic(message.get(), 'o', session_.c_str()) < 0) {
    throw Error(Error::Case::malformedAnswer);
  }
  return message;
}

MessageBus::Handler Session::orEnd(std::function<void(sd_bus_message&)> step) {
  return [this, step = std::move(step)](sd_bus_message& message) {
    const auto done = resultOf([&] { step(message); });
    if (!done.ok()) end(done.error());
  };
}

void Session::end(std::exception_ptr why) {
  outcomes_ = {};
  nextAttempt_.cancel();
  if (const auto onEnd = std::exchange(handlers_.onEnd, nullptr)) onEnd(std::move(why));
}

std::unique_ptr<MessageBus> queryCapabilities(SerialQueue& queue,
                                              Completion<Capabilities> completion) {
  auto bus = openBus(queue, [completion] { completion(portalFailure(Error::Case::noBus)); });
  bus->call(offerQuestion(*bus), [completion = std::move(completion)](sd_bus_message& reply) {
    completion(resultOf([&] { return offerIn(reply); }));
  });
  return bus;
}

}  // namespace tarvinel::portal
