#pragma once

#include "app/model/AppModel.h"
#include "app/terminal/QRCode.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// The program's user interface in a terminal: prints the model's lines as they change and executes
/// commands, one a line. Lives on the main queue; the stream and the model outlive it.
class Console : public std::enable_shared_from_this<Console> {
 public:
  /// `quit` is called with the program's exit status; it is null if the console must not end the
  /// program. `colours` must suit the terminal or file behind `out`.
  Console(AppModel& model, std::ostream& out, std::function<void(int)> quit,
          QRColours colours = QRColours::none);

  /// Prints what has changed since the last call; must be called after every change of the model.
  void refresh();

  /// Prints an initial message for the presenter, once the address for viewers is known.
  void introduce(std::string text);

  /// Executes one line of input.
  void execute(std::string_view line);

  /// Shares a source if it is listed, else prints an error.
  void share(const std::string& sourceID);

 private:
  void print(std::string_view line);
  void printIfChanged(const std::string& topic, const std::string& line);
  void printSources();
  void printStatus();
  void printQRCode();
  void chooseFolder(const std::string& folder);
  std::string uploadLine() const;
  std::string perParticipantLine() const;
  std::vector<std::string> addressLines() const;
  std::optional<std::string> nameLine() const;

  AppModel& model_;
  std::ostream& out_;
  std::function<void(int)> quit_;
  const QRColours colours_;
  std::string introduction_;
  std::map<std::string, std::string> printed_;  ///< the last line of each topic
};

}  // namespace tarvinel
