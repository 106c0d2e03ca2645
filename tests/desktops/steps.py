"""Test steps that run one after the other, each with its duration and its result."""
import time
import traceback
from pathlib import Path


class Steps:
    """Runs steps. After a failed one it saves a screenshot, and what viewers saw instead of what they should."""

    def __init__(self, picture, results):
        self._picture = picture
        self._results = Path(results)
        self._passed = self._failed = 0

    def take(self, name, step):
        """Calls step(). The next step runs even if this one fails."""
        started = time.monotonic()
        try:
            step()
        except Exception as error:
            self._failed += 1
            self._report("FAILED", started, name)
            traceback.print_exc()
            self._show_failure(getattr(error, "last", None))
        else:
            self._passed += 1
            self._report("ok", started, name)

    def summary(self):
        return f"{self._passed} passed, {self._failed} failed"

    @staticmethod
    def _report(result, started, name):
        print(f"{result:6} {time.monotonic() - started:6.1f} s  {name}")

    def _show_failure(self, last_picture):
        if last_picture:
            (self._results / f"failure-{self._failed}-seen.jpg").write_bytes(last_picture)
        try:
            self._picture(f"failure-{self._failed}")
        except Exception:
            traceback.print_exc()
