#pragma once

#include "core/support/Geometry.h"
#include "tests/support/XClient.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// A window of a client, on the screen from the start and until it is closed or the client
/// disconnects. Every call has taken effect in the server when it returns.
class XWindow {
 public:
  struct Look {
    /// 0xRRGGBB; nullopt: the server paints nothing itself.
    std::optional<std::uint32_t> background = std::nullopt;
    bool isUnmanaged = false;        ///< as menus are (override-redirect)
    bool hasAlpha = false;           ///< of a visual with 32 bits
    std::uint16_t border = 0;        ///< pixels, of colour 0
    xcb_window_t parent = XCB_NONE;  ///< XCB_NONE: the root window
    bool isMapped = true;
  };

  XWindow(XClient& client, const PixelRect& area, const Look& look);

  std::uint32_t id() const { return id_; }

  /// Fills a part of the window with 0xAARRGGBB.
  void fill(const PixelRect& rect, std::uint32_t colour);

  void place(const PixelRect& area);
  void raise();
  void map();
  void unmap();
  void close();
  void reparent(xcb_window_t parent);

  void setText(const std::string& property, const std::string& type, const std::string& bytes);
  void setNumbers(const std::string& property, const std::string& type,
                  const std::vector<std::uint32_t>& numbers);

 private:
  xcb_connection_t* c() const { return client_.get(); }

  XClient& client_;
  std::uint32_t id_;
};

}  // namespace tarvinel
