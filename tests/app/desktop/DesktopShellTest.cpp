#include "app/desktop/DesktopShell.h"
#include "app/desktop/dbus/DBusCall.h"
#include "tests/app/desktop/FakeProgram.h"
#include "tests/app/desktop/FakeService.h"
#include "tests/app/desktop/PrivateBus.h"
#include "tests/app/desktop/SpinUntil.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace tarvinel {
namespace {

using test::always;
using test::FakeProgram;
using test::FakeService;
using test::never;
using test::PrivateBus;
using test::spinUntil;

const QString notifications = QStringLiteral("org.freedesktop.Notifications");
const QString fileManager = QStringLiteral("org.freedesktop.FileManager1");
const QString screenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");

/// Returns the toolkit's own dialog, or null while none is open.
QFileDialog* openDialog() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible())
      return dialog;
  }
  return nullptr;
}

class DesktopShellTest : public testing::Test {
 protected:
  FakeService& serve(const QString& name, FakeService::Answer answer) {
    return service_.emplace(bus_.connect(), name, std::move(answer));
  }

  void choose() {
    shell_->chooseFolder("/home/a b", [this](std::filesystem::path folder) { chosen_ = folder; });
  }

  /// Waits until all replies that the service has sent so far have arrived.
  void awaitAnswers(const QString& service) {
    bool answered = false;
    QObject context;
    callOverDBus(shellBus_,
                 QDBusMessage::createMethodCall(service, QStringLiteral("/"),
                                                QStringLiteral("org.freedesktop.DBus.Peer"),
                                                QStringLiteral("Ping")),
                 context, [&answered](const QDBusMessage&) { answered = true; });
    ASSERT_TRUE(spinUntil([&answered] { return answered; }));
  }

  /// Returns the object path that the portal uses for a call's request.
  static QString requestOf(const QDBusMessage& call) {
    QString sender = call.service().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const auto options = qdbus_cast<QVariantMap>(call.arguments().at(2));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/") + sender + QLatin1Char('/') +
           options.value(QStringLiteral("handle_token")).toString();
  }

  /// Makes the portal respond to the latest request.
  void answerRequest(std::uint32_t response, const QVariantMap& results) {
    service_->emitSignal(requestOf(service_->calls("OpenFile").back()),
                         QStringLiteral("org.freedesktop.portal.Request"),
                         QStringLiteral("Response"), {response, results});
  }

  PrivateBus bus_;
  QDBusConnection shellBus_ = bus_.connect();
  std::optional<FakeService> service_;
  int quits_ = 0;
  std::optional<DesktopShell> shell_{std::in_place, shellBus_, [this] { ++quits_; }};
  std::optional<std::filesystem::path> chosen_;
};

TEST_F(DesktopShellTest, CopiesToTheClipboard) {
  shell_->copy("http://ü/");
  EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("http://ü/"));
}

TEST_F(DesktopShellTest, OpensAFileByItsAddress) {
  const FakeProgram opener("xdg-open", R"(printf '%s' "$1" > "$0.out")");
  shell_->openFile("/home/a b/ü#?.html");
  EXPECT_TRUE(spinUntil(
      [&] { return opener.output("xdg-open") == "file:///home/a%20b/%C3%BC%23%3F.html"; }));
}

TEST_F(DesktopShellTest, Quits) {
  shell_->quit();
  EXPECT_EQ(quits_, 1);
}

TEST_F(DesktopShellTest, NotifiesWithoutMarkup) {
  const FakeService& service = serve(notifications, always({1U}));
  shell_->notify("Tarvinel", "Sharing stopped: <b> & co");
  ASSERT_TRUE(spinUntil([&] { return service.calls("Notify").size() == 1; }));
  const auto arguments = service.calls("Notify").front().arguments();
  EXPECT_EQ(arguments.at(0), QStringLiteral("Tarvinel"));
  EXPECT_EQ(arguments.at(3), QStringLiteral("Tarvinel"));
  EXPECT_EQ(arguments.at(4), QStringLiteral("Sharing stopped: &lt;b&gt; &amp; co"));
}

TEST_F(DesktopShellTest, AnAlertIsCriticalAndANotificationIsNot) {
  const FakeService& service = serve(notifications, always({1U}));
  shell_->notify("Tarvinel", "text");
  shell_->alert("Tarvinel", "text");
  ASSERT_TRUE(spinUntil([&] { return service.calls("Notify").size() == 2; }));
  std::vector<uint> urgencies;
  for (const QDBusMessage& call : service.calls("Notify")) {
    const auto hints = qdbus_cast<QVariantMap>(call.arguments().at(6));
    urgencies.push_back(hints.value(QStringLiteral("urgency")).value<uchar>());
  }
  EXPECT_EQ(urgencies, (std::vector<uint>{1, 2}));
}

