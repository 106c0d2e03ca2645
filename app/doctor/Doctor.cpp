#include "app/doctor/Doctor.h"

#include "core/support/ASCII.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <list>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tarvinel {

void Doctor::run(DoctorReport& report) const {
  const auto deadline = CheckProcess::Clock::now() + timeout_;
  std::list<CheckProcess> processes;
  for (const Check& check : checks_)
    processes.emplace_back(check.run);
  for (const Check& check : checks_) {
    const auto findings = processes.front().await(deadline).value_or(Findings{check.late});
    for (const Finding& finding : findings)
      report.add(check.topic, finding);
    processes.pop_front();
  }
  report.finish();
}

namespace {

constexpr std::size_t textColumn = 30;
constexpr std::string_view adviceMark = "→ ";
constexpr std::size_t minTextColumns = 28;  // in a narrower terminal the text overflows

/// Returns the number of characters in UTF-8 text.
std::size_t columnsOf(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char c) { return (c & '\xc0') != '\x80'; }));
}

std::string_view firstWord(std::string_view text) {
  return text.substr(0, text.find(' '));
}

/// Breaks the text between words into lines of at most this many columns; longer words stay whole.
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
    case Finding::State::needsAttention:
      break;
  }
  return "needs attention";
}

std::string_view colourOf(Finding::State state) {
  switch (state) {
    case Finding::State::fine:
      return "\x1b[32m";  // green
    case Finding::State::worthKnowing:
      return "\x1b[35m";  // magenta, which is legible on black and on white
    case Finding::State::needsAttention:
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
  if (finding.state == Finding::State::needsAttention) ++needingAttention_;
  out_ << painted(finding.state, fmt::format("{:<16}", wordFor(finding.state)))
       << fmt::format("{:<14}", topic);
  writeLine(finding.what, textColumn);
  for (const std::string& line : finding.advice) {
    out_ << std::string(textColumn, ' ') << adviceMark;
    writeLine(line, textColumn + columnsOf(adviceMark));
  }
  out_ << std::flush;
}

/// Writes the text, wrapped, from the column at which the output is.
void DoctorReport::writeLine(const std::string& text, std::size_t column) {
  const std::string shown = withoutControls(text);
  if (style_.columns < column + minTextColumns) {
    out_ << shown << '\n';
    return;
  }
  const auto lines = wrapped(shown, style_.columns - column);
  out_ << lines.front() << '\n';
  for (std::size_t i = 1; i < lines.size(); ++i)
    out_ << std::string(column, ' ') << lines[i] << '\n';
}

void DoctorReport::finish() {
  if (needingAttention_ == 0) {
    out_ << "\nNothing needs attention.\n";
  } else if (needingAttention_ == 1) {
    out_ << "\nOne thing needs attention.\n";
  } else {
    out_ << fmt::format("\n{} things need attention.\n", needingAttention_);
  }
  out_ << std::flush;
}

std::string DoctorReport::painted(Finding::State state, const std::string& text) const {
  if (!style_.hasColours) return text;
  return fmt::format("{}{}\x1b[0m", colourOf(state), text);
}

namespace {

/// The time limit for a killed process to end: one that waits for a dead disk never does.
constexpr std::chrono::milliseconds endTimeout{500};

std::string encoded(const Findings& findings) {
  auto list = nlohmann::json::array();
  for (const Finding& finding : findings)
    list.push_back({static_cast<int>(finding.state), finding.what, finding.advice});
  return list.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// Returns nullopt if the text is not a result of `encoded`.
std::optional<Findings> decoded(const std::string& text) try {
  Findings findings;
  for (const auto& entry : nlohmann::json::parse(text)) {
    findings.push_back({static_cast<Finding::State>(entry.at(0).get<int>()), entry.at(1),
                        entry.at(2).get<std::vector<std::string>>()});
  }
  return findings;
} catch (const nlohmann::json::exception&) {
  return std::nullopt;
}

void writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(fd, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

[[noreturn]] void work(const std::function<Findings()>& run, const UniqueFd& output) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  try {
    writeAll(output.get(), encoded(run()));
  } catch (const std::exception&) {
    std::_Exit(EXIT_FAILURE);  // without a result
  }
  std::_Exit(EXIT_SUCCESS);
}

/// Waits for one of poll's events or for the peer to close; returns whether it occurred. An event
/// that has already occurred counts even after the deadline.
bool happensBy(int fd, short events, CheckProcess::Clock::time_point deadline) {
  while (true) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - CheckProcess::Clock::now());
    pollfd waiting{fd, events, 0};
    const int ready = ::poll(&waiting, 1, std::max(0, static_cast<int>(left.count())));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

}  // namespace

CheckProcess::CheckProcess(const std::function<Findings()>& run) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::system_category());
  output_.reset(ends[0]);
  const UniqueFd input(ends[1]);
  process_ = ::fork();
  if (process_ < 0) throw std::system_error(errno, std::system_category());
  if (process_ == 0) work(run, input);
}

CheckProcess::~CheckProcess() {
  ::kill(process_, SIGKILL);
  constexpr short nothingButTheEnd = 0;
  if (happensBy(output_.get(), nothingButTheEnd, Clock::now() + endTimeout))
    ::waitpid(process_, nullptr, 0);
}

std::optional<Findings> CheckProcess::await(Clock::time_point deadline) {
  std::string text;
  std::array<char, 4096> piece{};
  while (happensBy(output_.get(), POLLIN, deadline)) {
    const ssize_t count = ::read(output_.get(), piece.data(), piece.size());
    if (count <= 0) return decoded(text);
    text.append(piece.data(), static_cast<std::size_t>(count));
  }
  return std::nullopt;
}

}  // namespace tarvinel
