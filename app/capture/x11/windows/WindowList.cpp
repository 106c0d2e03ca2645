#include "app/capture/x11/windows/WindowList.h"

#include "app/capture/x11/windows/ClientProcesses.h"
#include "app/capture/x11/windows/ClientWindows.h"
#include "app/capture/x11/windows/FrameExtents.h"
#include "app/capture/x11/windows/Workspace.h"
#include "app/x11/Connection.h"
#include "app/x11/Property.h"
#include "app/x11/Tree.h"
#include "core/support/ApplicationIdentifier.h"
#include "core/support/UnicodeText.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

namespace tarvinel::x11 {

namespace {

constexpr std::int64_t aboveApplications = 1;

ShareableApplication applicationOf(const WindowMetadata& metadata, std::int32_t ownProcess) {
  ShareableApplication application{metadata.processID, metadata.className, metadata.className};
  // the class identifies another instance of this program
  const bool isOwn = metadata.processID == ownProcess || metadata.className == windowClass;
  if (isOwn) application.bundleID = std::string(applicationIdentifier);
  return application;
}

}  // namespace

ShareableWindow shareableWindow(const WindowMetadata& metadata, int scale,
                                std::int32_t ownProcess) {
  const Rect pixels = metadata.area.rect();
  ShareableWindow window;
  window.windowID = metadata.window;
  window.title = metadata.title;
  window.layer = metadata.role == WindowMetadata::Role::ordinary ? 0 : aboveApplications;
  window.frame = {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale};
  if (metadata.processID != 0) window.application = applicationOf(metadata, ownProcess);
  return window;
}

WindowList listWindows(const Connection& connection, int scale) {
  const Atoms atoms(connection);
  WindowList windows;
  for (const WindowMetadata& metadata :
       readWindowMetadata(connection, atoms, listClientWindows(connection, atoms))) {
    if (metadata.role == WindowMetadata::Role::desktop) continue;
    auto& those =
        metadata.isOnScreen && metadata.canBeCaptured ? windows.inSight : windows.outOfSight;
    those.push_back(shareableWindow(metadata, scale, getpid()));
  }
  return windows;
}

namespace {

constexpr std::uint32_t maxTitleBytes = 16384;

/// The pending requests for one window.
struct Requests {
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_geometry_cookie_t geometry;
  xcb_translate_coordinates_cookie_t place;
  xcb_get_property_cookie_t name;
  xcb_get_property_cookie_t oldName;
  xcb_get_property_cookie_t className;
  xcb_get_property_cookie_t type;
  xcb_get_property_cookie_t state;
  xcb_get_property_cookie_t wmState;
  xcb_get_property_cookie_t workspace;
  xcb_get_property_cookie_t margins;
};

/// The replies to them; null or nullopt where one is missing.
struct Replies {
  XcbPtr<xcb_get_window_attributes_reply_t> attributes;
  XcbPtr<xcb_get_geometry_reply_t> geometry;
  XcbPtr<xcb_translate_coordinates_reply_t> place;
  std::optional<Property> name;
  std::optional<Property> oldName;
  std::optional<Property> className;
  std::optional<Property> type;
  std::optional<Property> state;
  std::optional<Property> wmState;
  std::optional<Property> workspace;
  std::optional<Property> margins;
};

Requests ask(const Connection& connection, const Atoms& atoms, xcb_window_t window) {
  xcb_connection_t* c = connection.get();
  return {xcb_get_window_attributes(c, window),
          xcb_get_geometry(c, window),
          xcb_translate_coordinates(c, window, connection.root(), 0, 0),
          requestProperty(connection, window, atoms.name, maxTitleBytes),
          requestProperty(connection, window, XCB_ATOM_WM_NAME, maxTitleBytes),
          requestProperty(connection, window, XCB_ATOM_WM_CLASS),
          requestProperty(connection, window, atoms.windowType),
          requestProperty(connection, window, atoms.state),
          requestProperty(connection, window, atoms.wmState),
          requestProperty(connection, window, atoms.workspace),
          requestProperty(connection, window, atoms.frameExtents)};
}

/// Takes every reply, even if another is missing, so that none remains in xcb.
Replies take(const Connection& connection, const Requests& requests) {
  return {connection.replyIfAny(xcb_get_window_attributes_reply, requests.attributes),
          connection.replyIfAny(xcb_get_geometry_reply, requests.geometry),
          connection.replyIfAny(xcb_translate_coordinates_reply, requests.place),
          receiveProperty(connection, requests.name),
          receiveProperty(connection, requests.oldName),
          receiveProperty(connection, requests.className),
          receiveProperty(connection, requests.type),
          receiveProperty(connection, requests.state),
          receiveProperty(connection, requests.wmState),
          receiveProperty(connection, requests.workspace),
          receiveProperty(connection, requests.margins)};
}

TitleEncoding encodingOf(const Property& property, const Atoms& atoms) {
  if (property.type == atoms.utf8String) return TitleEncoding::utf8;
  return property.type == atoms.compoundText ? TitleEncoding::compound : TitleEncoding::latin1;
}

std::string textOf(const std::optional<Property>& property, const Atoms& atoms) {
  if (!property || property->format != 8) return {};
  return windowTitle(property->bytes, encodingOf(*property, atoms));
}

std::optional<std::string> titleOf(const Replies& replies, const Atoms& atoms) {
  std::string title = textOf(replies.name, atoms);
  if (title.empty()) title = textOf(replies.oldName, atoms);
  return title.empty() ? std::nullopt : std::optional(title);
}

/// The property holds two names, each ended by a zero byte: of the instance and of the class.
std::optional<std::string> classNameOf(const std::optional<Property>& property) {
  if (!property || property->format != 8) return std::nullopt;
  const std::string_view both = property->bytes;
  const std::size_t end = std::min(both.find('\0'), both.size());
  const std::string_view rest = both.substr(std::min(end + 1, both.size()));
  const std::string_view itsClass = rest.substr(0, rest.find('\0'));
  std::string name =
      windowTitle(itsClass.empty() ? both.substr(0, end) : itsClass, TitleEncoding::utf8);
  return name.empty() ? std::nullopt : std::optional(std::move(name));
}

/// A window that window managers ignore (override-redirect) is a menu or a panel.
WindowMetadata::Role roleOf(const Replies& replies, const Atoms& atoms) {
  if (replies.attributes->override_redirect != 0) return WindowMetadata::Role::accessory;
  const auto types = replies.type ? replies.type->numbers() : std::vector<std::uint32_t>{};
  if (types.empty()) return WindowMetadata::Role::ordinary;
  const auto has = [&](xcb_atom_t one) {
    return std::find(types.begin(), types.end(), one) != types.end();
  };
  if (has(atoms.typeDesktop)) return WindowMetadata::Role::desktop;
  const bool isOrdinary = has(atoms.typeNormal) || has(atoms.typeDialog);
  return isOrdinary ? WindowMetadata::Role::ordinary : WindowMetadata::Role::accessory;
}

bool isHidden(const Replies& replies, const Atoms& atoms,
              std::optional<std::uint32_t> shownWorkspace) {
  const auto states = replies.state ? replies.state->numbers() : std::vector<std::uint32_t>{};
  return replies.attributes->map_state != XCB_MAP_STATE_VIEWABLE || isIconic(replies.wmState) ||
         isOnAnotherWorkspace(replies.workspace, shownWorkspace) ||
         std::find(states.begin(), states.end(), atoms.stateHidden) != states.end();
}

WindowMetadata metadataOf(const Replies& replies, const Atoms& atoms) {
  WindowMetadata metadata;
  metadata.title = titleOf(replies, atoms);
  metadata.className = classNameOf(replies.className);
  metadata.role = roleOf(replies, atoms);
  metadata.area = withoutMargins({replies.place->dst_x, replies.place->dst_y,
                                  replies.geometry->width, replies.geometry->height},
                                 marginsIn(replies.margins));
  return metadata;
}

bool isWindow(const Replies& replies) {
  return replies.attributes && replies.geometry && replies.place &&
         replies.attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

}  // namespace

std::vector<WindowMetadata> readWindowMetadata(const Connection& connection, const Atoms& atoms,
                                               const std::vector<xcb_window_t>& windows) {
  std::vector<Requests> requests;
  requests.reserve(windows.size());
  for (const xcb_window_t window : windows)
    requests.push_back(ask(connection, atoms, window));
  const ClientProcesses processes(connection, atoms, windows);
  const auto shown = onlyWorkspaceShown(connection, atoms);
  const PixelRect screen = connection.rootArea();
  std::vector<WindowMetadata> known;
  for (std::size_t i = 0; i < windows.size(); ++i) {
    const Replies replies = take(connection, requests[i]);
    if (!isWindow(replies)) continue;
    WindowMetadata metadata = metadataOf(replies, atoms);
    metadata.window = windows[i];
    metadata.processID = processes.processOf(windows[i]);
    metadata.isOnScreen =
        !isHidden(replies, atoms, shown) && !metadata.area.intersection(screen).isEmpty();
    metadata.canBeCaptured = fitsPixmap(*replies.geometry);
    known.push_back(std::move(metadata));
  }
  return known;
}

namespace {

constexpr std::size_t maxCharacters = 200;

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};

icu::UnicodeString converted(std::string_view bytes, const char* converterName) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, CloseConverter> converter(ucnv_open(converterName, &status));
  if (U_FAILURE(status)) return {};
  return {bytes.data(), static_cast<std::int32_t>(bytes.size()), converter.get(), status};
}

/// Removes and returns what precedes a mark, or everything if there is none.
std::string_view takeUpTo(std::string_view& bytes, std::string_view mark) {
  const std::string_view before = bytes.substr(0, bytes.find(mark));
  bytes.remove_prefix(std::min(before.size() + mark.size(), bytes.size()));
  return before;
}

/// Decodes the UTF-8 parts of newer programs apart, since the converter does not know them.
icu::UnicodeString decodedCompound(std::string_view bytes) {
  icu::UnicodeString text;
  while (!bytes.empty()) {
    text += converted(takeUpTo(bytes, "\x1B%G"), "x11-compound-text");
    text += icu::UnicodeString::fromUTF8(icuPiece(takeUpTo(bytes, "\x1B%@")));
  }
  return text;
}

icu::UnicodeString decoded(std::string_view bytes, TitleEncoding encoding) {
  switch (encoding) {
    case TitleEncoding::latin1:
      return converted(bytes, "ISO-8859-1");
    case TitleEncoding::compound:
      return decodedCompound(bytes);
    case TitleEncoding::utf8:
      break;
  }
  return icu::UnicodeString::fromUTF8(icuPiece(bytes));
}

bool isBlank(UChar32 character) {
  return u_isUWhiteSpace(character) != 0 || u_isISOControl(character) != 0;
}

bool turnsDirection(UChar32 character) {
  return u_hasBinaryProperty(character, UCHAR_BIDI_CONTROL) != 0;
}

/// Replaces each run of blanks and control characters by one space, and drops it at the ends.
icu::UnicodeString inOneLine(const icu::UnicodeString& text) {
  icu::UnicodeString line;
  bool isBlankPending = false;
  for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
    const UChar32 character = text.char32At(i);
    if (turnsDirection(character)) continue;
    if (isBlank(character)) {
      isBlankPending = !line.isEmpty();
      continue;
    }
    if (isBlankPending) line.append(u' ');
    isBlankPending = false;
    line.append(character);
  }
  return line;
}

}  // namespace

std::string windowTitle(std::string_view bytes, TitleEncoding encoding) {
  std::string line;
  inOneLine(decoded(bytes, encoding)).toUTF8String(line);
  const std::string_view shown = firstCharacters(line, maxCharacters);
  return shown.size() == line.size() ? line : std::string(shown).append("…");
}

}  // namespace tarvinel::x11
