#include "app/capture/x11/DisplaySource.h"

#include "app/capture/x11/pixels/PixelFormat.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/x11/Error.h"
#include "app/x11/Extensions.h"

namespace tarvinel::x11 {

namespace {

bool isBadMatch(const Error& error) {
  return error.code() == XCB_MATCH;
}

}  // namespace

DisplaySource::DisplaySource(const std::string& server, const Options& options,
                             std::uint32_t displayID, bool showsCursor)
    : connection_(server, options), displayID_(displayID), monitors_(connection_) {
  requireBGRA(connection_);
  const bool hasXFixes = negotiateXFixes(connection_);
  damage_.emplace(connection_, connection_.root(), hasXFixes);
  if (hasXFixes && showsCursor) cursor_.emplace(connection_);
  followDisplay();
}

void DisplaySource::handle(const xcb_generic_event_t& event) {
  const bool monitors = monitors_.isNotification(event);
  displayMayDiffer_ = displayMayDiffer_ || monitors;
  noticed_ = noticed_ || monitors || damage_->isNotification(event) ||
             (cursor_ && cursor_->isNotification(event));
}

std::optional<CapturedFrame> DisplaySource::capture() try {
  noticed_ = false;
  if (displayMayDiffer_) followDisplay();
  const auto cursor = cursor_ ? cursor_->read() : std::nullopt;
  return picture_->update(damage_->take(), cursor);
} catch (const Error& error) {
  if (!isBadMatch(error)) throw;
  // the display changed between two requests; the event that reports it brings the next attempt
  displayMayDiffer_ = true;
  return std::nullopt;
}

void DisplaySource::followDisplay() {
  const Display display = requireDisplay(connection_, displayID_);
  displayMayDiffer_ = false;
  if (picture_ && picture_->area() == display.area) return;
  picture_.emplace(connection_, connection_.root(), display.area);
}

}  // namespace tarvinel::x11
