#include "app/updates/UpdateNotice.h"

#include <fmt/core.h>

namespace tarvinel {

UpdateNotice UpdateNotice::available(std::string_view version, std::string_view appVersion) {
  return {fmt::format("Tarvinel {} is available", version),
          fmt::format("This is version {}.", appVersion)};
}

UpdateNotice UpdateNotice::upToDate(std::string_view appVersion) {
  return {"Tarvinel is up to date", fmt::format("There is no newer version than {}.", appVersion)};
}

UpdateNotice UpdateNotice::failed(std::string_view reason) {
  return {"Tarvinel could not check for updates", std::string(reason)};
}

}  // namespace tarvinel
