#pragma once

#include <spdlog/sinks/sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>

namespace tarvinel {

/// One category's log channel; safe from any thread. Severities follow the unified log's levels:
/// "default" is spdlog's info, "info" and "debug" are spdlog's debug.
using Logger = std::shared_ptr<spdlog::logger>;

/// Makes the channels of one process (or of one test): all write to the same sink. There is no
/// global registry; owners are handed the channel they use.
class Log {
 public:
  /// Takes where the lines go. Lines below `level` are dropped.
  explicit Log(spdlog::sink_ptr sink, spdlog::level::level_enum level = spdlog::level::info);

  /// A log on standard error, where a line said again and again is counted and written once an
  /// hour; in the journal, every line of it with fields, where systemd has connected that to it.
  /// Logging never waits for either: see LineWriter.
  static Log standardError(spdlog::level::level_enum level = spdlog::level::info);

  /// A log that drops everything.
  static Log silent();

  /// Waits, but not for long, until everything logged so far has been written.
  void flush() const;

  /// The channel of a category: "app", "config", "server", "upload", "capture" or "mdns".
  Logger category(const std::string& name) const;

 private:
  spdlog::sink_ptr sink_;
  spdlog::level::level_enum level_;
};

}  // namespace tarvinel
