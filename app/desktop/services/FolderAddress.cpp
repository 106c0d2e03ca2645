#include "app/desktop/services/FolderAddress.h"

#include <QByteArray>

namespace tarvinel {

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
