#include "app/doctor/DoctorReport.h"

#include "core/support/ASCII.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace tarvinel {

namespace {

constexpr std::size_t textColumn = 28;
constexpr std::string_view adviceMark = "→ ";
constexpr std::size_t leastTextColumns = 28;  // in a narrower terminal the text runs over

/// The characters of UTF-8.
std::size_t columnsOf(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char c) { return (c & '\xc0') != '\x80'; }));
}

std::string_view firstWord(std::string_view text) {
  return text.substr(0, text.find(' '));
}

/// The text in lines of so many columns, cut between words; longer words stay whole.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns) {
  std::vector<std::string> lines{""};
  while (!text.empty()) {
    const auto word = firstWord(text);
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    std::string& line = lines.back();
    if (line.empty()) {
      line = word;
    } else if (columnsOf(line) + 1 + columnsOf(word) <= columns) {
      line.append(" ").append(word);
    } else {
      lines.emplace_back(word);
    }
  }
  return lines;
}

std::string_view wordFor(Finding::State state) {
  switch (state) {
    case Finding::State::fine:
      return "fine";
    case Finding::State::worthKnowing:
      return "worth knowing";
    case Finding::State::toBeMended:
      break;
  }
  return "to be mended";
}

std::string_view colourOf(Finding::State state) {
  switch (state) {
    case Finding::State::fine:
      return "\x1b[32m";  // green
    case Finding::State::worthKnowing:
      return "\x1b[35m";  // magenta, which is legible on black and on white
    case Finding::State::toBeMended:
      break;
  }
  return "\x1b[1;31m";  // bold red
}

}  // namespace

DoctorReport::Style DoctorReport::Style::forStandardOutput() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 1) return {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return {.hasColours = true};
  return {.hasColours = true, .columns = size.ws_col};
}

void DoctorReport::add(const std::string& topic, const Finding& finding) {
  if (finding.state == Finding::State::toBeMended) ++toBeMended_;
  out_ << painted(finding.state, fmt::format("{:<14}", wordFor(finding.state)))
       << fmt::format("{:<14}", topic);
  writeLine(finding.what, textColumn);
  for (const std::string& line : finding.advice) {
    out_ << std::string(textColumn, ' ') << adviceMark;
    writeLine(line, textColumn + columnsOf(adviceMark));
  }
  out_ << std::flush;
}

/// From a column on, where the output stands.
void DoctorReport::writeLine(const std::string& text, std::size_t column) {
  const std::string shown = withoutControls(text);
  if (style_.columns < column + leastTextColumns) {
    out_ << shown << '\n';
    return;
  }
  const auto lines = wrapped(shown, style_.columns - column);
  out_ << lines.front() << '\n';
  for (std::size_t i = 1; i < lines.size(); ++i)
    out_ << std::string(column, ' ') << lines[i] << '\n';
}

void DoctorReport::finish() {
  if (toBeMended_ == 0) {
    out_ << "\nNothing has to be mended.\n";
  } else if (toBeMended_ == 1) {
    out_ << "\nOne thing has to be mended.\n";
  } else {
    out_ << fmt::format("\n{} things have to be mended.\n", toBeMended_);
  }
  out_ << std::flush;
}

std::string DoctorReport::painted(Finding::State state, const std::string& text) const {
  if (!style_.hasColours) return text;
  return fmt::format("{}{}\x1b[0m", colourOf(state), text);
}

}  // namespace tarvinel
