#include "app/desktop/services/FolderChooser.h"

#include "app/desktop/dbus/DBusCall.h"
#include "app/desktop/services/FileBrowser.h"

#include <QDBusArgument>
#include <QVariantMap>

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

const QString dialogTitle = u"Upload Folder"_s;
const QString acceptLabel = u"Use This Folder"_s;

/// The presenter's response to the portal's dialog.
enum class Reply : std::uint32_t { chosen = 0, cancelled = 1 };

/// Closes the dialog of a request; has no effect if it is already closed.
void closeRequest(const QDBusConnection& bus, const QString& path) {
  auto close = QDBusMessage::createMethodCall(DesktopPortal::service, path,
                                              DesktopPortal::requestInterface, u"Close"_s);
  close.setAutoStartService(false);
  bus.send(close);
}

/// Returns the object path that the portal will use for the request with this token.
QString requestPath(const QDBusConnection& bus, const QString& token) {
  QString sender = bus.baseService().mid(1);
  sender.replace('.'_L1, '_'_L1);
  return DesktopPortal::path + "/request/"_L1 + sender + '/'_L1 + token;
}

QDBusMessage openFileCall(const std::filesystem::path& current, const QString& token) {
  auto call =
      QDBusMessage::createMethodCall(DesktopPortal::service, DesktopPortal::path,
                                     u"org.freedesktop.portal.FileChooser"_s, u"OpenFile"_s);
  const QByteArray folder(current.c_str(), static_cast<qsizetype>(current.native().size() + 1));
  call << QString() << dialogTitle
       << QVariantMap{{u"handle_token"_s, token},
                      {u"directory"_s, true},
                      {u"accept_label"_s, acceptLabel},
                      {u"current_folder"_s, folder}};
  return call;
}

/// Returns the folder in the results of a portal's dialog.
std::optional<std::filesystem::path> folderIn(const QDBusMessage& response) {
  const auto results = qdbus_cast<QVariantMap>(response.arguments().value(1));
  const auto addresses = results.value(u"uris"_s).toStringList();
  return addresses.isEmpty() ? std::nullopt : folderOfAddress(addresses.front());
}

}  // namespace

/// A dialog of the portal; the destructor closes it.
struct FolderChooser::PortalRequest {
  PortalRequest(QDBusConnection where, QString expectedPath,
                std::function<void(const QDBusMessage&)> answered)
      : bus(std::move(where)),
        path(std::move(expectedPath)),
        response(bus,
                 {DesktopPortal::service, path, DesktopPortal::requestInterface, u"Response"_s},
                 std::move(answered)) {}
  ~PortalRequest() { closeRequest(bus, path); }
  PortalRequest(const PortalRequest&) = delete;
  PortalRequest& operator=(const PortalRequest&) = delete;

  QDBusConnection bus;
  const QString path;
  DBusSignal response;
};

FolderChooser::FolderChooser(QDBusConnection bus) : bus_(std::move(bus)) {
  timeout_.setSingleShot(true);
  timeout_.setInterval(portalLimit);
  timeout_.callOnTimeout([this] { portalIsSilent(); });
}

FolderChooser::~FolderChooser() = default;

void FolderChooser::choose(const std::filesystem::path& current, Chosen chosen) {
  current_ = current;
  chosen_ = std::move(chosen);
  dialog_.reset();
  queryPortal();
}

void FolderChooser::queryPortal() {
  constexpr std::chrono::milliseconds withoutLimit{std::numeric_limits<int>::max()};
  const QString token = u"tarvinel%1"_s.arg(++requests_);
  const QString path = requestPath(bus_, token);
  request_ = std::make_unique<PortalRequest>(
      bus_, path, [this](const QDBusMessage& response) { portalResponded(response); });
  timeout_.start();
  callOverDBus(
      bus_, openFileCall(current_, token), context_,
      [this, path](const QDBusMessage& reply) { portalReplied(path, reply); }, withoutLimit);
}

/// Closes the dialog of an abandoned request, whose reply comes when its dialog is about to open.
void FolderChooser::portalReplied(const QString& path, const QDBusMessage& reply) {
  if (!request_ || request_->path != path) return closeRequest(bus_, path);
  timeout_.stop();
  if (isRefusal(reply)) openDialog();
}

void FolderChooser::portalIsSilent() {
  request_.reset();
  openDialog();
}

void FolderChooser::portalResponded(const QDBusMessage& response) {
  timeout_.stop();
  const auto reply = static_cast<Reply>(response.arguments().value(0).toUInt());
  if (reply == Reply::cancelled) return;
  const auto folder = reply == Reply::chosen ? folderIn(response) : std::nullopt;
  if (folder) {
    chosen_(*folder);
  } else {
    openDialog();
  }
}

void FolderChooser::openDialog() {
  dialog_ =
      std::make_unique<QFileDialog>(nullptr, dialogTitle, QFile::decodeName(current_.c_str()));
  dialog_->setFileMode(QFileDialog::Directory);
  dialog_->setOption(QFileDialog::ShowDirsOnly);
  dialog_->setLabelText(QFileDialog::Accept, acceptLabel);
  QObject::connect(
      dialog_.get(), &QFileDialog::fileSelected, dialog_.get(),
      [this](const QString& folder) { chosen_(QFile::encodeName(folder).toStdString()); });
  dialog_->show();
}

}  // namespace tarvinel
