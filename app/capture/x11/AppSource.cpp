#include "app/capture/x11/AppSource.h"

#include "app/capture/CaptureError.h"
#include "app/capture/x11/pixels/PixelFormat.h"
#include "app/capture/x11/pixels/Pointer.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/x11/Error.h"
#include "app/x11/Extensions.h"

#include <utility>

namespace tarvinel::x11 {

AppSource::AppSource(const std::string& server, const Options& options, std::uint32_t displayID,
                     std::int32_t processID, bool showsCursor)
    : connection_(server, options),
      displayID_(displayID),
      monitors_(connection_, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE),
      hasRender_(negotiateRender(connection_)) {
  requireBGRA(connection_);
  requireComposite(connection_);
  const bool hasXFixes = negotiateXFixes(connection_);
  windows_ = std::make_unique<AppWindows>(connection_, processID, hasXFixes);
  if (windows_->isEmpty()) throw CaptureError(CaptureError::Case::unknownSource);
  if (hasXFixes && showsCursor) cursor_.emplace(connection_);
  followDisplay();
}

void AppSource::handle(const xcb_generic_event_t& event) {
  const bool monitors = monitors_.isNotification(event);
  displayMayDiffer_ = displayMayDiffer_ || monitors;
  const bool windows = windows_->handle(event);
  noticed_ = noticed_ || monitors || windows || (cursor_ && cursor_->isNotification(event));
}

std::optional<CapturedFrame> AppSource::capture() {
  noticed_ = false;
  if (windows_->isEmpty()) {
    throw Error(Error::Case::applicationGone, "the application was closed");
  }
  if (displayMayDiffer_) followDisplay();
  windows_->follow();
  isPainted_ = isPainted_ || !windows_->layers().empty();
  if (!isPainted_) return std::nullopt;
  const auto damaged = redraw();
  return picture_->update(damaged, cursor());
}

void AppSource::followDisplay() {
  const Display display = requireDisplay(connection_, displayID_);
  displayMayDiffer_ = false;
  if (canvas_ && canvas_->area() == display.area) return;
  canvas_ = std::make_unique<AppCanvas>(connection_, display.area, hasRender_);
  picture_ = std::make_unique<Picture>(connection_, canvas_->pixmap(),
                                       PixelRect{0, 0, display.area.width, display.area.height});
  drawn_.clear();
}

/// Returns what it changed, in the canvas's coordinates.
std::vector<PixelRect> AppSource::redraw() {
  std::vector<PixelRect> parts = changedAreas(drawn_, windows_->layers());
  for (const PixelRect& rect : windows_->takeDamage())
    parts.push_back(rect);
  canvas_->draw(windows_->layers(), parts);
  drawn_ = windows_->layers();
  for (PixelRect& part : parts)
    part = part.relativeTo(canvas_->area().x, canvas_->area().y);
  return parts;
}

/// In the canvas's coordinates; none where another program's window is under the pointer.
std::optional<CursorImage> AppSource::cursor() const {
  if (!cursor_) return std::nullopt;
  const auto isOne = [this](xcb_window_t window) { return windows_->has(window); };
  if (!isPointerIn(connection_, isOne)) return std::nullopt;
  auto image = cursor_->read();
  if (image) image->area = image->area.relativeTo(canvas_->area().x, canvas_->area().y);
  return image;
}

}  // namespace tarvinel::x11
