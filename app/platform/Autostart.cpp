#include "app/platform/Autostart.h"

#include "core/support/ApplicationIdentifier.h"
#include "core/support/ApplicationSupport.h"
#include "core/support/Bytes.h"
#include "core/support/RegularFile.h"

#include <fmt/format.h>

#include <string_view>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

using std::filesystem::path;

/// Distinguishes this program's entries from those that the presenter or another program wrote.
constexpr std::string_view mark = "\nX-Tarvinel-Autostart=true\n";

/// Returns the text with `escape` before each character of `special`.
std::string escaped(std::string_view text, std::string_view special, char escape) {
  std::string result;
  for (const char character : text) {
    if (special.find(character) != std::string_view::npos) result += escape;
    result += character;
  }
  return result;
}

/// Escapes a text for a key's value: doubles backslashes and writes line ends as "\n".
std::string asValue(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (character == '\n') {
      result += "\\n";
    } else {
      result += escaped({&character, 1}, "\\", '\\');
    }
  }
  return result;
}

bool everySessionFinds(const path& program) {
  return program.parent_path() == "/usr/bin" || program.parent_path() == "/usr/local/bin";
}

std::string nameOf(const path& program) {
  return everySessionFinds(program) ? program.filename().native() : program.native();
}

bool isMarked(const path& entry) {
  constexpr std::size_t maxBytes = 65536;
  try {
    const Bytes content = readRegularFile(entry, maxBytes);
    return textOf(content).find(mark) != std::string_view::npos;
  } catch (const FileReadError&) {
    return false;
  }
}

}  // namespace

std::string autostartCommand(const path& program) {
  if (everySessionFinds(program)) return program.filename();
  const auto quoted = "\"" + escaped(program.native(), "\"`$\\", '\\') + "\"";
  return asValue(escaped(quoted, "%", '%'));
}

Autostart::Autostart(const path& configFolder, path program)
    : entry_(configFolder / "autostart" / fmt::format("{}.desktop", applicationIdentifier)),
      program_(std::move(program)) {}

Autostart Autostart::ofThisProgram() {
  return {SupportEnvironment::current().configFolder(),
          std::filesystem::read_symlink("/proc/self/exe")};
}

std::string Autostart::set(bool on) const {
  try {
    return on ? turnOn() : turnOff();
  } catch (const std::system_error& refused) {
    throw AutostartError(
        fmt::format("cannot change {}: {}", entry_.string(), refused.code().message()));
  }
}

std::string Autostart::turnOn() const {
  (void)isThere();
  replaceFile(entry_, content());
  return fmt::format("Tarvinel starts when you log in, by {}", entry_.string());
}

std::string Autostart::turnOff() const {
  if (isThere()) std::filesystem::remove(entry_);
  return "Tarvinel does not start when you log in";
}

/// Returns whether this program's entry exists. Throws if the entry is not this program's.
bool Autostart::isThere() const {
  const auto status = std::filesystem::symlink_status(entry_);
  if (!std::filesystem::exists(status)) return false;
  if (std::filesystem::is_regular_file(status) && isMarked(entry_)) return true;
  throw AutostartError(fmt::format(
      "{} was not written by tarvinel and is left as it is: move it away first", entry_.string()));
}

std::string Autostart::content() const {
  return fmt::format(
      "[Desktop Entry]\nType=Application\nName=Tarvinel\n"
      "Comment=Shares a screen with every browser in the room\n"
      "Exec={}\nTryExec={}\nIcon={}{}",
      autostartCommand(program_), asValue(nameOf(program_)), applicationIdentifier, mark);
}

}  // namespace tarvinel
