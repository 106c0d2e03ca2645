#pragma once

#include "app/capture/ScreenCaptureService.h"

#include <cstdint>
#include <functional>
#include <optional>

struct sd_bus_message;

namespace tarvinel::portal {

/// What may be shared, in the portal's numbering.
enum class SourceType : std::uint8_t { display = 1, window = 2 };

/// Who draws the cursor, in the portal's numbering.
enum class CursorMode : std::uint8_t { hidden = 1, embedded = 2, metadata = 4 };

/// The number of an entry among those of its type.
enum class Entry : std::uint8_t {
  usual = 1,   ///< what was chosen last, where that is known
  another = 2  ///< always asks
};

/// Whether the desktop would share again what was chosen before without asking.
enum class Memory : std::uint8_t {
  none,
  lost,  ///< it did earlier in this run
  known
};

/// What the desktop's portal says that it can do. Plain value.
struct Capabilities {
  std::uint32_t sourceTypes = 0;  ///< sum of SourceType
  std::uint32_t cursorModes = 0;  ///< sum of CursorMode
  std::uint32_t version = 0;      ///< of the portal's interface

  bool offers(SourceType type) const {
    return (sourceTypes & static_cast<std::uint32_t>(type)) != 0;
  }

  /// True when the portal can begin again what it has begun before without asking the presenter.
  bool remembers() const { return version >= 4; }

  /// The mode to ask for; none when the portal knows of no modes.
  std::optional<CursorMode> cursorMode(bool showsCursor) const;

  /// One entry for each type of source, which the desktop's dialog turns into a certain one, and
  /// one more where it might not be asked again. An entry once listed stays.
  ShareableContent entries(const std::function<Memory(SourceType)>& memoryOf) const;

  /// Reads the properties of the portal's interface. Throws Error.
  static Capabilities read(sd_bus_message& properties);
};

}  // namespace tarvinel::portal
