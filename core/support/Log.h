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
/// category as "TARVINEL_CATEGORY", by which journalctl can filter. Safe from any thread, and never
/// blocks: lines that the journal does not take in time are dropped and counted.
class JournalSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  JournalSink();

  /// Returns whether a descriptor writes to the journal. `stream` is $JOURNAL_STREAM, in which
  /// systemd identifies the stream that it has connected a service's output to, or null; the
  /// comparison is needed because programs whose output goes elsewhere inherit the variable.
  static bool isBehind(int fd, const char* stream);

  /// Returns the fields of a line, each as "FIELD=value".
  static std::vector<std::string> fieldsOf(const spdlog::details::log_msg& message);

  /// Returns the datagram for these fields (https://systemd.io/JOURNAL_NATIVE_PROTOCOL).
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
/// global registry; owners are passed the channel they use.
class Log {
 public:
  /// Takes the sink of all lines. Lines below `level` are dropped.
  explicit Log(spdlog::sink_ptr sink, spdlog::level::level_enum level = spdlog::level::info);

  /// Makes a log on standard error, where repeated lines are counted and written once an hour, or,
  /// if systemd has connected standard error to the journal, in the journal, every line of it with
  /// fields. Logging never waits for either: see LineWriter.
  static Log standardError(spdlog::level::level_enum level = spdlog::level::info);

  /// Makes a log that drops everything.
  static Log silent();

  /// Waits, for a limited time, until everything logged so far has been written.
  void flush() const;

  /// Returns the channel of a category: "app", "config", "server", "upload", "capture" or "mdns".
  Logger category(const std::string& name) const;

 private:
  spdlog::sink_ptr sink_;
  spdlog::level::level_enum level_;
};

}  // namespace tarvinel
