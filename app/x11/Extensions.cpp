#include "app/x11/Extensions.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <xcb/composite.h>
#include <xcb/render.h>
#include <xcb/xfixes.h>

namespace tarvinel::x11 {

namespace {

bool hasWindowPixmaps(const Connection& connection) {
  if (connection.extension(xcb_composite_id) == nullptr) return false;
  const auto version = connection.reply(xcb_composite_query_version_reply,
                                        xcb_composite_query_version(connection.get(), 0, 4));
  return version->major_version > 0 || version->minor_version >= 2;
}

}  // namespace

bool negotiateXFixes(const Connection& connection) {
  if (connection.extension(xcb_xfixes_id) == nullptr) return false;
  const auto version = connection.reply(xcb_xfixes_query_version_reply,
                                        xcb_xfixes_query_version(connection.get(), 4, 0));
  return version->major_version >= 2;
}

void requireComposite(const Connection& connection) {
  if (hasWindowPixmaps(connection)) return;
  throw Error(Error::Case::noCompositeExtension,
              "the X server cannot show single windows (no Composite extension)");
}

bool negotiateRender(const Connection& connection) {
  if (connection.extension(xcb_render_id) == nullptr) return false;
  connection.reply(xcb_render_query_version_reply,
                   xcb_render_query_version(connection.get(), 0, 11));
  return true;
}

}  // namespace tarvinel::x11
