#pragma once

#include <QAbstractNativeEventFilter>
#include <xcb/xcb.h>

#include <functional>

namespace tarvinel {

/// Whether the toolkit's X display has a tray that icons are embedded in: a window owns the tray's
/// selection. There is none where the toolkit is not on X. Lives on the main queue.
class EmbeddingTray : private QAbstractNativeEventFilter {
 public:
  /// Begins to look; `onChange` is called whenever `isThere` has changed.
  explicit EmbeddingTray(std::function<void()> onChange);
  ~EmbeddingTray() override;
  EmbeddingTray(const EmbeddingTray&) = delete;
  EmbeddingTray& operator=(const EmbeddingTray&) = delete;

  bool isThere() const { return isThere_; }

 private:
  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
  void watch();
  void set(bool isThere);

  const std::function<void()> onChange_;
  xcb_connection_t* const connection_;  ///< the toolkit's; null where it is not on X
  xcb_atom_t selection_ = XCB_ATOM_NONE;
  int changeEvent_ = 0;  ///< the event code of a selection's change of owner
  bool isThere_ = false;
};

}  // namespace tarvinel
