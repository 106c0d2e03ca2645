#include "core/uploads/UploadStatus.h"

#include <nlohmann/json.hpp>

namespace tarvinel {

std::string UploadStatus::json() const {
  nlohmann::ordered_json document{
      {"enabled", enabled}, {"files", files}, {"bytes", bytes}, {"participants", participants}};
  if (lastParticipant) document["lastParticipant"] = *lastParticipant;
  document["lastParticipantFiles"] = lastParticipantFiles;
  return document.dump();
}

}  // namespace tarvinel
