#pragma once

#include "app/capture/ScreenCaptureService.h"

#include <cstdint>
#include <functional>
#include <optional>

struct sd_bus_message;

namespace tarvinel::portal {

/// The types of sources, in the portal's numbering.
enum class SourceType : std::uint8_t { display = 1, window = 2 };

/// How the cursor is delivered, in the portal's numbering.
enum class CursorMode : std::uint8_t { hidden = 1, embedded = 2, metadata = 4 };

/// The number of an entry among those of its type.
enum class Entry : std::uint8_t {
  usual = 1,   ///< the last choice, if it is known
  another = 2  ///< always opens the dialog
};

/// Whether the desktop can share the last choice again without asking.
enum class Memory : std::uint8_t {
  none,
  lost,  ///< it could earlier in this run
  known
};

/// The capabilities that the desktop's portal reports. Plain value.
struct Capabilities {
  std::uint32_t sourceTypes = 0;  ///< sum of SourceType
  std::uint32_t cursorModes = 0;  ///< sum of CursorMode
  std::uint32_t version = 0;      ///< of the portal's interface

  bool offers(SourceType type) const {
    return (sourceTypes & static_cast<std::uint32_t>(type)) != 0;
  }

  /// Returns whether the portal can restore an earlier session without asking the presenter.
  bool remembers() const { return version >= 4; }

  /// Returns the mode to request, or nullopt if the portal knows of no modes.
  std::optional<CursorMode> cursorMode(bool showsCursor) const;

  /// Returns one entry for each type of source, for which the desktop's dialog selects the actual
  /// one, and one more where the dialog might not open again. An entry once listed stays.
  ShareableContent entries(const std::function<Memory(SourceType)>& memoryOf) const;

  /// Reads the properties of the portal's interface. Throws Error.
  static Capabilities read(sd_bus_message& properties);
};

}  // namespace tarvinel::portal
