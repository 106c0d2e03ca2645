"""A desktop that shares what the test says."""
from .portal_session import PortalDesktop
from .scripted_backend import PORTAL_FILE, ScreenCastBackEnd


class GrantingDesktop(PortalDesktop):
    """A session whose back end of the portal is the test's own; `back_end` is what that takes."""

    def __init__(self, **back_end):
        self._wanted = back_end
        super().__init__()

    def _start_desktop(self):
        (self.folder / "portals").mkdir()
        (self.folder / "portals/test.portal").write_text(PORTAL_FILE)
        self._give(self.folder / "portals")
        self.back_end = ScreenCastBackEnd(self.bus_address, **self._wanted)
        self._started.callback(self.back_end.stop)

    def _variables(self):
        return {"XDG_CURRENT_DESKTOP": "tarvineltest",
                "XDG_DESKTOP_PORTAL_DIR": str(self.folder / "portals")}
