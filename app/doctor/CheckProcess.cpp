#include "app/doctor/CheckProcess.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

namespace tarvinel {

namespace {

/// How long a process that was told to end may take: one that waits for a dead disk cannot.
constexpr std::chrono::milliseconds endPatience{500};

std::string encoded(const Findings& findings) {
  auto list = nlohmann::json::array();
  for (const Finding& finding : findings)
    list.push_back({static_cast<int>(finding.state), finding.what, finding.advice});
  return list.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// Nothing when the text is not what `encoded` makes.
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

/// Waits for one of poll's events, or for the end of the other side. What has happened already
/// counts even after the deadline.
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
  if (happensBy(output_.get(), nothingButTheEnd, Clock::now() + endPatience))
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
