"""The page from which participants send photos, used as they use it."""
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
    """The drop zone while files are held over it."""
    edge: numpy.ndarray
    screenshot: str


OPEN_ZONE = DraggedOver(BLUE, "upload-over")
CLOSED_ZONE = DraggedOver((PAGE + BLUE) // 2, "upload-over-closed")


class UploadPage(BrowserPage):
    """What it says, and what its participant does: a name typed, files picked or dropped."""

    CLOSED = "Uploads are closed right now, ask your Pro to open them"
    NOT_ACCEPTED = ("file type not accepted; allowed: 3fr, arw, cr2, cr3, dng, fff, heic, heif, "
                    "iiq, jpeg, jpg, nef, nrw, orf, pef, png, raf, rw2, srw, tif, tiff, x3f")
    TOO_LARGE = "files over 2 GB are not accepted"

    def open_as(self, program, participant):
        """Opens the page of a program whose uploads are open, and enters a name."""
        self.visit(program)
        self.browser.write("#name", participant)

    def visit(self, program):
        before = self._opened_at()
        self.open(program.listening_port(), "/upload")
        self.eventually(lambda: self._opened_at() not in (before, None)
                        and self.text("#total").endswith(("participant", "participants")),
                        "the page is there")

    def name(self):
        return self.browser.evaluate("document.getElementById('name').value")

    def text(self, selector):
        """The text of an element, empty when there is none or it is hidden."""
        return self.browser.evaluate(
            f"(() => {{ const found = document.querySelector('{selector}');"
            " return found && !found.hidden ? found.textContent : ''; })()")

    def pick(self, *paths):
        self.browser.pick("#file-input", paths)

    def drag(self, folder, *paths):
        """Drags files with the mouse from another program's window and drops them."""
        state = CLOSED_ZONE if self.text("#closed") else OPEN_ZONE
        with DragAndDrop(self.browser.screen, folder, paths) as drag:
            drag.drag_to(*self._drop_zone())
            self.eventually(lambda: drag.jiggle() or self._is_dragged_over(),
                            "the drop zone is ready to take them")
            self.wait_until_seen("#drop", state.edge)
            self.keep_screenshot(state.screenshot)
            drag.drop()
        self.eventually(lambda: not self._is_dragged_over(), "the drop zone is at rest")
        if not self.browser.hands_over_dropped_files:
            assert self.labels() == []
            self._drop_by_script(paths)

    def rows(self):
        """Label, bar and status of every file."""
        return self.browser.evaluate(ROWS)

    def labels(self):
        return [label for label, _, _ in self.rows()]

    def bars(self):
        """How far each file is, in percent."""
        return [bar for _, bar, _ in self.rows()]

    def statuses(self):
        return [status for _, _, status in self.rows()]

    def wait_for_statuses(self, *expected, within=LIMIT):
        self.eventually(lambda: self.statuses() == list(expected), f"the files read {expected}",
                        within)

    def wait_for_text(self, selector, text):
        self.eventually(lambda: self.text(selector) == text, f"{selector} reads {text!r}")

    def wait_until_seen(self, selector, colour):
        """Waits until there is something of this colour where the element is on the display."""
        self.eventually(lambda: (abs(self.pixels_of(selector) - colour).max(axis=2) < 24).any(),
                        f"{selector} is seen in {colour}")

    def keep_screenshot(self, name):
        """As soon as it is still; what a driver tells is not always painted yet."""
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
        """Whether a file looks like one that was not taken: a reason in red, and no bar; for each file."""
        return self.browser.evaluate(
            "Array.from(document.querySelectorAll('#queue li'), (row) =>"
            f" getComputedStyle(row.querySelector('.status')).color === 'rgb{tuple(map(int, RED))}'"
            " && row.querySelector('progress').offsetHeight === 0)")

    def hurry(self):
        """Makes what the page waits for before another attempt happen at once, and counts attempts."""
        self.browser.evaluate(
            "(() => { const script = document.createElement('script');"
            " script.textContent = 'const patient = setTimeout;'"
            "   + ' window.setTimeout = (action) => patient(action, 50);'"
            "   + ' window.attempts = 0; const send = XMLHttpRequest.prototype.send;'"
            "   + ' XMLHttpRequest.prototype.send = function (file) {'"
            "   + '   ++window.attempts; send.call(this, file); };';"
            " document.head.append(script); })()")

    def attempts(self):
        """How often files were sent since hurry()."""
        return self.browser.evaluate("window.attempts")

    def width(self):
        """Of all its content, what can be scrolled to included."""
        return self.browser.evaluate("document.documentElement.scrollWidth")

    def _drop_by_script(self, paths):
        """A drop as a browser would report it; the files are picked in an input made for it."""
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
        """A number of its own for each time that it is opened; None on another page."""
        return self.browser.evaluate("location.pathname === '/upload' ? performance.timeOrigin"
                                     " : null")

    def _is_dragged_over(self):
        return self.browser.evaluate("document.getElementById('drop').classList.contains('over')")

    def _drop_zone(self):
        """Its middle."""
        left, top, right, bottom = self.box("#drop")
        return (left + right) // 2, (top + bottom) // 2
