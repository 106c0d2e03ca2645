// the macros would add where in this file a line comes from
#define SD_JOURNAL_SUPPRESS_LOCATION

#include "core/support/JournalSink.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>

#include <algorithm>
#include <string_view>

namespace tarvinel {

namespace {

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

std::string_view viewOf(spdlog::string_view_t text) {
  return {text.data(), text.size()};
}

}  // namespace

bool JournalSink::isBehind(int fd, const char* stream) {
  struct stat status {};
  if (stream == nullptr || ::fstat(fd, &status) != 0) return false;
  return fmt::format("{}:{}", status.st_dev, status.st_ino) == stream;
}

std::vector<std::string> JournalSink::fieldsOf(const spdlog::details::log_msg& message) {
  return {fmt::format("MESSAGE={}", viewOf(message.payload)),
          fmt::format("PRIORITY={}", priorityOf(message.level)), "SYSLOG_IDENTIFIER=tarvinel",
          fmt::format("TARVINEL_CATEGORY={}", viewOf(message.logger_name))};
}

void JournalSink::sink_it_(const spdlog::details::log_msg& message) {
  auto fields = fieldsOf(message);
  std::vector<iovec> parts(fields.size());
  std::transform(fields.begin(), fields.end(), parts.begin(), [](std::string& field) {
    return iovec{field.data(), field.size()};
  });
  sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

}  // namespace tarvinel
