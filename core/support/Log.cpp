#include "core/support/Log.h"

#include "core/support/LineWriter.h"
#include "core/support/NonBlockingOutput.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <utility>

namespace tarvinel {

namespace {
// At rest the sources are listed every ten seconds and rarely change.
constexpr std::chrono::hours repeatsAreCountedFor{1};

constexpr const char* pattern = "%Y-%m-%d %H:%M:%S.%e %l [%n] %v";

std::string formatted(spdlog::formatter& formatter, const spdlog::details::log_msg& message) {
  spdlog::memory_buf_t line;
  formatter.format(message, line);
  return {line.data(), line.size()};
}

class StandardErrorSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  StandardErrorSink()
      : base_sink(std::make_unique<spdlog::pattern_formatter>(pattern)),
        writer_([] { return nonBlockingOutput(STDERR_FILENO); },
                [](const std::string& sentence) {
                  spdlog::pattern_formatter formatter(pattern);
                  return formatted(formatter, {"app", spdlog::level::warn, sentence});
                }) {}

 private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    writer_.write(formatted(*formatter_, message));
  }
  void flush_() override { writer_.flush(LineWriter::endLimit); }

  LineWriter writer_;
};

}  // namespace

Log::Log(spdlog::sink_ptr sink, spdlog::level::level_enum level)
    : sink_(std::move(sink)), level_(level) {}

Log Log::standardError(spdlog::level::level_enum level) {
  if (JournalSink::isBehind(STDERR_FILENO, std::getenv("JOURNAL_STREAM"))) {
    return Log(std::make_shared<JournalSink>(), level);
  }
  auto filter = std::make_shared<spdlog::sinks::dup_filter_sink_mt>(repeatsAreCountedFor);
  filter->add_sink(std::make_shared<StandardErrorSink>());
  return Log(std::move(filter), level);
}

Log Log::silent() {
  return Log(std::make_shared<spdlog::sinks::null_sink_mt>());
}

void Log::flush() const {
  sink_->flush();
}

Logger Log::category(const std::string& name) const {
  auto logger = std::make_shared<spdlog::logger>(name, sink_);
  logger->set_level(level_);
  return logger;
}

namespace {

constexpr std::string_view socketPath = "/run/systemd/journal/socket";

/// Returns an invalid descriptor if there is no journal.
UniqueFd connectToJournal() {
  UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(socketPath, address.sun_path);
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    socket.reset();
  }
  return socket;
}

int priorityOf(spdlog::level::level_enum level) {
  switch (level) {
    case spdlog::level::trace:
    case spdlog::level::debug:
      return LOG_DEBUG;
    case spdlog::level::warn:
      return LOG_WARNING;
    case spdlog::level::err:
      return LOG_ERR;
    case spdlog::level::critical:
      return LOG_CRIT;
    default:
      return LOG_INFO;
  }
}

/// A value with line breaks is preceded by its length, as eight bytes in little-endian order.
void append(std::string& datagram, std::string_view field) {
  const auto sign = field.find('=');
  const std::string_view value = field.substr(sign + 1);
  if (value.find('\n') == std::string_view::npos) {
    datagram.append(field);
  } else {
    datagram.append(field.substr(0, sign)) += '\n';
    for (unsigned shift = 0; shift < 64; shift += 8)
      datagram += static_cast<char>(std::uint64_t{value.size()} >> shift & 0xFFU);
    datagram.append(value);
  }
  datagram += '\n';
}

std::string_view viewOf(spdlog::string_view_t text) {
  return {text.data(), text.size()};
}

}  // namespace

JournalSink::JournalSink()
    : writer_(connectToJournal, [](const std::string& sentence) {
        return datagramOf(fieldsOf({"app", spdlog::level::warn, sentence}));
      }) {}

bool JournalSink::isBehind(int fd, const char* stream) {
  struct stat status{};
  if (stream == nullptr || ::fstat(fd, &status) != 0) return false;
  return fmt::format("{}:{}", status.st_dev, status.st_ino) == stream;
}

std::vector<std::string> JournalSink::fieldsOf(const spdlog::details::log_msg& message) {
  return {fmt::format("MESSAGE={}", viewOf(message.payload)),
          fmt::format("PRIORITY={}", priorityOf(message.level)), "SYSLOG_IDENTIFIER=tarvinel",
          fmt::format("TARVINEL_CATEGORY={}", viewOf(message.logger_name))};
}

std::string JournalSink::datagramOf(const std::vector<std::string>& fields) {
  std::string datagram;
  for (const std::string& field : fields)
    append(datagram, field);
  return datagram;
}

void JournalSink::sink_it_(const spdlog::details::log_msg& message) {
  writer_.write(datagramOf(fieldsOf(message)));
}

void JournalSink::flush_() {
  writer_.flush(LineWriter::endLimit);
}

}  // namespace tarvinel
