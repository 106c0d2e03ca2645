#include "tests/support/XServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

extern char** environ;

namespace tarvinel {

namespace {

constexpr int readyFd = 9;  ///< as Xvfb sees it
constexpr int patienceMs = 60000;

pid_t spawn(std::vector<std::string> words, int readyEnd) {
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, readyEnd, readyFd);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = 0;
  const int failure = posix_spawnp(&process, "Xvfb", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::runtime_error("cannot run Xvfb");
  return process;
}

/// The line that Xvfb writes when it listens: its display number.
std::string readNumber(int fd) {
  std::string text;
  char byte = 0;
  pollfd ready{fd, POLLIN, 0};
  while (poll(&ready, 1, patienceMs) > 0 && read(fd, &byte, 1) == 1) {
    if (byte == '\n') return text;
    text += byte;
  }
  return {};
}

}  // namespace

XServer::XServer(const std::string& screen, const std::vector<std::string>& arguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe for Xvfb");
  std::vector<std::string> words{"Xvfb",     "-displayfd", std::to_string(readyFd),
                                 "-screen",  "0",          screen,
                                 "-noreset", "-nolisten",  "tcp"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  process_ = spawn(std::move(words), ends[1]);
  close(ends[1]);
  const std::string number = readNumber(ends[0]);
  close(ends[0]);
  display_ = ":" + number;
  if (number.empty()) {
    end(SIGKILL);
    throw std::runtime_error("Xvfb did not come up");
  }
}

XServer::~XServer() {
  if (process_ != 0) end(SIGTERM);
}

void XServer::crash() {
  end(SIGKILL);
  // what a server ended in order would have removed
  std::remove(("/tmp/.X" + display_.substr(1) + "-lock").c_str());
  std::remove(("/tmp/.X11-unix/X" + display_.substr(1)).c_str());
}

void XServer::freeze() const {
  kill(process_, SIGSTOP);
}

void XServer::thaw() const {
  kill(process_, SIGCONT);
}

void XServer::end(int signal) {
  kill(process_, signal);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

}  // namespace tarvinel
