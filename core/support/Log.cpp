#include "core/support/Log.h"

#include "core/support/JournalSink.h"
#include "core/support/LineWriter.h"
#include "core/support/NonBlockingOutput.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace tarvinel {

namespace {
// At rest the sources are listed every ten seconds, nearly always the same.
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

}  // namespace tarvinel
