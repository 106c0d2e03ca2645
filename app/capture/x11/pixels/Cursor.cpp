#include "app/capture/x11/pixels/Cursor.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

namespace tarvinel::x11 {

Cursor::Cursor(const Connection& connection) : connection_(connection) {
  const auto* fixes = connection.extension(xcb_xfixes_id);
  shapeEventCode_ = static_cast<std::uint8_t>(fixes->first_event + XCB_XFIXES_CURSOR_NOTIFY);
  xcb_xfixes_select_cursor_input(connection.get(), connection.root(),
                                 XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
  selectMotion();
}

/// Raw motion is reported to the root window whichever window the pointer is in, and since XInput
/// 2.1 also while a program has grabbed the pointer.
void Cursor::selectMotion() {
  const auto* input = connection_.extension(xcb_input_id);
  if (input == nullptr) return;
  const auto version = connection_.reply(xcb_input_xi_query_version_reply,
                                         xcb_input_xi_query_version(connection_.get(), 2, 2));
  if (version->major_version < 2) return;
  struct {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
  } const events{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
  xcb_input_xi_select_events(connection_.get(), connection_.root(), 1, &events.head);
  inputExtension_ = input->major_opcode;
}

bool Cursor::isNotification(const xcb_generic_event_t& event) const {
  if (eventCode(event) == shapeEventCode_) return true;
  if (eventCode(event) != XCB_GE_GENERIC) return false;
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  return generic.extension == inputExtension_ && generic.event_type == XCB_INPUT_RAW_MOTION;
}

std::optional<CursorImage> Cursor::read() const try {
  const auto image = connection_.reply(xcb_xfixes_get_cursor_image_reply,
                                       xcb_xfixes_get_cursor_image(connection_.get()));
  const std::size_t count = static_cast<std::size_t>(image->width) * image->height;
  if (image->length < count) throw Error::malformedReply();
  const auto* pixels = xcb_xfixes_get_cursor_image_cursor_image(image.get());
  return CursorImage{{image->x - image->xhot, image->y - image->yhot, image->width, image->height},
                     image->cursor_serial,
                     {pixels, pixels + count}};
} catch (const Error& error) {
  if (error.kind() == Error::Case::requestRefused) return std::nullopt;  // there is no cursor yet
  throw;
}

namespace {

/// Returns the child of `within` that contains the pointer, or XCB_NONE.
xcb_window_t underPointer(const Connection& connection, xcb_window_t within) {
  const auto pointer =
      connection.replyIfAny(xcb_query_pointer_reply, xcb_query_pointer(connection.get(), within));
  return pointer ? pointer->child : xcb_window_t{XCB_NONE};
}

}  // namespace

bool isPointerIn(const Connection& connection, const std::function<bool(xcb_window_t)>& isWanted) {
  constexpr int deepest = 8;  // a window manager puts one or two windows around a program's
  xcb_window_t window = connection.root();
  for (int depth = 0; depth < deepest && window != XCB_NONE; ++depth) {
    window = underPointer(connection, window);
    if (window != XCB_NONE && isWanted(window)) return true;
  }
  return false;
}

}  // namespace tarvinel::x11
