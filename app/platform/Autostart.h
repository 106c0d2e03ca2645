#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// The entry was not written by this program, or a file operation failed. The message names the
/// cause and the entry.
class AutostartError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Starts the program when the presenter logs in, by an entry in the desktop's autostart folder.
/// Never changes an entry that this program did not write. Plain value.
class Autostart {
 public:
  /// Takes the user's configuration folder and the program to start.
  Autostart(const std::filesystem::path& configFolder, std::filesystem::path program);

  /// Returns the autostart of the running program for the current user.
  static Autostart ofThisProgram();

  /// Writes or removes the entry; returns a message for the presenter. Throws AutostartError.
  std::string set(bool on) const;

 private:
  std::string turnOn() const;
  std::string turnOff() const;
  std::string content() const;
  bool isThere() const;

  std::filesystem::path entry_;
  std::filesystem::path program_;
};

/// Returns how a desktop entry names a program: by its file name if every session finds it in PATH,
/// else by its path, quoted as the Desktop Entry Specification requires. Pure.
std::string autostartCommand(const std::filesystem::path& program);

}  // namespace tarvinel
