#pragma once

#include "app/capture/portal/Capabilities.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tarvinel::portal {

/// What the desktop gave so that it need not ask again for what the presenter has chosen before: a
/// token by the name under which it is remembered from one run to the next. Safe from any thread.
class RestoreTokens {
 public:
  static constexpr const char* displayKey = "PortalRestoreTokenDisplay";
  static constexpr const char* windowKey = "PortalRestoreTokenWindow";

  static const char* key(SourceType type);

  /// Takes what an earlier run knew. `onChange` is called with each later change, on the thread
  /// that makes it; an empty text forgets.
  void begin(const std::function<std::optional<std::string>(const std::string& key)>& known,
             std::function<void(const std::string& key, const std::string& token)> onChange);

  std::optional<std::string> token(const std::string& key) const;
  Memory memory(const std::string& key) const;

  /// Replaces the token, which can be used but once; none when the desktop gave none.
  void remember(const std::string& key, const std::optional<std::string>& token);

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::string> tokens_;  // empty: there was one
  std::function<void(const std::string&, const std::string&)> onChange_;
};

}  // namespace tarvinel::portal