TEST_F(DesktopShellTest, AnAlertReplacesTheOneBeforeAndIsClosedWhenItIsNoLongerTrue) {
  const FakeService& service = serve(notifications, always({7U}));
  shell_->dismissAlert();
  shell_->alert("Tarvinel", "first");
  ASSERT_TRUE(spinUntil([&] { return service.calls("Notify").size() == 1; }));
  shell_->dismissAlert();
  ASSERT_TRUE(spinUntil([&] { return service.calls("CloseNotification").size() == 1; }));
  EXPECT_EQ(service.calls("CloseNotification").front().arguments().at(0), 7U);
  shell_->dismissAlert();
  shell_->alert("Tarvinel", "second");
  ASSERT_TRUE(spinUntil([&] { return service.calls("Notify").size() == 2; }));
  EXPECT_EQ(service.calls("Notify").back().arguments().at(1), 0U);
  EXPECT_EQ(service.calls("CloseNotification").size(), 1U);
}

TEST_F(DesktopShellTest, NotifyingWithoutAServiceIsNothing) {
  shell_->notify("Tarvinel", "text");
  QCoreApplication::processEvents();
}

TEST_F(DesktopShellTest, RevealsAFolderInTheFileBrowser) {
  const FakeService& service = serve(fileManager, always({}));
  shell_->revealFolder("/home/a b");
  ASSERT_TRUE(spinUntil([&] { return service.calls("ShowFolders").size() == 1; }));
  EXPECT_EQ(service.calls("ShowFolders").front().arguments().at(0).toStringList(),
            QStringList{QStringLiteral("file:///home/a%20b")});
}

TEST_F(DesktopShellTest, KeepsAwakeUntilToldOtherwise) {
  const FakeService& service = serve(screenSaver, always({77U}));
  shell_->keepAwake(true);
  shell_->keepAwake(true);
  ASSERT_TRUE(spinUntil([&] { return service.calls("Inhibit").size() == 1; }));
  shell_->keepAwake(false);
  ASSERT_TRUE(spinUntil([&] { return service.calls("UnInhibit").size() == 1; }));
  EXPECT_EQ(service.calls("UnInhibit").front().arguments().at(0).toUInt(), 77U);
  EXPECT_EQ(service.calls("Inhibit").size(), 1U);
}

TEST_F(DesktopShellTest, GivesBackWhatWasGrantedTooLate) {
  const FakeService& service = serve(screenSaver, always({77U}));
  shell_->keepAwake(true);
  shell_->keepAwake(false);
  ASSERT_TRUE(spinUntil([&] { return service.calls("UnInhibit").size() == 1; }));
}

TEST_F(DesktopShellTest, LetsGoAtTheEnd) {
  const FakeService& service = serve(screenSaver, always({77U}));
  shell_->keepAwake(true);
  ASSERT_TRUE(spinUntil([&] { return service.calls("Inhibit").size() == 1; }));
  awaitAnswers(screenSaver);
  shell_.reset();
  ASSERT_TRUE(spinUntil([&] { return service.calls("UnInhibit").size() == 1; }));
}

TEST_F(DesktopShellTest, AsksThePortalWhereNoScreenSaverIs) {
  const FakeService& service =
      serve(portal, always({QVariant::fromValue(QDBusObjectPath("/request/1"))}));
  shell_->keepAwake(true);
  ASSERT_TRUE(spinUntil([&] { return service.calls("Inhibit").size() == 1; }));
  EXPECT_EQ(service.calls("Inhibit").front().arguments().at(1).toUInt(), 8U) << "idle";
  shell_->keepAwake(false);
  ASSERT_TRUE(spinUntil([&] { return service.calls("Close").size() == 1; }));
  EXPECT_EQ(service.calls("Close").front().path(), QStringLiteral("/request/1"));
}

