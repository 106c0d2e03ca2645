"""Wayland sessions: compositors, the desktop portal with real and scripted backends, PipeWire producers."""
