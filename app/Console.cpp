#include "app/Console.h"

#include "core/support/ASCII.h"

#include <fmt/format.h>

#include <utility>

namespace tarvinel {

namespace {

constexpr std::string_view helpText =
    "sources     list what can be shared\n"
    "share ID    share a source of that list\n"
    "stop        stop sharing\n"
    "status      show all status lines\n"
    "quit        end the program";

struct Command {
  std::string name;
  std::string argument;
};

Command commandOf(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  line = trimmed(line);
  const auto space = line.find_first_of(" \t");
  if (space == std::string_view::npos) return {std::string(line), ""};
  return {std::string(line.substr(0, space)), std::string(trimmed(line.substr(space)))};
}

bool isFutureCommand(std::string_view name) {
  return name == "uploads" || name == "folder" || name == "per-participant" || name == "qr";
}

}  // namespace

Console::Console(AppModel& model, std::ostream& out, std::function<void(int)> quit)
    : model_(model), out_(out), quit_(std::move(quit)) {}

void Console::refresh() {
  printIfChanged("server", model_.serverError().value_or(""));
  for (const std::string& line : addressLines())
    printIfChanged("address", line);
  printIfChanged("status", model_.statusLine());
  printIfChanged("hint", model_.permissionHint().value_or(""));
  printIfChanged("capture", model_.captureError().value_or(""));
  // without a server there is nothing to wait for
  if (model_.serverError()) quit_(1);
}

std::vector<std::string> Console::addressLines() const {
  if (model_.serverError()) return {};
  if (!model_.serverURL()) return {"Starting server…"};
  return {fmt::format("Open {} in any browser", *model_.serverURL())};
}

void Console::printIfChanged(const std::string& topic, const std::string& line) {
  if (std::exchange(printed_[topic], line) != line && !line.empty()) print(line);
}

void Console::print(std::string_view line) {
  out_ << line << std::endl;
}

void Console::obey(std::string_view line) {
  const auto [name, argument] = commandOf(line);
  if (name.empty()) return;
  if (name == "sources") {
    printSources();
  } else if (name == "share") {
    share(argument);
  } else if (name == "stop") {
    model_.stopSharing();
  } else if (name == "status") {
    printStatus();
  } else if (name == "help") {
    print(helpText);
  } else if (name == "quit") {
    quit_(0);
  } else if (isFutureCommand(name)) {
    print(name + " is not there yet");
  } else {
    print(fmt::format("Unknown command \"{}\"; \"help\" lists the commands", name));
  }
}

void Console::share(const std::string& sourceID) {
  if (sourceID.empty()) {
    print("share needs an ID; \"sources\" lists them");
    return;
  }
  model_.refreshSources([weak = weak_from_this(), sourceID] {
    const auto self = weak.lock();
    if (!self) return;
    self->model_.select(sourceID);
    if (self->model_.selectedID()) {
      self->model_.startSharing();
    } else {
      self->print(fmt::format("No source \"{}\"; \"sources\" lists them", sourceID));
    }
  });
}

void Console::printSources() {
  model_.refreshSources([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    for (const CaptureSource& source : self->model_.sources()) {
      self->print(source.id + "\t" + source.title);
    }
    if (self->model_.sources().empty()) self->print("Nothing to share");
  });
}

void Console::printStatus() {
  for (const std::string& line : addressLines())
    print(line);
  print(model_.statusLine());
  for (const auto& line : {model_.streamLine(), model_.captureError(), model_.permissionHint()}) {
    if (line) print(*line);
  }
}

}  // namespace tarvinel
