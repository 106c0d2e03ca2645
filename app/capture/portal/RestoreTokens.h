#pragma once

#include "app/capture/portal/Capabilities.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tarvinel::portal {

/// The desktop's tokens by which it restores what the presenter has chosen before without asking,
/// each with the key under which it is stored between runs. Safe from any thread.
class RestoreTokens {
 public:
  static constexpr const char* displayKey = "PortalRestoreTokenDisplay";
  static constexpr const char* windowKey = "PortalRestoreTokenWindow";

  static const char* key(SourceType type);

  /// Loads what an earlier run stored. `onChange` is called with each later change, on the thread
  /// that makes it; an empty text removes the token.
  void begin(const std::function<std::optional<std::string>(const std::string& key)>& known,
             std::function<void(const std::string& key, const std::string& token)> onChange);

  std::optional<std::string> token(const std::string& key) const;
  Memory memory(const std::string& key) const;

  /// Replaces the token, which can be used only once; nullopt if the desktop issued none.
  void remember(const std::string& key, const std::optional<std::string>& token);

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::string> tokens_;  // empty: there was a token before
  std::function<void(const std::string&, const std::string&)> onChange_;
};

}  // namespace tarvinel::portal
