#include "app/capture/x11/AppSource.h"

#include "app/capture/CaptureError.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "app/capture/x11/pixels/PixelFormat.h"
#include "app/capture/x11/windows/ClientProcesses.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/capture/x11/windows/StackingOrder.h"
#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/Extensions.h"
#include "app/x11/Tree.h"

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

/// Returns the changed areas, in the canvas's coordinates.
PixelRects AppSource::redraw() {
  PixelRects parts = changedAreas(drawn_, windows_->layers());
  for (const PixelRect& rect : windows_->takeDamage())
    parts.push_back(rect);
  canvas_->draw(windows_->layers(), parts);
  drawn_ = windows_->layers();
  for (PixelRect& part : parts)
    part = part.relativeTo(canvas_->area().x, canvas_->area().y);
  return parts;
}

/// Returns the cursor in the canvas's coordinates, or nullopt over another program's window.
std::optional<CursorImage> AppSource::cursor() const {
  if (!cursor_) return std::nullopt;
  const auto isOne = [this](xcb_window_t window) { return windows_->has(window); };
  if (!isPointerIn(connection_, isOne)) return std::nullopt;
  auto image = cursor_->read();
  if (image) image->area = image->area.relativeTo(canvas_->area().x, canvas_->area().y);
  return image;
}

namespace {

bool arrangesWindows(std::uint8_t code) {
  return code == XCB_CONFIGURE_NOTIFY || code == XCB_MAP_NOTIFY || code == XCB_UNMAP_NOTIFY ||
         code == XCB_REPARENT_NOTIFY || code == XCB_CIRCULATE_NOTIFY ||
         code == XCB_GRAVITY_NOTIFY || code == XCB_VISIBILITY_NOTIFY;
}

}  // namespace

AppWindows::AppWindows(const Connection& connection, std::int32_t processID, bool hasXFixes)
    : connection_(connection), processID_(processID), hasXFixes_(hasXFixes), atoms_(connection) {
  constexpr int deepest = 3;  // a window manager puts one or two windows around a program's
  std::vector<xcb_window_t> level{connection.root()};
  std::vector<xcb_window_t> windows;
  for (int depth = 0; depth < deepest; ++depth) {
    level = childrenOf(connection, level);
    windows.insert(windows.end(), level.begin(), level.end());
  }
  addAllIn(windows);
}

/// Windows inside the process's own windows are skipped, since those contain them.
void AppWindows::addAllIn(const std::vector<xcb_window_t>& windows) {
  const ClientProcesses processes(connection_, atoms_, windows);
  const auto parents = parentsOf(connection_, windows);
  for (std::size_t i = 0; i < windows.size(); ++i) {
    if (processes.processOf(windows[i]) == processID_ &&
        processes.processOf(parents[i]) != processID_) {
      add(windows[i]);
    }
  }
}

void AppWindows::add(xcb_window_t window) try {
  windows_.insert_or_assign(window, open(window));
  layersMayDiffer_ = true;
} catch (const Error& error) {
  const bool isGone = error.kind() == Error::Case::requestRefused;
  const bool hasGrown = error.kind() == Error::Case::windowTooLarge;
  if (!isGone && !hasGrown) throw;
}

AppWindows::Known AppWindows::open(xcb_window_t window) const {
  const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                            xcb_get_window_attributes(connection_.get(), window));
  const auto geometry =
      connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(connection_.get(), window));
  if (attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT ||
      !isBGRA(connection_, attributes->visual) || !fitsPixmap(*geometry)) {
    // only the event of its end is needed
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &events);
    return {};
  }
  return {std::make_unique<WindowContent>(connection_, window, hasXFixes_),
          geometry->depth != connection_.screen().root_depth};
}

bool AppWindows::handle(const xcb_generic_event_t& event) {
  bool isNews = comeOrGo(event);
  if (arrangesWindows(eventCode(event)) || putsAway(event)) isNews = layersMayDiffer_ = true;
  for (const auto& [window, known] : windows_) {
    if (known.content && known.content->handle(event)) isNews = layersMayDiffer_ = true;
  }
  return isNews;
}

/// Returns whether the event may mean that windows were put away or brought back.
bool AppWindows::putsAway(const xcb_generic_event_t& event) const {
  if (eventCode(event) != XCB_PROPERTY_NOTIFY) return false;
  const xcb_atom_t property = eventAs<xcb_property_notify_event_t>(event).atom;
  return property == atoms_.wmState || property == atoms_.workspace ||
         property == atoms_.currentWorkspace;
}

bool AppWindows::comeOrGo(const xcb_generic_event_t& event) {
  if (isSynthetic(event)) return false;
  if (eventCode(event) == XCB_CREATE_NOTIFY) {
    const xcb_window_t window = eventAs<xcb_create_notify_event_t>(event).window;
    if (isOwn(window)) add(window);
    return false;  // a new window is not on the screen yet
  }
  if (eventCode(event) != XCB_DESTROY_NOTIFY) return false;
  if (windows_.erase(eventAs<xcb_destroy_notify_event_t>(event).window) == 0) return false;
  return layersMayDiffer_ = true;
}

/// A new window claims no process yet, so the known windows of its client are queried as well.
bool AppWindows::isOwn(xcb_window_t window) const {
  std::vector<xcb_window_t> windows{window};
  for (const auto& [known, content] : windows_)
    windows.push_back(known);
  return ClientProcesses(connection_, atoms_, windows).processOf(window) == processID_;
}

void AppWindows::follow() {
  if (!layersMayDiffer_) return;
  layersMayDiffer_ = false;
  for (const auto& [window, known] : windows_) {
    if (known.content) known.content->follow();
  }
  readLayers();
}

void AppWindows::readLayers() {
  std::vector<xcb_window_t> painted;
  for (const auto& [window, known] : windows_) {
    if (known.content && known.content->pixmap() != XCB_NONE) painted.push_back(window);
  }
  const std::vector<xcb_window_t> ordered = visibleInStackingOrder(connection_, atoms_, painted);
  std::vector<xcb_translate_coordinates_cookie_t> places;
  places.reserve(ordered.size());
  for (const xcb_window_t window : ordered) {
    places.push_back(
        xcb_translate_coordinates(connection_.get(), window, connection_.root(), 0, 0));
  }
  layers_.clear();
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    if (const auto layer = layerOf(ordered[i], places[i])) layers_.push_back(*layer);
  }
}

std::optional<Layer> AppWindows::layerOf(xcb_window_t window,
                                         xcb_translate_coordinates_cookie_t cookie) const {
  const auto place = connection_.replyIfAny(xcb_translate_coordinates_reply, cookie);
  if (!place) return std::nullopt;
  const Known& known = windows_.at(window);
  const PixelRect inside = known.content->inside();
  const PixelRect whole = known.content->pixmapArea();
  return Layer{window,
               known.content->pixmap(),
               {place->dst_x - inside.x, place->dst_y - inside.y, whole.width, whole.height},
               known.hasAlpha};
}

PixelRects AppWindows::takeDamage() {
  PixelRects damaged;
  for (const Layer& layer : layers_) {
    const auto rects = windows_.at(layer.window).content->takeDamage();
    if (!rects) damaged.push_back(layer.area);
    for (const PixelRect& rect : rects.value_or(PixelRects{})) {
      damaged.push_back(rect.relativeTo(-layer.area.x, -layer.area.y).intersection(layer.area));
    }
  }
  return damaged;
}

}  // namespace tarvinel::x11
