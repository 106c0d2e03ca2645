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
  std::optional<std::string> name;  ///< for people
  std::optional<std::string> bundleID;
};

/// An on-screen window as a capture service reports it.
struct ShareableWindow {
  std::uint32_t windowID = 0;
  std::optional<std::string> title;
  std::optional<ShareableApplication> application;  ///< absent: no owning application
  std::int64_t layer = 0;                           ///< 0 is the normal application layer
  Rect frame;                                       ///< global screen points
};

/// Something to share that is settled only in a dialog of the desktop when it is shared.
struct ShareableChoice {
  enum class Kind : std::uint8_t { display, window };

  Kind kind = Kind::display;
  std::uint32_t number = 0;  ///< as of a display or window
  std::string title;
  Size size;  ///< points; assumed until a frame tells
};

/// What can be shared now, in the service's order.
struct ShareableContent {
  std::vector<ShareableDisplay> displays;
  std::vector<ShareableWindow> windows;
  std::vector<ShareableWindow> windowsOutOfSight;  ///< minimised, on another workspace: not offered
  std::vector<ShareableChoice> choices;
};

/// What a captured frame is, in the numbering of the attachment that carries it.
enum class FrameStatus : std::uint8_t { complete, idle, blank, suspended, started, stopped };

/// One sample of a capture stream with its facts. Points times `scaleFactor` are the buffer's
/// pixels.
struct CapturedFrame {
  std::shared_ptr<PixelBuffer> buffer;          ///< null: a sample without a picture
  std::optional<FrameStatus> status;            ///< absent counts as complete
  std::optional<Rect> contentRect;              ///< points; where in the buffer the content is
  std::optional<double> scaleFactor;            ///< absent counts as 1
  std::optional<std::vector<Rect>> dirtyRects;  ///< points; absent: nothing is known of the change
  std::optional<Size> sourceSize;  ///< points; of a source whose size the listing could not tell
};

/// Which part of the screen a stream shows: one display, one window, or one application's windows
/// on one display.
struct ContentFilter {
  enum class Kind : std::uint8_t { display, window, application };

  Kind kind = Kind::display;
  std::uint32_t displayID = 0;  ///< for display and application
  std::uint32_t windowID = 0;   ///< for window
  std::int32_t processID = 0;   ///< for application
};

/// How a stream is to deliver. A service delivers native pixels and never enlarges: `width` and
/// `height` are the most that anybody will look at, the engine fits what comes by reducing it.
struct StreamConfiguration {
  std::int64_t width = 0;            ///< pixels
  std::int64_t height = 0;           ///< pixels
  std::int32_t framesPerSecond = 1;  ///< a service may deliver at once after stillness, and then
                                     ///< not more often than this
  bool showsCursor = true;
};

/// Where a stream reports; both are called on the capture queue.
struct StreamHandlers {
  /// One frame. A service that draws into one persistent buffer may pass the same buffer again with
  /// new contents; it changes the contents only on the capture queue.
  std::function<void(const CapturedFrame&)> onFrame;

  /// The stream ended by itself; at most once, never after `stop` was called, and nothing follows.
  std::function<void(std::exception_ptr)> onStop;
};

/// One running capture. All calls and completions are on the capture queue. Destroying it stops it
/// without a report.
class CaptureStream {
 public:
  virtual ~CaptureStream() = default;
  CaptureStream() = default;
  CaptureStream(const CaptureStream&) = delete;
  CaptureStream& operator=(const CaptureStream&) = delete;

  /// Begins delivering; the first frame covers the whole source. Completes before the first frame.
  virtual void start(Completion<void> completion) = 0;

  /// Ends delivering; no handler is called any more once this has been called.
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

  /// Prepares a stream; throws when that cannot be done.
  virtual std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                                    const StreamConfiguration& configuration,
                                                    StreamHandlers handlers) = 0;
};

}  // namespace tarvinel
