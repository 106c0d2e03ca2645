#include "app/desktop/icon/TrayHosts.h"

#include "app/desktop/dbus/DBusCall.h"
#include "app/x11/Connection.h"
#include "app/x11/Property.h"

#include <QDBusVariant>
#include <QGuiApplication>
#include <xcb/xfixes.h>

#include <string>
#include <utility>

namespace tarvinel {

std::optional<MenuDrawer> TrayHosts::drawer() const {
  if (has(MenuDrawer::panel)) return MenuDrawer::panel;
  if (has(MenuDrawer::toolkit)) return MenuDrawer::toolkit;
  return std::nullopt;
}

bool TrayHosts::has(MenuDrawer drawer) const {
  return drawer == MenuDrawer::panel ? notifierHosts_.isThere() : embeddingTray_.isThere();
}

namespace {

using namespace Qt::StringLiterals;

const QString watcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;

DBusSignal::Source watcherSignal(QString name) {
  return {watcherName, watcherPath, watcherName, std::move(name)};
}

}  // namespace

NotifierHosts::NotifierHosts(const QDBusConnection& bus, std::function<void()> onChange)
    : bus_(bus),
      onChange_(std::move(onChange)),
      watcher_(watcherName, bus, QDBusServiceWatcher::WatchForOwnerChange),
      registered_(bus, watcherSignal(u"StatusNotifierHostRegistered"_s),
                  [this](const QDBusMessage&) { ask(); }),
      unregistered_(bus, watcherSignal(u"StatusNotifierHostUnregistered"_s),
                    [this](const QDBusMessage&) { ask(); }) {
  QObject::connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, &watcher_,
                   [this] { ask(); });
  ask();
}

void NotifierHosts::ask() {
  auto question = QDBusMessage::createMethodCall(watcherName, watcherPath,
                                                 u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
  question.setAutoStartService(false);
  question << watcherName << u"IsStatusNotifierHostRegistered"_s;
  callOverDBus(bus_, question, watcher_, [this](const QDBusMessage& reply) {
    set(!isRefusal(reply) && reply.arguments().value(0).value<QDBusVariant>().variant().toBool());
  });
}

void NotifierHosts::set(bool isThere) {
  if (std::exchange(isThere_, isThere) != isThere) onChange_();
}

namespace {

constexpr std::uint32_t ownerChanges = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                       XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                       XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;

xcb_connection_t* toolkitConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 == nullptr ? nullptr : x11->connection();
}

/// Returns the atom of the selection that a tray on this screen owns.
xcb_atom_t traySelectionAtom(xcb_connection_t* connection) {
  const std::string name = x11::traySelection(nullptr);
  const auto length = static_cast<std::uint16_t>(name.size());
  const x11::XcbPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, length, name.c_str()), nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Returns whether the server has the extension; the version query also enables it.
bool hasXfixes(xcb_connection_t* connection) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
  if (extension == nullptr || extension->present == 0) return false;
  const x11::XcbPtr<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
      connection, xcb_xfixes_query_version(connection, 5, 0), nullptr));
  return version != nullptr;
}

bool hasOwner(xcb_connection_t* connection, xcb_atom_t selection) {
  const x11::XcbPtr<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
      connection, xcb_get_selection_owner(connection, selection), nullptr));
  return reply && reply->owner != XCB_WINDOW_NONE;
}

}  // namespace

EmbeddingTray::EmbeddingTray(std::function<void()> onChange)
    : onChange_(std::move(onChange)), connection_(toolkitConnection()) {
  if (connection_ != nullptr) watch();
}

EmbeddingTray::~EmbeddingTray() {
  qApp->removeNativeEventFilter(this);
}

void EmbeddingTray::watch() {
  selection_ = traySelectionAtom(connection_);
  if (selection_ == XCB_ATOM_NONE || !hasXfixes(connection_)) return;
  changeEvent_ = xcb_get_extension_data(connection_, &xcb_xfixes_id)->first_event +
                 XCB_XFIXES_SELECTION_NOTIFY;
  qApp->installNativeEventFilter(this);
  const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  xcb_xfixes_select_selection_input(connection_, root, selection_, ownerChanges);
  isThere_ = hasOwner(connection_, selection_);
}

bool EmbeddingTray::nativeEventFilter(const QByteArray& eventType, void* message,
                                      qintptr* /*result*/) {
  if (eventType != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_xfixes_selection_notify_event_t*>(message);
  if ((event->response_type & 0x7F) == changeEvent_ && event->selection == selection_) {
    set(event->owner != XCB_WINDOW_NONE);
  }
  return false;
}

void EmbeddingTray::set(bool isThere) {
  if (std::exchange(isThere_, isThere) != isThere) onChange_();
}

}  // namespace tarvinel
