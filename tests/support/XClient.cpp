#include "tests/support/XClient.h"

#include "app/x11/Connection.h"

#include <xcb/randr.h>
#include <xcb/xcbext.h>
#include <xcb/xtest.h>

#include <sys/uio.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace tarvinel {

namespace {

xcb_rectangle_t rectangle(const PixelRect& rect) {
  return {static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
          static_cast<std::uint16_t>(rect.width), static_cast<std::uint16_t>(rect.height)};
}

/// Returns a colour's component in the 16 bits of the core protocol.
std::uint16_t part(std::uint32_t colour, unsigned shift) {
  return static_cast<std::uint16_t>((colour >> shift & 0xFFU) * 0x101U);
}

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

}  // namespace

XClient::XClient(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
  require(xcb_connection_has_error(connection_.get()) == 0, "the test cannot reach its X server");
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
  overEverything_ = xcb_generate_id(connection_.get());
  const std::uint32_t mode = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
  xcb_create_gc(connection_.get(), overEverything_, root(), XCB_GC_SUBWINDOW_MODE, &mode);
  sync();
}

void XClient::writeOnRoot(const std::string& property, const std::vector<std::uint32_t>& numbers) {
  xcb_change_property(get(), XCB_PROP_MODE_REPLACE, root(), atom(property), XCB_ATOM_CARDINAL, 32,
                      static_cast<std::uint32_t>(numbers.size()), numbers.data());
  sync();
}

void XClient::manageAndCompose(xcb_window_t window) {
  writeOnRoot("_NET_SUPPORTING_WM_CHECK", {window});
  compose(window);
}

void XClient::compose(xcb_window_t window) {
  xcb_set_selection_owner(get(), window, atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
  sync();
}

void XClient::fill(const PixelRect& rect, std::uint32_t colour) {
  const xcb_rectangle_t area = rectangle(rect);
  xcb_change_gc(connection_.get(), overEverything_, XCB_GC_FOREGROUND, &colour);
  xcb_poly_fill_rectangle(connection_.get(), root(), overEverything_, 1, &area);
  sync();
}

void XClient::openWindow(const PixelRect& rect, std::uint32_t colour) {
  const xcb_window_t window = xcb_generate_id(connection_.get());
  const xcb_rectangle_t area = rectangle(rect);
  const std::array<std::uint32_t, 2> values{colour, 1};
  xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, root(), area.x, area.y,
                    area.width, area.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
  xcb_map_window(connection_.get(), window);
  sync();
}

void XClient::movePointer(int x, int y) {
  xcb_test_fake_input(connection_.get(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root(),
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
  sync();
}

void XClient::setSquareCursor(std::uint16_t size, std::uint32_t colour) {
  xcb_connection_t* c = connection_.get();
  const xcb_pixmap_t shape = xcb_generate_id(c);
  xcb_create_pixmap(c, 1, shape, root(), size, size);
  const xcb_gcontext_t gc = xcb_generate_id(c);
  const std::uint32_t one = 1;
  xcb_create_gc(c, gc, shape, XCB_GC_FOREGROUND, &one);
  const xcb_rectangle_t all{0, 0, size, size};
  xcb_poly_fill_rectangle(c, shape, gc, 1, &all);
  const xcb_cursor_t cursor = xcb_generate_id(c);
  xcb_create_cursor(c, cursor, shape, shape, part(colour, 16), part(colour, 8), part(colour, 0), 0,
                    0, 0, 0, 0);
  xcb_change_window_attributes(c, root(), XCB_CW_CURSOR, &cursor);
  xcb_free_pixmap(c, shape);
  xcb_free_gc(c, gc);
  sync();
}

std::uint32_t XClient::setMonitor(const std::string& name, const PixelRect& area, bool primary,
                                  bool takesOutput) {
  struct {
    xcb_randr_set_monitor_request_t head;
    xcb_randr_monitor_info_t info;
    xcb_randr_output_t output;
  } request{};
  xcb_randr_monitor_info_t& info = request.info;
  info.name = atom(name);
  info.primary = primary ? 1 : 0;
  info.nOutput = takesOutput ? 1 : 0;
  const xcb_rectangle_t place = rectangle(area);
  info.x = place.x;
  info.y = place.y;
  info.width = place.width;
  info.height = place.height;
  if (takesOutput) {
    const x11::XcbPtr<xcb_randr_get_screen_resources_current_reply_t> resources(
        xcb_randr_get_screen_resources_current_reply(
            connection_.get(), xcb_randr_get_screen_resources_current(connection_.get(), root()),
            nullptr));
    require(resources && resources->num_outputs == 1, "one output expected");
    request.output = *xcb_randr_get_screen_resources_current_outputs(resources.get());
  }
  request.head.window = root();
  // libxcb 1.15's xcb_randr_set_monitor sends one piece of memory too many
  const std::size_t length = sizeof request - (takesOutput ? 0 : sizeof request.output);
  const xcb_protocol_request_t protocol{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
  std::array<iovec, 3> pieces{};  // xcb itself uses the first two
  pieces[2] = {&request, length};
  xcb_send_request(connection_.get(), 0, &pieces[2], &protocol);
  sync();
  return info.name;
}

void XClient::moveMonitor(const std::string& name, const PixelRect& area) {
  xcb_grab_server(connection_.get());
  removeMonitor(name);
  setMonitor(name, area, false, false);
  xcb_ungrab_server(connection_.get());
  sync();
}

void XClient::removeMonitor(const std::string& name) {
  xcb_randr_delete_monitor(connection_.get(), root(), atom(name));
  sync();
}

void XClient::switchOutputOff() {
  xcb_connection_t* c = connection_.get();
  const x11::XcbPtr<xcb_randr_get_screen_resources_current_reply_t> resources(
      xcb_randr_get_screen_resources_current_reply(
          c, xcb_randr_get_screen_resources_current(c, root()), nullptr));
  require(resources && resources->num_crtcs == 1, "one controller expected");
  const auto crtc = *xcb_randr_get_screen_resources_current_crtcs(resources.get());
  xcb_randr_set_crtc_config(c, crtc, XCB_CURRENT_TIME, resources->config_timestamp, 0, 0, XCB_NONE,
                            XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr);
  sync();
}

void XClient::resizeScreen(std::uint16_t width, std::uint16_t height) {
  xcb_randr_set_screen_size(connection_.get(), root(), width, height, width, height);
  sync();
}

void XClient::setResources(const std::string& text) {
  xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, root(), XCB_ATOM_RESOURCE_MANAGER,
                      XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(text.size()), text.data());
  sync();
}

xcb_atom_t XClient::atom(const std::string& name) {
  const x11::XcbPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
      connection_.get(),
      xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr));
  require(reply != nullptr, "no atom");
  return reply->atom;
}

/// The server processes requests in order, so one reply proves that those before it are done.
/// Errors are a defect of the test.
void XClient::sync() {
  const x11::XcbPtr<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
      connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  require(reply != nullptr, "the test lost its X server");
  while (const x11::XcbPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
    require(event->response_type != 0, "a request of the test was refused");
  }
}

}  // namespace tarvinel
