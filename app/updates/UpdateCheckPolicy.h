#pragma once

#include <cstdint>

namespace tarvinel {

/// When a check for updates may be made: nothing may interrupt a presentation unasked. Static and
/// pure.
class UpdateCheckPolicy {
 public:
  UpdateCheckPolicy() = delete;

  enum class Kind : std::uint8_t {
    scheduled,      ///< in the background, because it is time
    userInitiated,  ///< the presenter asked for it
    probe,          ///< only to know
  };

  /// The kind of a controller's check, see UpdateController; an unknown one is the presenter's.
  static Kind kindOf(int check);

  static bool allows(Kind kind, bool sharing);
};

}  // namespace tarvinel
