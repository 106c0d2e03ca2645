#include "app/capture/portal/TruncationGuard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace tarvinel::portal {

namespace {

// a signal handler receives nothing but the address
thread_local TruncationGuard* guarding = nullptr;

std::size_t bytesIntoPage(const std::uint8_t* address) {
  return reinterpret_cast<std::uintptr_t>(address) %
         static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

TruncationGuard::TruncationGuard(const SharedMap& map)
    : begin_(const_cast<std::uint8_t*>(map.begin) - bytesIntoPage(map.begin)),
      bytes_(map.bytes == 0 ? 0 : map.bytes + bytesIntoPage(map.begin)),
      file_(map.file),
      offset_(map.offset - static_cast<std::int64_t>(bytesIntoPage(map.begin))) {
  if (bytes_ == 0) return;
  guarding = this;
  struct sigaction handling{};
  handling.sa_sigaction = handle;
  handling.sa_flags = SA_SIGINFO;
  sigaction(SIGBUS, &handling, &before_);
}

TruncationGuard::~TruncationGuard() {
  if (bytes_ == 0) return;
  sigaction(SIGBUS, &before_, nullptr);
  guarding = nullptr;
  if (!wasTruncated()) return;
  static_cast<void>(mmap(begin_, bytes_, PROT_READ, MAP_SHARED | MAP_FIXED, file_, offset_));
}

/// A fault outside a guarded map happens once more, and then ends the program as it should.
void TruncationGuard::handle(int signal, siginfo_t* info, void* /*context*/) {
  const int error = errno;
  if (guarding == nullptr || !guarding->fillWithZeros(info->si_addr)) ::signal(signal, SIG_DFL);
  errno = error;
}

bool TruncationGuard::fillWithZeros(const void* missing) {
  const auto* address = static_cast<const std::uint8_t*>(missing);
  if (address < begin_ || address >= begin_ + bytes_ || wasTruncated()) return false;
  truncated_ = 1;
  return mmap(begin_, bytes_, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) !=
         MAP_FAILED;
}

}  // namespace tarvinel::portal
