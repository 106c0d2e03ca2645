#include "app/desktop/services/FileBrowser.h"

#include "app/desktop/dbus/DBusCall.h"
#include "app/desktop/services/FolderAddress.h"
#include "app/desktop/services/Launcher.h"

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
  callOverDBus(bus, call, context, [address](const QDBusMessage& answer) {
    if (isRefusal(answer)) openByDefault(address);
  });
}

}  // namespace tarvinel