TEST_F(DesktopShellTest, ChoosesAFolderInThePortalsDialog) {
  const FakeService& service =
      serve(portal, always({QVariant::fromValue(QDBusObjectPath("/request/1"))}));
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 1; }));
  const auto options = qdbus_cast<QVariantMap>(service.calls("OpenFile").front().arguments().at(2));
  EXPECT_EQ(options.value(QStringLiteral("accept_label")), QStringLiteral("Use This Folder"));
  EXPECT_EQ(options.value(QStringLiteral("directory")), true);
  EXPECT_EQ(options.value(QStringLiteral("current_folder")).toByteArray(),
            QByteArray("/home/a b\0", 10));
  answerRequest(0, {{QStringLiteral("uris"), QStringList{QStringLiteral("file:///b%20c")}}});
  ASSERT_TRUE(spinUntil([&] { return chosen_.has_value(); }));
  EXPECT_EQ(*chosen_, "/b c");
  EXPECT_EQ(openDialog(), nullptr);
}

TEST_F(DesktopShellTest, ChoosesNothingWhenThePresenterCancels) {
  const FakeService& service =
      serve(portal, always({QVariant::fromValue(QDBusObjectPath("/request/1"))}));
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 1; }));
  answerRequest(1, {});
  // the next request's reply comes after the previous one's
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 2; }));
  answerRequest(0, {{QStringLiteral("uris"), QStringList{QStringLiteral("file:///second")}}});
  ASSERT_TRUE(spinUntil([&] { return chosen_.has_value(); }));
  EXPECT_EQ(*chosen_, "/second");
  EXPECT_EQ(openDialog(), nullptr);
}

TEST_F(DesktopShellTest, ChoosesInTheToolkitsDialogWithoutAPortal) {
  choose();
  ASSERT_TRUE(spinUntil([] { return openDialog() != nullptr; }));
  EXPECT_FALSE(openDialog()->isModal()) << "sharing goes on";
  EXPECT_EQ(openDialog()->labelText(QFileDialog::Accept), QStringLiteral("Use This Folder"));
  Q_EMIT openDialog()->fileSelected(QStringLiteral("/d"));
  EXPECT_EQ(chosen_, "/d");
}

TEST_F(DesktopShellTest, ChoosesInTheToolkitsDialogWhenThePortalCannot) {
  const FakeService& service =
      serve(portal, always({QVariant::fromValue(QDBusObjectPath("/request/1"))}));
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 1; }));
  answerRequest(2, {});
  EXPECT_TRUE(spinUntil([] { return openDialog() != nullptr; }));
}

TEST_F(DesktopShellTest, ChoosesInTheToolkitsDialogWhenThePortalIsSilent) {
  const FakeService& service = serve(portal, never());
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 1; }));
  EXPECT_TRUE(spinUntil([] { return openDialog() != nullptr; }));
}

TEST_F(DesktopShellTest, APortalThatRepliesOnlyWhenTheToolkitsDialogIsOpenOpensNoSecondOne) {
  FakeService& service = serve(portal, never());
  choose();
  ASSERT_TRUE(spinUntil([] { return openDialog() != nullptr; }));
  ASSERT_TRUE(spinUntil([&] { return service.calls("Close").size() == 1; }));
  const QDBusMessage call = service.calls("OpenFile").front();
  service.answer(call, {QVariant::fromValue(QDBusObjectPath("/request/1"))});
  ASSERT_TRUE(spinUntil([&] { return service.calls("Close").size() == 2; }));
  EXPECT_EQ(service.calls("Close").back().path(), requestOf(call));
  answerRequest(0, {{QStringLiteral("uris"), QStringList{QStringLiteral("file:///late")}}});
  awaitAnswers(portal);
  EXPECT_EQ(chosen_, std::nullopt);
  Q_EMIT openDialog()->fileSelected(QStringLiteral("/d"));
  EXPECT_EQ(chosen_, "/d");
}

TEST_F(DesktopShellTest, ADialogThatThePortalOpensForAnEarlierChoiceIsClosed) {
  FakeService& service = serve(portal, never());
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 1; }));
  choose();
  ASSERT_TRUE(spinUntil([&] { return service.calls("OpenFile").size() == 2; }));
  const QDBusMessage first = service.calls("OpenFile").front();
  ASSERT_EQ(service.calls("Close").size(), 1U);
  service.answer(first, {QVariant::fromValue(QDBusObjectPath("/request/1"))});
  ASSERT_TRUE(spinUntil([&] { return service.calls("Close").size() == 2; }));
  EXPECT_EQ(service.calls("Close").back().path(), requestOf(first));
  EXPECT_EQ(openDialog(), nullptr);
}

}  // namespace
}  // namespace tarvinel
