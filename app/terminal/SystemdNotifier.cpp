#include "app/terminal/SystemdNotifier.h"

#include "app/model/AppModel.h"

#include <fmt/format.h>
#include <systemd/sd-daemon.h>

#include <algorithm>
#include <utility>

namespace tarvinel {

SystemdNotifier::SystemdNotifier(const AppModel& model, Send send)
    : model_(model), send_(std::move(send)) {
  refresh();
}

SystemdNotifier::~SystemdNotifier() {
  send_("STOPPING=1");
}

void SystemdNotifier::refresh() {
  if (!isReady_ && model_.serverURL()) {
    isReady_ = true;
    send_("READY=1");
  }
  if (auto line = statusLine(); line != told_) {
    told_ = std::move(line);
    send_("STATUS=" + told_);
  }
}

std::string SystemdNotifier::statusLine() const {
  if (model_.serverError()) return *model_.serverError();
  if (!model_.serverURL()) return "Starting server…";
  auto line = fmt::format("{} · {}", *model_.serverURL(), model_.statusLine());
  // a window's title must not inject another variable into the notification
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

void SystemdNotifier::toServiceManager(const std::string& state) {
  sd_notify(0, state.c_str());
}

}  // namespace tarvinel
