#include "app/model/QuietCard.h"

#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/UnicodeText.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <memory>
#include <new>

namespace tarvinel {

namespace {

constexpr std::size_t maxTextLength = 500;  // characters
constexpr std::int64_t maxSide = 3840;      // pixels; viewers scale it up as they do a picture
constexpr int quality = 92;
constexpr double background = 0x11 / 255.0;
constexpr double letters = 0xB8 / 255.0;
constexpr double lettersPerWidth = 64;  // about as on the page in a window of ordinary size
constexpr double minLetterSize = 8;     // pixels
constexpr double textPerWidth = 0.9;
constexpr double textPerHeight = 0.9;

PixelSize bounded(const PixelSize& size) {
  const auto longest = std::max({size.width, size.height, maxSide});
  return {std::max<std::int64_t>(1, size.width * maxSide / longest),
          std::max<std::int64_t>(1, size.height * maxSide / longest)};
}

struct Release {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(PangoLayout* layout) const { g_object_unref(layout); }
  void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};

template <class T>
using Owned = std::unique_ptr<T, Release>;

Owned<cairo_surface_t> surfaceOf(const PixelSize& size) {
  Owned<cairo_surface_t> surface(cairo_image_surface_create(
      CAIRO_FORMAT_RGB24, static_cast<int>(size.width), static_cast<int>(size.height)));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) throw std::bad_alloc();
  return surface;
}

Owned<PangoLayout> layoutOf(cairo_t* context, const std::string& text, const PixelSize& size) {
  const auto width = static_cast<double>(size.width);
  const auto height = static_cast<double>(size.height);
  const Owned<PangoFontDescription> font(pango_font_description_from_string("Sans"));
  pango_font_description_set_absolute_size(
      font.get(), std::max(minLetterSize, width / lettersPerWidth) * PANGO_SCALE);
  Owned<PangoLayout> layout(pango_cairo_create_layout(context));
  pango_layout_set_font_description(layout.get(), font.get());
  pango_layout_set_width(layout.get(), static_cast<int>(width * textPerWidth * PANGO_SCALE));
  pango_layout_set_height(layout.get(), static_cast<int>(height * textPerHeight * PANGO_SCALE));
  pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
  pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
  pango_layout_set_alignment(layout.get(), PANGO_ALIGN_CENTER);
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  return layout;
}

void drawCentred(cairo_t* context, PangoLayout* layout, const PixelSize& size) {
  PangoRectangle text;
  pango_layout_get_pixel_extents(layout, nullptr, &text);
  const auto height = static_cast<double>(size.height);
  cairo_move_to(context, static_cast<double>(size.width) * (1 - textPerWidth) / 2,
                (height - text.height) / 2);
  cairo_set_source_rgb(context, letters, letters, letters);
  pango_cairo_show_layout(context, layout);
}

Owned<cairo_surface_t> drawn(const std::string& text, const PixelSize& size) {
  auto surface = surfaceOf(size);
  const Owned<cairo_t> context(cairo_create(surface.get()));
  cairo_set_source_rgb(context.get(), background, background, background);
  cairo_paint(context.get());
  drawCentred(context.get(), layoutOf(context.get(), text, size).get(), size);
  cairo_surface_flush(surface.get());
  return surface;
}

Frame encoded(cairo_surface_t* surface) {
  const PixelView picture{cairo_image_surface_get_data(surface),
                          static_cast<std::size_t>(cairo_image_surface_get_width(surface)),
                          static_cast<std::size_t>(cairo_image_surface_get_height(surface)),
                          static_cast<std::size_t>(cairo_image_surface_get_stride(surface))};
  return std::make_shared<const Bytes>(writeJPEG(picture, quality, ChromaSampling::full));
}

}  // namespace

QuietCard::QuietCard(std::string_view text) : text_(firstCharacters(text, maxTextLength)) {
  std::erase(text_, '\0');  // Pango treats it as the end of the text
}

Frame QuietCard::ofSize(const PixelSize& size) {
  if (size_ != size) {
    card_ = encoded(drawn(text_, bounded(size)).get());
    size_ = size;
  }
  return card_;
}

}  // namespace tarvinel
