"""Browsers, each full-screen on an X display of its own, and the pages in them."""
from .browser import BrowserHost
from .chromium import Chromium
from .firefox import Firefox
from .webkit import WebKit

ENGINES = {engine.name: engine for engine in (Chromium, Firefox, WebKit)}

__all__ = ["ENGINES", "BrowserHost", "Chromium", "Firefox", "WebKit"]
