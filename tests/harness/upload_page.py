"""The page from which participants send photos, used as they use it."""
from .dragging import Dragging
from .shown_page import LIMIT, ShownPage

ROWS = ("Array.from(document.querySelectorAll('#queue li'), (row) =>"
        " [row.querySelector('.label').textContent, row.querySelector('progress').value,"
        "  row.querySelector('.status').textContent])")


class UploadPage(ShownPage):
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
        port = program.listening_port()
        before = self._opened_at()
        self.open(port, "/upload")
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
        with Dragging(self.browser.screen, folder, paths) as dragging:
            dragging.hold(*self._drop_zone())
            self.eventually(self._is_dragged_over, "the drop zone is ready to take them")
            self.keep_screenshot("upload-over")
            dragging.release()
        self.eventually(lambda: not self._is_dragged_over(), "the drop zone is at rest")

    def labels(self):
        return [label for label, _, _ in self._rows()]

    def bars(self):
        """How far each file is, in percent."""
        return [bar for _, bar, _ in self._rows()]

    def statuses(self):
        return [status for _, _, status in self._rows()]

    def wait_for_statuses(self, *expected, within=LIMIT):
        self.eventually(lambda: self.statuses() == list(expected), f"the files read {expected}",
                        within)

    def wait_for_text(self, selector, text):
        self.eventually(lambda: self.text(selector) == text, f"{selector} reads {text!r}")

    def disabled(self):
        return self.browser.evaluate(
            "['name', 'pick', 'file-input'].map((id) => document.getElementById(id).disabled)")

    def hurry(self):
        """Makes what the page waits for before another attempt happen at once."""
        self.browser.evaluate(
            "(() => { const script = document.createElement('script');"
            " script.textContent = 'const patient = setTimeout;'"
            "   + ' window.setTimeout = (action) => patient(action, 50);';"
            " document.head.append(script); })()")

    def width(self):
        """Of all its content, what can be scrolled to included."""
        return self.browser.evaluate("document.documentElement.scrollWidth")

    def _rows(self):
        return self.browser.evaluate(ROWS)

    def _opened_at(self):
        """A number of its own for each time that it is opened; None on another page."""
        return self.browser.evaluate("location.pathname === '/upload' ? performance.timeOrigin"
                                     " : null")

    def _is_dragged_over(self):
        return self.browser.evaluate("document.getElementById('drop').classList.contains('over')")

    def _drop_zone(self):
        """Its middle, on the display: the page fills it."""
        return self.browser.evaluate(
            "(() => { const box = document.getElementById('drop').getBoundingClientRect();"
            " return [box.x + box.width / 2, box.y + box.height / 2].map(Math.round); })()")
