#include "app/capture/x11/WindowSource.h"

#include "app/capture/CaptureError.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "app/capture/x11/pixels/PixelFormat.h"
#include "app/capture/x11/windows/ClientProcesses.h"
#include "app/capture/x11/windows/ClientWindows.h"
#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/Extensions.h"
#include "app/x11/Property.h"

namespace tarvinel::x11 {

WindowSource::WindowSource(const std::string& server, const Options& options,
                           std::uint32_t windowID, std::int32_t processID, bool showsCursor)
    : connection_(server, options), window_(windowID) {
  requireComposite(connection_);
  try {
    open(processID, showsCursor);
  } catch (const Error& error) {
    if (error.kind() != Error::Case::requestRefused) throw;
    throw CaptureError(CaptureError::Case::unknownSource);
  }
}

void WindowSource::open(std::int32_t processID, bool showsCursor) {
  const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                            xcb_get_window_attributes(connection_.get(), window_));
  if (attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT || window_ == connection_.root()) {
    throw CaptureError(CaptureError::Case::unknownSource);
  }
  requireBGRA(connection_, attributes->visual);
  const bool hasXFixes = negotiateXFixes(connection_);
  content_ = std::make_unique<WindowContent>(connection_, window_, hasXFixes);
  // checked while its end would be reported: from here on no other window can reuse the number
  if (!isOwnedBy(processID)) throw CaptureError(CaptureError::Case::unknownSource);
  margins_ = std::make_unique<FrameExtents>(connection_, window_);
  if (hasXFixes && showsCursor) cursor_.emplace(connection_);
}

bool WindowSource::isOwnedBy(std::int32_t processID) const {
  if (processID == 0) return true;
  const Atoms atoms(connection_);
  auto windows = listClientWindows(connection_, atoms);  // as when it was listed
  windows.push_back(window_);
  return ClientProcesses(connection_, atoms, windows).processOf(window_) == processID;
}

void WindowSource::handle(const xcb_generic_event_t& event) {
  isGone_ = isGone_ || isEnd(event);
  const bool isNews = content_->handle(event);
  const bool isOutline = margins_->handle(event);
  noticed_ = noticed_ || isGone_ || isNews || isOutline || movesPointer(event);
}

bool WindowSource::isEnd(const xcb_generic_event_t& event) const {
  return eventCode(event) == XCB_DESTROY_NOTIFY && !isSynthetic(event) &&
         eventAs<xcb_destroy_notify_event_t>(event).window == window_;
}

bool WindowSource::movesPointer(const xcb_generic_event_t& event) const {
  const std::uint8_t code = eventCode(event);
  return cursor_ &&
         (code == XCB_ENTER_NOTIFY || code == XCB_LEAVE_NOTIFY || cursor_->isNotification(event));
}

std::optional<CapturedFrame> WindowSource::capture() {
  noticed_ = false;
  if (isGone_) throw Error(Error::Case::windowGone, "the window was closed");
  content_->follow();
  if (content_->pixmap() == XCB_NONE) return std::nullopt;
  followPicture();
  return picture_->update(content_->takeDamage(), cursor());
}

void WindowSource::followPicture() {
  const PixelRect area = margins_->without(content_->inside());
  if (!picture_ || picture_->area() != area) {
    picture_.emplace(connection_, content_->pixmap(), area);
  } else if (picture_->drawable() != content_->pixmap()) {
    picture_->show(content_->pixmap());
  }
}

/// Returns the cursor in the pixmap's coordinates, or nullopt over another window.
std::optional<CursorImage> WindowSource::cursor() const {
  if (!cursor_) return std::nullopt;
  const auto isThis = [this](xcb_window_t window) { return window == window_; };
  if (!isPointerIn(connection_, isThis)) return std::nullopt;
  const auto origin = connection_.replyIfAny(
      xcb_translate_coordinates_reply,
      xcb_translate_coordinates(connection_.get(), window_, connection_.root(), 0, 0));
  auto image = cursor_->read();
  if (!origin || !image) return std::nullopt;
  const PixelRect inside = content_->inside();
  image->area = image->area.relativeTo(origin->dst_x - inside.x, origin->dst_y - inside.y);
  return image;
}

}  // namespace tarvinel::x11
