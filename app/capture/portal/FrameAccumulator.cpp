#include "app/capture/portal/FrameAccumulator.h"

#include "app/capture/portal/TruncationGuard.h"

#include <utility>

namespace tarvinel::portal {

namespace {

/// Returns the damage in the content's coordinates.
PixelRects within(const PixelRects& damage, const PixelRect& content) {
  PixelRects inside;
  for (const PixelRect& rect : damage) {
    const PixelRect common = rect.intersection(content);
    if (!common.isEmpty()) inside.push_back(common.relativeTo(content.x, content.y));
  }
  return inside;
}

}  // namespace

FrameAccumulator::FrameAccumulator(Logger logger, Handlers handlers)
    : logger_(std::move(logger)), handlers_(std::move(handlers)) {}

void FrameAccumulator::setFormat(const std::optional<VideoFormat>& format) {
  format_ = format;
  damage_.reset();
}

bool FrameAccumulator::add(const pw_buffer& buffer) {
  recordCursor(buffer);
  if (!hasPicture(buffer)) {
    damage_.reset();
    return false;
  }
  recordDamage(buffer);
  return true;
}

void FrameAccumulator::show(const pw_buffer& buffer) {
  const StreamBuffer given(buffer);
  const auto picture = given.picture(*format_);
  recordView(given.content(frameArea()), given.transform());
  if (!picture) return loseTrack();
  const auto changed = damage_ ? std::optional(within(*damage_, content_)) : std::nullopt;
  damage_.emplace();
  const TruncationGuard guard(given.sharedMap());
  const auto turned = rotator_.turn(picture->part(content_), transform_, changed);
  handlers_.onPicture(turned.picture, turned.changed);
  if (guard.wasTruncated()) loseTrack();
}

void FrameAccumulator::showFound(const pw_buffer& buffer) {
  recordCursor(buffer);
  damage_.reset();
  show(buffer);
  damage_.reset();
  showCursor();
}

void FrameAccumulator::showCursor() {
  if (!std::exchange(cursorChanged_, false)) return;
  auto cursor = cursor_.image();
  if (cursor) {
    cursor->area = cursor->area.relativeTo(content_.x, content_.y);
    cursor = transform_.upright(*cursor, content_);
  }
  handlers_.onCursor(cursor);
}

void FrameAccumulator::recordCursor(const pw_buffer& buffer) {
  const auto metadata = StreamBuffer(buffer).cursorMetadata();
  if (metadata.empty()) return;
  cursorChanged_ = cursor_.read(metadata.data(), metadata.size()) || cursorChanged_;
}

bool FrameAccumulator::hasPicture(const pw_buffer& buffer) {
  if (!format_) return false;
  const StreamBuffer given(buffer);
  if (given.picture(*format_)) return true;
  if (given.announcedPicture(*format_)) {
    loseTrack();
  } else if (given.claimsPicture()) {
    reportNonsense();
  }
  return false;
}

void FrameAccumulator::recordDamage(const pw_buffer& buffer) {
  const auto damage = StreamBuffer(buffer).damage(frameArea());
  if (!damage) return damage_.reset();
  if (damage_) damage_->insert(damage_->end(), damage->begin(), damage->end());
}

/// The picture was missing or incomplete, so the next one is shown as a whole. This is logged once,
/// since such a producer may continue like that.
void FrameAccumulator::loseTrack() {
  damage_.reset();
  if (std::exchange(reportedLoss_, true)) return;
  logger_->warn("lost a picture: the desktop gave less memory than it said, or took it back");
}

/// This is logged once as well.
void FrameAccumulator::reportNonsense() {
  if (std::exchange(reportedNonsense_, true)) return;
  logger_->warn("ignored a picture: the desktop describes its memory in a way that makes no sense");
}

/// Another part of the frame, or another rotation of it, is another picture in which the cursor has
/// another place.
void FrameAccumulator::recordView(const PixelRect& content, const VideoTransform& transform) {
  if (content_ == content && transform_ == transform) return;
  content_ = content;
  transform_ = transform;
  damage_.reset();
  cursorChanged_ = true;
}

PixelRect FrameAccumulator::frameArea() const {
  return {0, 0, format_->width, format_->height};
}

}  // namespace tarvinel::portal
