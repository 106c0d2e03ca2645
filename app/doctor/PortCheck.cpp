#include "app/doctor/PortCheck.h"

#include "app/platform/PortHelper.h"
#include "app/platform/bind-helper/BindHelper.h"
#include "core/http/ListeningSocket.h"

#include <fmt/format.h>
#include <pwd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tarvinel {

namespace {

using Helper = PortProbe::Helper;

constexpr const char* otherPort = R"(Or set "port" in config.json, or start with --port 8080.)";

bool isThere(const std::filesystem::path& file) {
  std::error_code unreachable;
  return std::filesystem::exists(file, unreachable);
}

/// Makes the helper try what was denied to this process.
void requestFromHelper(PortProbe& probe) {
  if (!isThere(probe.helperPlace)) {
    probe.helper = Helper::isMissing;
    return;
  }
  try {
    const UniqueFd socket =
        PortHelper(probe.helperPlace).listen({probe.error, std::system_category()});
    probe.helper = Helper::listens;
    probe.error = 0;
  } catch (const std::system_error& error) {
    probe.helper = Helper::mayNot;
    probe.error = error.code().value();
  }
}

Finding takenPort(const PortProbe& probe) {
  using enum Finding::State;
  const auto taken = fmt::format("Port {} is taken", probe.port);
  if (!probe.holder) return {needsAttention, taken + ".", {otherPort}};
  const auto& [user, program, process] = *probe.holder;
  if (program == "tarvinel") {
    return {worthKnowing, fmt::format("Tarvinel is running already and has port {} (process {}).",
                                      probe.port, process)};
  }
  if (program.empty()) {
    return {needsAttention,
            fmt::format("{} by a program of the user {}.", taken, user),
            {fmt::format("See which: sudo ss -ltnp sport = :{}. End it if it may end.", probe.port),
             otherPort}};
  }
  return {needsAttention,
          fmt::format("{} by {} (process {}, user {}).", taken, program, process, user),
          {"End that program if it may end.", otherPort}};
}

std::vector<std::string> adviceOnPort80(const PortProbe& probe) {
  if (probe.helper == Helper::isMissing) {
    return {fmt::format("The helper that may is not at {}: install Tarvinel again.",
                        probe.helperPlace.native()),
            otherPort};
  }
  return {fmt::format("Let the helper: sudo setcap cap_net_bind_service=ep {}",
                      probe.helperPlace.native()),
          otherPort};
}

Finding refusedPort(const PortProbe& probe) {
  if (probe.port == BindHelper::port) {
    return {Finding::State::needsAttention, "This user may not listen on port 80.",
            adviceOnPort80(probe)};
  }
  return {Finding::State::needsAttention,
          fmt::format("This user may not listen on port {}.", probe.port),
          {R"(Set "port" in config.json to 80, which the helper may use, or to one above 1023.)"}};
}

Finding otherFailure(const PortProbe& probe) {
  return {Finding::State::needsAttention,
          fmt::format("Port {} cannot be listened on: {}.", probe.port,
                      std::system_category().message(probe.error))};
}

Finding freePort(const PortProbe& probe) {
  using enum Finding::State;
  if (probe.port == 0) return {fine, "Any free port will do, as asked for."};
  const bool byHelper = probe.helper == Helper::listens;
  return {fine, fmt::format("Port {} is free{}.", probe.port,
                            byHelper ? ", and the helper may listen on it" : "")};
}

}  // namespace

PortProbe PortProbe::of(std::uint16_t port, const std::filesystem::path& helper) {
  PortProbe probe{.port = port, .helperPlace = helper};
  probe.error = listenOnAllAddresses(port).error;
  if (probe.error == EACCES && port == BindHelper::port) requestFromHelper(probe);
  if (probe.error == EADDRINUSE) probe.holder = PortHolder::of(port);
  return probe;
}

PortProbe PortProbe::afterRefusal(std::uint16_t port, int error,
                                  const std::filesystem::path& helper) {
  PortProbe probe{.port = port, .error = error, .helperPlace = helper};
  if (error == EACCES && port == BindHelper::port) {
    probe.helper = isThere(helper) ? Helper::mayNot : Helper::isMissing;
  }
  if (error == EADDRINUSE) probe.holder = PortHolder::of(port);
  return probe;
}

Findings judge(const PortProbe& probe) {
  switch (probe.error) {
    case 0:
      return {freePort(probe)};
    case EADDRINUSE:
      return {takenPort(probe)};
    case EACCES:
      return {refusedPort(probe)};
    default:
      return {otherFailure(probe)};
  }
}

namespace {

namespace fs = std::filesystem;

constexpr std::string_view listening = "0A";  // TCP_LISTEN

/// Returns an empty text if the file cannot be read.
std::string procText(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

/// Parses a line of the table: number, local address, remote address, state, queues, timer,
/// retransmits, user, timeout, inode.
std::optional<ListeningEntry> entryOf(const std::string& line, std::uint16_t port) {
  std::istringstream fields(line);
  std::string skipped;
  std::string local;
  std::string state;
  ListeningEntry entry;
  fields >> skipped >> local >> skipped >> state >> skipped >> skipped >> skipped >> entry.user >>
      skipped >> entry.inode;
  if (!fields || state != listening || !local.ends_with(fmt::format(":{:04X}", port))) return {};
  return entry;
}

bool hasSocket(const fs::path& process, const std::string& socket) {
  std::error_code hidden;  // a process of another user
  for (const auto& fd : fs::directory_iterator(process / "fd", hidden)) {
    std::error_code gone;
    if (fs::read_symlink(fd.path(), gone) == socket) return true;
  }
  return false;
}

pid_t processNumber(const fs::path& folder) {
  const std::string name = folder.filename();
  if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) return 0;
  return std::atoi(name.c_str());
}

pid_t processWith(std::uint64_t inode, const fs::path& proc) {
  const std::string socket = fmt::format("socket:[{}]", inode);
  std::error_code unreadable;
  for (const auto& entry : fs::directory_iterator(proc, unreadable)) {
    const pid_t process = processNumber(entry.path());
    if (process != 0 && hasSocket(entry.path(), socket)) return process;
  }
  return 0;
}

std::string userName(uid_t user) {
  passwd record{};
  passwd* found = nullptr;
  std::array<char, 4096> texts{};
  getpwuid_r(user, &record, texts.data(), texts.size(), &found);
  return found != nullptr ? found->pw_name : std::to_string(user);
}

std::string programOf(pid_t process, const fs::path& proc) {
  std::string name = procText(proc / std::to_string(process) / "comm");
  if (name.ends_with('\n')) name.pop_back();
  return name;
}

}  // namespace

std::optional<ListeningEntry> listeningEntry(std::string_view table, std::uint16_t port) {
  std::istringstream lines{std::string(table)};
  for (std::string line; std::getline(lines, line);) {
    if (const auto entry = entryOf(line, port)) return entry;
  }
  return std::nullopt;
}

std::optional<PortHolder> PortHolder::of(std::uint16_t port, const fs::path& proc) {
  auto entry = listeningEntry(procText(proc / "net/tcp6"), port);
  if (!entry) entry = listeningEntry(procText(proc / "net/tcp"), port);
  if (!entry) return std::nullopt;
  PortHolder holder{.user = userName(entry->user)};
  holder.process = processWith(entry->inode, proc);
  if (holder.process != 0) holder.program = programOf(holder.process, proc);
  return holder;
}

}  // namespace tarvinel
