#include "app/terminal/Console.h"

#include "core/support/ASCII.h"
#include "core/support/ApplicationSupport.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::string_view helpText =
    "sources                 list what can be shared\n"
    "share ID                share a source of that list\n"
    "stop                    stop sharing\n"
    "uploads on|off          let participants send photos, or no longer\n"
    "folder DIR              take photos into this folder\n"
    "per-participant on|off  give each participant a folder in it, or not\n"
    "status                  show all status lines\n"
    "qr                      show the address as a QR code for phones\n"
    "quit                    end the program";

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

/// Calls `toggle` if the wanted state differs from the current one; returns false if `wanted` is
/// neither on nor off.
template <class Toggle>
bool switchTo(std::string_view wanted, bool isOn, Toggle toggle) {
  if (wanted != "on" && wanted != "off") return false;
  if ((wanted == "on") != isOn) toggle();
  return true;
}

}  // namespace

Console::Console(AppModel& model, std::ostream& out, std::function<void(int)> quit,
                 QRColours colours)
    : model_(model), out_(out), quit_(std::move(quit)), colours_(colours) {
  // the initial state is not printed
  printed_["uploads"] = uploadLine();
  printed_["per-participant"] = perParticipantLine();
}

void Console::refresh() {
  printIfChanged("server", model_.serverError().value_or(""));
  for (const std::string& line : addressLines())
    printIfChanged("address", line);
  // an attempt in progress has no line: a failure that repeats is printed once
  if (const auto line = nameLine()) printIfChanged("name", *line);
  printIfChanged("status", model_.statusLine());
  printIfChanged("hint", model_.permissionHint().value_or(""));
  printIfChanged("capture", model_.captureError().value_or(""));
  printIfChanged("upload error", model_.uploadError().value_or(""));
  printIfChanged("per-participant", perParticipantLine());
  printIfChanged("uploads", uploadLine());
  printIfChanged("upload status", model_.uploadStatusLine().value_or(""));
  printIfChanged("upload last", model_.uploadLastLine().value_or(""));
  // without a server there is nothing to do
  if (model_.serverError() && quit_) return quit_(1);
  if (model_.serverURL() || model_.serverError()) printIfChanged("introduction", introduction_);
}

void Console::introduce(std::string text) {
  introduction_ = std::move(text);
  refresh();
}

std::vector<std::string> Console::addressLines() const {
  if (model_.serverError()) return {};
  if (!model_.serverURL()) return {"Starting server…"};
  return {fmt::format("Open {} in any browser", *model_.serverURL())};
}

std::optional<std::string> Console::nameLine() const {
  if (model_.nameURL()) return fmt::format("Open {} in any browser", *model_.nameURL());
  return model_.nameError();
}

std::string Console::uploadLine() const {
  const std::string folder = model_.uploadFolder().string();
  if (!model_.uploadsEnabled()) return fmt::format("Uploads are closed, folder {}", folder);
  if (!model_.uploadURL() || model_.uploadError()) return {};
  return fmt::format("Uploads are open at {}, folder {}", *model_.uploadURL(), folder);
}

std::string Console::perParticipantLine() const {
  return model_.uploadPerParticipant() ? "One folder per participant" : "One folder for all";
}

void Console::printIfChanged(const std::string& topic, const std::string& line) {
  if (std::exchange(printed_[topic], line) != line && !line.empty()) print(line);
}

void Console::print(std::string_view line) {
  out_ << line << std::endl;
}

void Console::execute(std::string_view line) {
  const auto [name, argument] = commandOf(line);
  if (name.empty()) return;
  if (name == "sources") {
    printSources();
  } else if (name == "share") {
    share(argument);
  } else if (name == "stop") {
    model_.stopSharing();
  } else if (name == "uploads") {
    if (!switchTo(argument, model_.uploadsEnabled(), [this] { model_.toggleUploads(); })) {
      print("uploads needs on or off");
    }
  } else if (name == "per-participant") {
    if (!switchTo(argument, model_.uploadPerParticipant(),
                  [this] { model_.toggleUploadPerParticipant(); })) {
      print("per-participant needs on or off");
    }
  } else if (name == "folder") {
    chooseFolder(argument);
  } else if (name == "status") {
    printStatus();
  } else if (name == "qr") {
    printQRCode();
  } else if (name == "help") {
    print(helpText);
  } else if (name == "quit") {
    quit_(0);
  } else {
    print(fmt::format(R"(Unknown command "{}"; "help" lists the commands)", name));
  }
}

void Console::share(const std::string& sourceID) {
  if (sourceID.empty()) {
    print(R"(share needs an ID; "sources" lists them)");
    return;
  }
  model_.share(sourceID, [weak = weak_from_this(), sourceID] {
    if (const auto self = weak.lock()) {
      self->print(fmt::format(R"(No source "{}"; "sources" lists them)", sourceID));
    }
  });
}

void Console::chooseFolder(const std::string& folder) {
  if (folder.empty()) return print("folder needs a path");
  std::error_code gone;
  const auto path = std::filesystem::absolute(expandingTilde(folder), gone);
  if (gone)
    return print("The folder that Tarvinel was started in is gone: folder needs a path from /");
  model_.chooseUploadFolder(path);
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
  if (const auto line = nameLine()) print(*line);
  print(model_.statusLine());
  for (const auto& line : {model_.streamLine(), model_.captureError(), model_.permissionHint(),
                           model_.uploadError()}) {
    if (line) print(*line);
  }
  if (model_.uploadsEnabled()) print(uploadLine());
  for (const auto& line : {model_.uploadStatusLine(), model_.uploadLastLine()}) {
    if (line) print(*line);
  }
}

// encodes the numeric address: many phones cannot resolve a name in the local network
void Console::printQRCode() {
  if (model_.serverURL()) {
    for (const std::string& line : drawQRCode(*model_.serverURL(), colours_))
      print(line);
  }
  for (const std::string& line : addressLines())
    print(line);
}

}  // namespace tarvinel
