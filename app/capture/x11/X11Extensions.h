#pragma once

namespace tarvinel {

class X11Connection;

/// Negotiates XFixes; false when the server does not have its regions (version 2). Throws X11Error.
bool negotiateXFixes(const X11Connection& connection);

/// Negotiates Composite. Throws X11Error, with noCompositeExtension when the server cannot give
/// access to what windows draw (version 0.2).
void requireComposite(const X11Connection& connection);

/// Negotiates Render; false when the server does not have it. Throws X11Error.
bool negotiateRender(const X11Connection& connection);

}  // namespace tarvinel
