#pragma once

#include "core/support/LineWriter.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarvinel {

/// Writes log lines to the journal of systemd, each with its severity as "PRIORITY" and its
/// category as "TARVINEL_CATEGORY", by which journalctl can select. Safe from any thread, and never
/// blocks: lines that the journal does not take in time are dropped and counted.
class JournalSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  JournalSink();

  /// Whether what is written to a descriptor goes to the journal. `stream` is $JOURNAL_STREAM, in
  /// which systemd names what it has connected a service's output to, or null: the variable is
  /// inherited by programs whose output goes elsewhere.
  static bool isBehind(int fd, const char* stream);

  /// What is sent for a line: "FIELD=value" each.
  static std::vector<std::string> fieldsOf(const spdlog::details::log_msg& message);

  /// The datagram that carries such fields (https://systemd.io/JOURNAL_NATIVE_PROTOCOL).
  static std::string datagramOf(const std::vector<std::string>& fields);

 private:
  void sink_it_(const spdlog::details::log_msg& message) override;
  void flush_() override;

  LineWriter writer_;
};

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
