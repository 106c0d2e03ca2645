#include "tests/support/FailingCalls.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstddef>
#include <future>
#include <system_error>

namespace tarvinel::test {

namespace {

/// Returns the filter "load the number of the call; if it is one of these, fail, else continue".
/// This program makes calls of the machine's own architecture only.
std::vector<sock_filter> filterFor(const std::vector<long>& calls, int error) {
  std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long call : calls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<__u32>(call), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<__u32>(error)));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  return filter;
}

void check(int result) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), "no filter for calls");
}

void filterCallsOfThisThread(const std::vector<long>& calls, int error) {
  auto filter = filterFor(calls, error);
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
  check(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program));
}

}  // namespace

void whileCallsFail(const std::vector<long>& calls, int error, const std::function<void()>& task) {
  std::async(std::launch::async, [&] {
    filterCallsOfThisThread(calls, error);
    task();
  }).get();
}

}  // namespace tarvinel::test
