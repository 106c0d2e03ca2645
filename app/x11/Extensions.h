#pragma once

namespace tarvinel::x11 {

class Connection;

/// Negotiates XFixes; returns false if the server lacks its regions (version 2). Throws Error.
bool negotiateXFixes(const Connection& connection);

/// Negotiates Composite. Throws Error, with noCompositeExtension if the server cannot give access
/// to what windows draw (version 0.2).
void requireComposite(const Connection& connection);

/// Negotiates Render; returns false if the server lacks it. Throws Error.
bool negotiateRender(const Connection& connection);

}  // namespace tarvinel::x11
