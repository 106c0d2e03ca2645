#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"
#include "core/support/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// A display as a capture service reports it.
struct ShareableDisplay {
  std::uint32_t displayID = 0;
  Rect frame;  ///< global screen points
  bool isMain = false;
};

/// A running application as a capture service reports it.
struct ShareableApplication {
  std::int32_t processID = 0;
  std::optional<std::string> name;  ///< as shown to people
  std::optional<std::string> bundleID;
};

/// An on-screen window as a capture service reports it.
struct ShareableWindow {
  std::uint32_t windowID = 0;
  std::optional<std::string> title;
  std::optional<ShareableApplication> application;  ///< nullopt: no owning application
  std::int64_t layer = 0;                           ///< 0 is the normal application layer
  Rect frame;                                       ///< global screen points
};

/// An entry whose source the presenter chooses in the desktop's dialog when it is shared.
struct ShareableChoice {
  enum class Kind : std::uint8_t { display, window };

  Kind kind = Kind::display;
  std::uint32_t number = 0;  ///< used as its display or window ID
  std::string title;
  Size size;  ///< points; assumed until a frame reports the real size
};

/// The sources that can be shared now, in the service's order.
struct ShareableContent {
  std::vector<ShareableDisplay> displays;
  std::vector<ShareableWindow> windows;
  std::vector<ShareableWindow> windowsOutOfSight;  ///< hidden or on another workspace; not listed
  std::vector<ShareableChoice> choices;
};

/// The status of a captured frame. Only the first two come with a usable picture.
enum class FrameStatus : std::uint8_t { complete, idle, blank, suspended, started, stopped };

/// One sample of a capture stream with its metadata. Points times `scaleFactor` are the buffer's
/// pixels.
struct CapturedFrame {
  std::shared_ptr<PixelBuffer> buffer;          ///< null: a sample without a picture
  std::optional<FrameStatus> status;            ///< nullopt counts as complete
  std::optional<Rect> contentRect;              ///< points; where in the buffer the content is
  std::optional<double> scaleFactor;            ///< nullopt counts as 1
  std::optional<std::vector<Rect>> dirtyRects;  ///< points; nullopt: the change is not known
  std::optional<Size> sourceSize;  ///< points; set if the listing could not know the source's size
};

/// The part of the screen that a stream shows: one display, one window, or one application's
/// windows on one display.
struct ContentFilter {
  enum class Kind : std::uint8_t { display, window, application };

  Kind kind = Kind::display;
  std::uint32_t displayID = 0;  ///< for display and application
  std::uint32_t windowID = 0;   ///< for window
  std::int32_t processID = 0;   ///< for application
};

/// The requested properties of a stream. A service never enlarges native pixels: `width` and
/// `height` are the largest size that anybody views, to which the engine reduces frames.
struct StreamConfiguration {
  std::int64_t width = 0;            ///< pixels
  std::int64_t height = 0;           ///< pixels
  std::int32_t framesPerSecond = 1;  ///< at most; a frame after stillness may come at once
  bool showsCursor = true;
};

/// The handlers of a stream's events; both are called on the capture queue.
struct StreamHandlers {
  /// Receives one frame. A service that draws into one persistent buffer may pass the same buffer
  /// again with new contents; it changes the contents only on the capture queue.
  std::function<void(const CapturedFrame&)> onFrame;

  /// Is called when the stream ended by itself: at most once, last, and never after `stop`.
  std::function<void(std::exception_ptr)> onStop;
};

/// One running capture. All calls and completions are on the capture queue. Destroying it stops it
/// without calling a handler.
class CaptureStream {
 public:
  virtual ~CaptureStream() = default;
  CaptureStream() = default;
  CaptureStream(const CaptureStream&) = delete;
  CaptureStream& operator=(const CaptureStream&) = delete;

  /// Begins to deliver frames, of which the first covers the whole source. Completes before it.
  virtual void start(Completion<void> completion) = 0;

  /// Stops delivering; no handler is called any more once this has been called.
  virtual void stop(Completion<void> completion) = 0;
};

/// The platform's screen capture: X11, the desktop portal, a built-in picture, or a fake in tests.
/// Lives on the capture queue (".capture"): every call, completion and handler is on it.
class ScreenCaptureService {
 public:
  virtual ~ScreenCaptureService() = default;
  ScreenCaptureService() = default;
  ScreenCaptureService(const ScreenCaptureService&) = delete;
  ScreenCaptureService& operator=(const ScreenCaptureService&) = delete;

  /// Lists the displays and the on-screen windows, desktop windows excluded. Never opens a dialog.
  virtual void shareableContent(Completion<ShareableContent> completion) = 0;

  /// Prepares a stream; throws if that fails.
  virtual std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                                    const StreamConfiguration& configuration,
                                                    StreamHandlers handlers) = 0;
};

}  // namespace tarvinel
