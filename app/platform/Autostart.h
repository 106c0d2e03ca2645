#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// The entry is not this program's, or the disk refuses: its text says so and where it is.
class AutostartError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Whether the desktop starts the program when the presenter logs in: an entry in the folder that
/// desktops look in. Plain value; nobody else's entry is touched.
class Autostart {
 public:
  /// Takes the user's folder for settings and the program that is to be started.
  Autostart(const std::filesystem::path& configFolder, std::filesystem::path program);

  /// Of the user and the program that runs.
  static Autostart ofThisProgram();

  /// Writes or removes the entry; returns what to tell the presenter. Throws AutostartError.
  std::string set(bool on) const;

 private:
  std::string turnOn() const;
  std::string turnOff() const;
  std::string content() const;
  bool isThere() const;

  std::filesystem::path entry_;
  std::filesystem::path program_;
};

/// How a desktop entry names a program: by its bare name where every session finds it, else by its
/// path, quoted as the desktop entry specification wants it. Pure.
std::string autostartCommand(const std::filesystem::path& program);

}  // namespace tarvinel
