#pragma once

#include "core/support/LineWriter.h"

#include <spdlog/sinks/base_sink.h>

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

}  // namespace tarvinel
