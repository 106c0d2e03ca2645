#include "app/desktop/services/FileBrowser.h"

#include "app/desktop/dbus/DBusCall.h"
#include "app/desktop/services/Launcher.h"

#include <QByteArray>
#include <QStringList>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

}  // namespace

void showInFileBrowser(const QDBusConnection& bus, const std::filesystem::path& folder,
                       QObject& context) {
  const QString service = u"org.freedesktop.FileManager1"_s;
  const QString address = folderAddress(folder);
  auto call = QDBusMessage::createMethodCall(service, u"/org/freedesktop/FileManager1"_s, service,
                                             u"ShowFolders"_s);
  call << QStringList{address} << QString();
  callOverDBus(bus, call, context, [address](const QDBusMessage& reply) {
    if (isRefusal(reply)) openByDefault(address);
  });
}

namespace {

const QByteArray scheme = "file://";

}  // namespace

QString folderAddress(const std::filesystem::path& folder) {
  return QString::fromLatin1(scheme +
                             QByteArray::fromStdString(folder.string()).toPercentEncoding("/"));
}

std::optional<std::filesystem::path> folderOfAddress(const QString& address) {
  const QByteArray bytes = address.toUtf8();
  if (!bytes.startsWith(scheme)) return std::nullopt;
  const QByteArray path = QByteArray::fromPercentEncoding(bytes.sliced(scheme.size()));
  if (!path.startsWith('/') || path.contains('\0')) return std::nullopt;
  return path.toStdString();
}

}  // namespace tarvinel
