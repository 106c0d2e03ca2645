#include "app/desktop/services/Clipboard.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

/// The helper's path; empty where it is not needed or not there.
QString clipboardHelper() {
  if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) return {};
  return QStandardPaths::findExecutable(u"wl-copy"_s);
}

void giveTo(const QString& helper, const QString& text) {
  // owned by the program's end, and by nobody once it has ended itself
  auto* const process = new QProcess(QCoreApplication::instance());
  QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
  QObject::connect(process, &QProcess::errorOccurred, process, &QObject::deleteLater);
  // it goes on in the background to serve the text, and must not hold our pipes open
  process->setStandardOutputFile(QProcess::nullDevice());
  process->setStandardErrorFile(QProcess::nullDevice());
  process->start(helper, {u"--type"_s, u"text/plain;charset=utf-8"_s});
  process->write(text.toUtf8());
  process->closeWriteChannel();
}

}  // namespace

void copyToClipboard(const QString& text) {
  const QString helper = clipboardHelper();
  if (helper.isEmpty()) {
    QGuiApplication::clipboard()->setText(text);
  } else {
    giveTo(helper, text);
  }
}

}  // namespace tarvinel
