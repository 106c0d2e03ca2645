#include "app/doctor/PortHolder.h"

#include <fmt/format.h>
#include <pwd.h>

#include <array>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tarvinel {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view listening = "0A";  // TCP_LISTEN

/// Empty when it cannot be read.
std::string procText(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

/// One line of the table: number, local address, remote address, state, queues, timer, retransmits,
/// user, timeout, inode.
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
  std::error_code hidden;  // another user's
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
