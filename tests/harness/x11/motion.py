"""A screen that changes continuously."""
import threading


class Motion:
    """A context manager in which a thread repaints the canvas about twenty times a second, each time
    with the next number. Nothing else may use the canvas during that time."""

    INTERVAL = 0.05

    def __init__(self, canvas):
        self._canvas = canvas
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._paint)
        self.latest = 0

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *unused):
        self._stop.set()
        self._thread.join()

    def _paint(self):
        while not self._stop.wait(self.INTERVAL):
            self.latest += 1
            self._canvas.text(self.latest, number=self.latest)
