"""Steps that are taken one after the other, each with its seconds and its result."""
import time
import traceback


class Steps:
    """Takes steps; `picture(name)` makes a screenshot of what a failed step has left."""

    def __init__(self, picture):
        self._picture = picture
        self._passed = self._failed = 0

    def take(self, name, step):
        """Calls step(). A step that fails does not keep the next one from being taken."""
        started = time.monotonic()
        try:
            step()
        except Exception:
            self._failed += 1
            self._tell("FAILED", started, name)
            traceback.print_exc()
            self._show_failure()
        else:
            self._passed += 1
            self._tell("ok", started, name)

    def summary(self):
        return f"{self._passed} passed, {self._failed} failed"

    @staticmethod
    def _tell(result, started, name):
        print(f"{result:6} {time.monotonic() - started:6.1f} s  {name}")

    def _show_failure(self):
        try:
            self._picture(f"failure-{self._failed}")
        except Exception:
            traceback.print_exc()
