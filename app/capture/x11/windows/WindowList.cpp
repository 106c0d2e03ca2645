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

ShareableApplication applicationOf(const WindowMetadata& facts, std::int32_t ownProcess) {
  ShareableApplication application{facts.processID, facts.className, facts.className};
  // the class tells of another run of this program
  const bool isOwn = facts.processID == ownProcess || facts.className == windowClass;
  if (isOwn) application.bundleID = std::string(applicationIdentifier);
  return application;
}

}  // namespace

ShareableWindow shareableWindow(const WindowMetadata& facts, int scale, std::int32_t ownProcess) {
  const Rect pixels = facts.area.rect();
  ShareableWindow window;
  window.windowID = facts.window;
  window.title = facts.title;
  window.layer = facts.role == WindowMetadata::Role::ordinary ? 0 : aboveApplications;
  window.frame = {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale};
  if (facts.processID != 0) window.application = applicationOf(facts, ownProcess);
  return window;
}

WindowList listWindows(const Connection& connection, int scale) {
  const Atoms atoms(connection);
  WindowList windows;
  for (const WindowMetadata& facts :
       readWindowFacts(connection, atoms, listClientWindows(connection, atoms))) {
    if (facts.role == WindowMetadata::Role::desktop) continue;
    auto& those = facts.isOnScreen && facts.canBeCaptured ? windows.inSight : windows.outOfSight;
    those.push_back(shareableWindow(facts, scale, getpid()));
  }
  return windows;
}

namespace {

constexpr std::uint32_t mostTitleBytes = 16384;

/// The requests for one window, under way.
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

/// What came of them; null or none where it is missing.
struct Answers {
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
          askForProperty(connection, window, atoms.name, mostTitleBytes),
          askForProperty(connection, window, XCB_ATOM_WM_NAME, mostTitleBytes),
          askForProperty(connection, window, XCB_ATOM_WM_CLASS),
          askForProperty(connection, window, atoms.windowType),
          askForProperty(connection, window, atoms.state),
          askForProperty(connection, window, atoms.wmState),
          askForProperty(connection, window, atoms.workspace),
          askForProperty(connection, window, atoms.frameExtents)};
}

/// Takes every answer, whatever is missing: none may stay behind in xcb.
Answers take(const Connection& connection, const Requests& requests) {
  return {connection.replyIfAny(xcb_get_window_attributes_reply, requests.attributes),
          connection.replyIfAny(xcb_get_geometry_reply, requests.geometry),
          connection.replyIfAny(xcb_translate_coordinates_reply, requests.place),
          takeProperty(connection, requests.name),
          takeProperty(connection, requests.oldName),
          takeProperty(connection, requests.className),
          takeProperty(connection, requests.type),
          takeProperty(connection, requests.state),
          takeProperty(connection, requests.wmState),
          takeProperty(connection, requests.workspace),
          takeProperty(connection, requests.margins)};
}

TitleEncoding encodingOf(const Property& property, const Atoms& atoms) {
  if (property.type == atoms.utf8String) return TitleEncoding::utf8;
  return property.type == atoms.compoundText ? TitleEncoding::compound : TitleEncoding::latin1;
}

std::string textOf(const std::optional<Property>& property, const Atoms& atoms) {
  if (!property || property->format != 8) return {};
  return windowTitle(property->bytes, encodingOf(*property, atoms));
}

std::optional<std::string> titleOf(const Answers& answers, const Atoms& atoms) {
  std::string title = textOf(answers.name, atoms);
  if (title.empty()) title = textOf(answers.oldName, atoms);
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

/// What window managers leave alone (override-redirect) is a menu or a panel.
WindowMetadata::Role roleOf(const Answers& answers, const Atoms& atoms) {
  if (answers.attributes->override_redirect != 0) return WindowMetadata::Role::accessory;
  const auto types = answers.type ? answers.type->numbers() : std::vector<std::uint32_t>{};
  if (types.empty()) return WindowMetadata::Role::ordinary;
  const auto has = [&](xcb_atom_t one) {
    return std::find(types.begin(), types.end(), one) != types.end();
  };
  if (has(atoms.typeDesktop)) return WindowMetadata::Role::desktop;
  const bool isOrdinary = has(atoms.typeNormal) || has(atoms.typeDialog);
  return isOrdinary ? WindowMetadata::Role::ordinary : WindowMetadata::Role::accessory;
}

bool isHidden(const Answers& answers, const Atoms& atoms,
              std::optional<std::uint32_t> shownWorkspace) {
  const auto states = answers.state ? answers.state->numbers() : std::vector<std::uint32_t>{};
  return answers.attributes->map_state != XCB_MAP_STATE_VIEWABLE || isIconic(answers.wmState) ||
         isOnAnotherWorkspace(answers.workspace, shownWorkspace) ||
         std::find(states.begin(), states.end(), atoms.stateHidden) != states.end();
}

WindowMetadata factsOf(const Answers& answers, const Atoms& atoms) {
  WindowMetadata facts;
  facts.title = titleOf(answers, atoms);
  facts.className = classNameOf(answers.className);
  facts.role = roleOf(answers, atoms);
  facts.area = withoutMargins({answers.place->dst_x, answers.place->dst_y, answers.geometry->width,
                               answers.geometry->height},
                              marginsIn(answers.margins));
  return facts;
}

bool isWindow(const Answers& answers) {
  return answers.attributes && answers.geometry && answers.place &&
         answers.attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

}  // namespace

std::vector<WindowMetadata> readWindowFacts(const Connection& connection, const Atoms& atoms,
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
    const Answers answers = take(connection, requests[i]);
    if (!isWindow(answers)) continue;
    WindowMetadata facts = factsOf(answers, atoms);
    facts.window = windows[i];
    facts.processID = processes.processOf(windows[i]);
    facts.isOnScreen =
        !isHidden(answers, atoms, shown) && !facts.area.intersection(screen).isEmpty();
    facts.canBeCaptured = fitsPixmap(*answers.geometry);
    known.push_back(std::move(facts));
  }
  return known;
}

namespace {

constexpr std::size_t mostCharacters = 200;

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};

icu::UnicodeString converted(std::string_view bytes, const char* converterName) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, CloseConverter> converter(ucnv_open(converterName, &status));
  if (U_FAILURE(status)) return {};
  return {bytes.data(), static_cast<std::int32_t>(bytes.size()), converter.get(), status};
}

/// Takes off and returns what comes before a mark; all of it, when there is none.
std::string_view takeUpTo(std::string_view& bytes, std::string_view mark) {
  const std::string_view before = bytes.substr(0, bytes.find(mark));
  bytes.remove_prefix(std::min(before.size() + mark.size(), bytes.size()));
  return before;
}

/// The converter does not know the parts in UTF-8 that newer programs put in.
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

/// Blanks and control characters become one space each run, at the ends none.
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
  const std::string_view shown = firstCharacters(line, mostCharacters);
  return shown.size() == line.size() ? line : std::string(shown).append("…");
}

}  // namespace tarvinel::x11
