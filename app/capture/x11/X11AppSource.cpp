#include "app/capture/x11/X11AppSource.h"

#include "app/capture/CaptureError.h"
#include "app/capture/x11/X11Displays.h"
#include "app/capture/x11/X11Error.h"
#include "app/capture/x11/X11Extensions.h"
#include "app/capture/x11/X11PixelFormat.h"
#include "app/capture/x11/X11Pointer.h"

#include <utility>

namespace tarvinel {

X11AppSource::X11AppSource(const std::string& server, const X11Options& options,
                           std::uint32_t displayID, std::int32_t processID, bool showsCursor)
    : connection_(server, options),
      displayID_(displayID),
      monitors_(connection_, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE),
      hasRender_(negotiateRender(connection_)) {
  requireBGRA(connection_);
  requireComposite(connection_);
  const bool hasXFixes = negotiateXFixes(connection_);
  windows_ = std::make_unique<X11AppWindows>(connection_, processID, hasXFixes);
  if (windows_->isEmpty()) throw CaptureError(CaptureError::Case::unknownSource);
  if (hasXFixes && showsCursor) cursor_.emplace(connection_);
  followDisplay();
}

void X11AppSource::handle(const xcb_generic_event_t& event) {
  const bool monitors = monitors_.isNotification(event);
  displayMayDiffer_ = displayMayDiffer_ || monitors;
  const bool windows = windows_->handle(event);
  noticed_ = noticed_ || monitors || windows || (cursor_ && cursor_->isNotification(event));
}

std::optional<CapturedFrame> X11AppSource::capture() {
  noticed_ = false;
  if (windows_->isEmpty()) {
    throw X11Error(X11Error::Case::applicationGone, "the application was closed");
  }
  if (displayMayDiffer_) followDisplay();
  windows_->follow();
  isPainted_ = isPainted_ || !windows_->layers().empty();
  if (!isPainted_) return std::nullopt;
  const auto damaged = redraw();
  return picture_->update(damaged, cursor());
}

void X11AppSource::followDisplay() {
  const X11Display display = requireDisplay(connection_, displayID_);
  displayMayDiffer_ = false;
  if (canvas_ && canvas_->area() == display.area) return;
  canvas_ = std::make_unique<X11AppCanvas>(connection_, display.area, hasRender_);
  picture_ = std::make_unique<X11Picture>(connection_, canvas_->pixmap(),
                                          PixelRect{0, 0, display.area.width, display.area.height});
  drawn_.clear();
}

/// Returns what it changed, in the canvas's coordinates.
std::vector<PixelRect> X11AppSource::redraw() {
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
std::optional<CursorImage> X11AppSource::cursor() const {
  if (!cursor_) return std::nullopt;
  const auto isOne = [this](xcb_window_t window) { return windows_->has(window); };
  if (!isPointerIn(connection_, isOne)) return std::nullopt;
  auto image = cursor_->read();
  if (image) image->area = image->area.relativeTo(canvas_->area().x, canvas_->area().y);
  return image;
}

}  // namespace tarvinel
