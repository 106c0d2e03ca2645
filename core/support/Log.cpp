#include "core/support/Log.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <cstdlib>
#include <utility>

namespace tarvinel {

Log::Log(spdlog::sink_ptr sink, spdlog::level::level_enum level)
    : sink_(std::move(sink)), level_(level) {}

Log Log::standardError(spdlog::level::level_enum level) {
  auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
  // systemd sets JOURNAL_STREAM when standard error goes to the journal, which adds the time
  const bool toJournal = std::getenv("JOURNAL_STREAM") != nullptr;
  sink->set_pattern(toJournal ? "[%n] %v" : "%Y-%m-%d %H:%M:%S.%e %l [%n] %v");
  return Log(std::move(sink), level);
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
