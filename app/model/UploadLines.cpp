#include "app/model/UploadLines.h"

#include <fmt/format.h>

namespace tarvinel {

namespace {

std::string counted(std::int64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string sizeText(std::int64_t bytes) {
  const double megabytes = static_cast<double>(bytes) / 1'000'000;
  return megabytes < 1000 ? fmt::format("{:.0f} MB", megabytes)
                          : fmt::format("{:.1f} GB", megabytes / 1000);
}

}  // namespace

std::optional<std::string> UploadLines::statusLine(const UploadStatus& status) {
  if (!status.enabled && status.files == 0) return std::nullopt;
  return fmt::format("Uploads: {}, {}, {}", counted(status.files, "file"), sizeText(status.bytes),
                     counted(status.participants, "participant"));
}

std::optional<std::string> UploadLines::lastLine(const UploadStatus& status) {
  if (!status.lastParticipant) return std::nullopt;
  return fmt::format("Last: {} ({})", *status.lastParticipant,
                     counted(status.lastParticipantFiles, "file"));
}

}  // namespace tarvinel
