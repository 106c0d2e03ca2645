#include "app/capture/x11/X11Extensions.h"

#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Error.h"

#include <xcb/composite.h>
#include <xcb/render.h>
#include <xcb/xfixes.h>

namespace tarvinel {

namespace {

bool hasWindowPixmaps(const X11Connection& connection) {
  if (connection.extension(xcb_composite_id) == nullptr) return false;
  const auto version = connection.reply(xcb_composite_query_version_reply,
                                        xcb_composite_query_version(connection.get(), 0, 4));
  return version->major_version > 0 || version->minor_version >= 2;
}

}  // namespace

bool negotiateXFixes(const X11Connection& connection) {
  if (connection.extension(xcb_xfixes_id) == nullptr) return false;
  const auto version = connection.reply(xcb_xfixes_query_version_reply,
                                        xcb_xfixes_query_version(connection.get(), 4, 0));
  return version->major_version >= 2;
}

void requireComposite(const X11Connection& connection) {
  if (hasWindowPixmaps(connection)) return;
  throw X11Error(X11Error::Case::noCompositeExtension,
                 "the X server cannot show single windows (no Composite extension)");
}

bool negotiateRender(const X11Connection& connection) {
  if (connection.extension(xcb_render_id) == nullptr) return false;
  connection.reply(xcb_render_query_version_reply,
                   xcb_render_query_version(connection.get(), 0, 11));
  return true;
}

}  // namespace tarvinel
