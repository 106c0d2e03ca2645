#include "tests/support/XServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <stdexcept>

extern char** environ;

namespace tarvinel {

namespace {

constexpr int readyFd = 9;  ///< the descriptor's number in Xvfb
constexpr int patienceMs = 60000;
constexpr int attempts = 5;

/// tests/harness/x11/server.py claims its numbers there as well.
constexpr const char* claims = "/tmp/.tarvinel-test-displays";

/// Returns a number far above those that servers choose by themselves, upwards from 0.
int randomNumber() {
  static std::random_device random;
  return std::uniform_int_distribution(10000, 49999)(random);
}

struct ClaimedNumber {
  int number;
  UniqueFd claim;
};

ClaimedNumber claimedNumber() {
  while (true) {
    const int number = randomNumber();
    if (UniqueFd claim = claimDisplay(number)) return {number, std::move(claim)};
  }
}

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

/// Returns whether Xvfb has written its display number, as it does when it listens, before its end.
bool becomesReady(int fd) {
  char byte = 0;
  pollfd ready{fd, POLLIN, 0};
  while (poll(&ready, 1, patienceMs) > 0 && read(fd, &byte, 1) == 1) {
    if (byte == '\n') return true;
  }
  return false;
}

}  // namespace

UniqueFd claimDisplay(int number) {
  const UniqueFd made(open(claims, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
  if (made) fchmod(made.get(), 0666);  // other users run tests as well
  UniqueFd claim(open(claims, O_RDWR | O_CLOEXEC));
  if (!claim) throw std::runtime_error(std::string("cannot open ") + claims);
  struct flock lock{};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = number;
  lock.l_len = 1;
  return fcntl(claim.get(), F_OFD_SETLK, &lock) == 0 ? std::move(claim) : UniqueFd();
}

XServer::XServer(const std::string& screen, const std::vector<std::string>& arguments) {
  std::vector<std::string> options{"-screen", "0", screen, "-noreset", "-nolisten", "tcp"};
  options.insert(options.end(), arguments.begin(), arguments.end());
  for (int attempt = 0; attempt < attempts; ++attempt) {
    ClaimedNumber claimed = claimedNumber();
    number_ = claimed.number;
    claim_ = std::move(claimed.claim);
    if (start(options)) return;
  }
  throw std::runtime_error("Xvfb did not come up");
}

XServer::~XServer() {
  if (process_ != 0) end(SIGTERM);
}

void XServer::crash() {
  end(SIGKILL);
  // a server that ended in order would have removed it
  std::remove(("/tmp/.X11-unix/X" + std::to_string(number_)).c_str());
}

void XServer::freeze() const {
  kill(process_, SIGSTOP);
}

void XServer::thaw() const {
  kill(process_, SIGCONT);
}

bool XServer::start(const std::vector<std::string>& options) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe for Xvfb");
  const UniqueFd readEnd(ends[0]);
  UniqueFd writeEnd(ends[1]);
  std::vector<std::string> words{"Xvfb", display(), "-displayfd", std::to_string(readyFd)};
  words.insert(words.end(), options.begin(), options.end());
  process_ = spawn(std::move(words), writeEnd.get());
  writeEnd.reset();
  const bool ready = becomesReady(readEnd.get());
  if (!ready) end(SIGKILL);
  return ready;
}

void XServer::end(int signal) {
  kill(process_, signal);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

}  // namespace tarvinel
