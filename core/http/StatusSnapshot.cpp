#include "core/http/StatusSnapshot.h"

#include <nlohmann/json.hpp>

namespace tarvinel {

std::string StatusSnapshot::json() const {
  nlohmann::ordered_json document{{"sharing", sharing}, {"viewers", viewers}};
  if (source) document["source"] = *source;
  document["fps"] = fps;
  document["version"] = version;
  document["build"] = build;
  return document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

StatusSnapshot StatusSnapshot::fromJSON(std::string_view text) {
  const auto document = nlohmann::json::parse(text);
  StatusSnapshot snapshot;
  snapshot.sharing = document.at("sharing").get<bool>();
  snapshot.viewers = document.at("viewers").get<std::int64_t>();
  if (document.contains("source")) snapshot.source = document["source"].get<std::string>();
  snapshot.fps = document.at("fps").get<std::int64_t>();
  snapshot.version = document.at("version").get<std::string>();
  snapshot.build = document.at("build").get<std::string>();
  return snapshot;
}

}  // namespace tarvinel
