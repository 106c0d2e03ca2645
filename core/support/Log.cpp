#include "core/support/Log.h"

#include "core/support/JournalSink.h"

#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <utility>

namespace tarvinel {

namespace {
// At rest the sources are listed every ten seconds, nearly always the same.
constexpr std::chrono::hours repeatsAreCountedFor{1};
}  // namespace

Log::Log(spdlog::sink_ptr sink, spdlog::level::level_enum level)
    : sink_(std::move(sink)), level_(level) {}

Log Log::standardError(spdlog::level::level_enum level) {
  if (JournalSink::isBehind(STDERR_FILENO, std::getenv("JOURNAL_STREAM"))) {
    return Log(std::make_shared<JournalSink>(), level);
  }
  auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
  sink->set_pattern("%Y-%m-%d %H:%M:%S.%e %l [%n] %v");
  auto filter = std::make_shared<spdlog::sinks::dup_filter_sink_mt>(repeatsAreCountedFor);
  filter->add_sink(std::move(sink));
  return Log(std::move(filter), level);
}

Log Log::silent() {
  return Log(std::make_shared<spdlog::sinks::null_sink_mt>());
}

Logger Log::category(const std::string& name) const {
  auto logger = std::make_shared<spdlog::logger>(name, sink_);
  logger->set_level(level_);
  logger->flush_on(spdlog::level::info);
  return logger;
}

}  // namespace tarvinel
