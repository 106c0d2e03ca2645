"""The upload page."""
from typing import NamedTuple

import numpy

from ..browsers.page import BrowserPage
from ..waiting import LIMIT
from ..x11.drag_and_drop import DragAndDrop

ROWS = ("Array.from(document.querySelectorAll('#queue li'), (row) =>"
        " [row.querySelector('.label').textContent, row.querySelector('progress').value,"
        "  row.querySelector('.status').textContent])")

PAGE = numpy.array([0x11, 0x11, 0x11])
BLUE = numpy.array([0x6A, 0xA9, 0xFF])
ORANGE = numpy.array([0xE2, 0x79, 0x1B])
RED = numpy.array([0xFF, 0x8A, 0x80])


class DraggedOver(NamedTuple):
    """How the drop zone looks while files are dragged over it."""
    edge: numpy.ndarray
    screenshot: str


OPEN_ZONE = DraggedOver(BLUE, "upload-over")
CLOSED_ZONE = DraggedOver((PAGE + BLUE) // 2, "upload-over-closed")


class UploadPage(BrowserPage):
    """The page as its participant uses it: typing a name, picking and dropping files."""

    CLOSED = "Uploads are closed right now, ask your Pro to open them"
    NOT_ACCEPTED = ("file type not accepted; allowed: 3fr, arw, cr2, cr3, dng, fff, heic, heif, "
                    "iiq, jpeg, jpg, nef, nrw, orf, pef, png, raf, rw2, srw, tif, tiff, x3f")
    TOO_LARGE = "files over 2 GB are not accepted"

    def open_as(self, program, participant):
        """Opens the page of a program that accepts uploads, and enters a name."""
        self.visit(program)
        self.browser.write("#name", participant)

    def visit(self, program):
        before = self._opened_at()
        self.open(program.listening_port(), "/upload")
        self.eventually(lambda: self._opened_at() not in (before, None)
                        and self.text("#total").endswith(("participant", "participants")),
                        "the page is loaded")

    def name(self):
        return self.browser.evaluate("document.getElementById('name').value")

    def text(self, selector):
        """Returns the text of an element, or an empty string if it is missing or hidden."""
        return self.browser.evaluate(
            f"(() => {{ const found = document.querySelector('{selector}');"
            " return found && !found.hidden ? found.textContent : ''; })()")

    def pick(self, *paths):
        self.browser.pick("#file-input", paths)

    def drag(self, folder, *paths):
        """Drags files with the mouse from another program's window onto the drop zone."""
        state = CLOSED_ZONE if self.text("#closed") else OPEN_ZONE
        with DragAndDrop(self.browser.screen, folder, paths) as drag:
            drag.drag_to(*self._drop_zone())
            self.eventually(lambda: drag.jiggle() or self._is_dragged_over(),
                            "the drop zone reacts to the drag")
            self.wait_until_seen("#drop", state.edge)
            self.keep_screenshot(state.screenshot)
            drag.drop()
        self.eventually(lambda: not self._is_dragged_over(), "the drop zone is idle")
        if not self.browser.hands_over_dropped_files:
            assert self.labels() == []
            self._drop_by_script(paths)

    def rows(self):
        """Returns label, progress and status of every file."""
        return self.browser.evaluate(ROWS)

    def labels(self):
        return [label for label, _, _ in self.rows()]

    def bars(self):
        """Returns the progress of each file in percent."""
        return [bar for _, bar, _ in self.rows()]

    def statuses(self):
        return [status for _, _, status in self.rows()]

    def wait_for_statuses(self, *expected, within=LIMIT):
        self.eventually(lambda: self.statuses() == list(expected), f"the files read {expected}",
                        within)

    def wait_for_text(self, selector, text):
        self.eventually(lambda: self.text(selector) == text, f"{selector} reads {text!r}")

    def wait_until_seen(self, selector, colour):
        """Waits until the element contains a pixel of about this colour."""
        self.eventually(lambda: (abs(self.pixels_of(selector) - colour).max(axis=2) < 24).any(),
                        f"{selector} is seen in {colour}")

    def keep_screenshot(self, name):
        """Saves a screenshot when the page no longer changes: the display may lag behind the DOM."""
        before = [None]

        def still():
            last, before[0] = before[0], self.pixels()
            return last is not None and (last == before[0]).all()

        self.eventually(still, "the page is still", every=0.2)
        super().keep_screenshot(name)

    def disabled(self):
        return self.browser.evaluate(
            "['name', 'pick', 'file-input'].map((id) => document.getElementById(id).disabled)")

    def failed(self):
        """Returns for each file whether it is shown as failed, with a red reason and no progress bar."""
        return self.browser.evaluate(
            "Array.from(document.querySelectorAll('#queue li'), (row) =>"
            f" getComputedStyle(row.querySelector('.status')).color === 'rgb{tuple(map(int, RED))}'"
            " && row.querySelector('progress').offsetHeight === 0)")

    def shorten_retry_delays(self):
        """Shortens the page's timers to 50 ms, and counts attempts from now on."""
        self.browser.evaluate(
            "(() => { const script = document.createElement('script');"
            " script.textContent = 'const original = setTimeout;'"
            "   + ' window.setTimeout = (action) => original(action, 50);'"
            "   + ' window.attempts = 0; const send = XMLHttpRequest.prototype.send;'"
            "   + ' XMLHttpRequest.prototype.send = function (file) {'"
            "   + '   ++window.attempts; send.call(this, file); };';"
            " document.head.append(script); })()")

    def attempts(self):
        """Returns how often files were sent since shorten_retry_delays()."""
        return self.browser.evaluate("window.attempts")

    def width(self):
        """Returns the width of all its content, including what can be scrolled to."""
        return self.browser.evaluate("document.documentElement.scrollWidth")

    def _drop_by_script(self, paths):
        """Dispatches a drop event with files that are picked in a temporary input."""
        self.browser.evaluate(
            "void document.body.insertAdjacentHTML('beforeend',"
            " '<input type=file multiple id=dropped style=position:absolute;opacity:0>')")
        self.browser.pick("#dropped", paths)
        self.browser.evaluate(
            "(() => { const input = document.getElementById('dropped');"
            " const event = new Event('drop', { bubbles: true, cancelable: true });"
            " event.dataTransfer = { files: input.files };"
            " document.getElementById('drop').dispatchEvent(event); input.remove(); })()")

    def _opened_at(self):
        """Returns the time at which the page was loaded, or None on another page."""
        return self.browser.evaluate("location.pathname === '/upload' ? performance.timeOrigin"
                                     " : null")

    def _is_dragged_over(self):
        return self.browser.evaluate("document.getElementById('drop').classList.contains('over')")

    def _drop_zone(self):
        """Returns the centre of the drop zone."""
        left, top, right, bottom = self.box("#drop")
        return (left + right) // 2, (top + bottom) // 2
