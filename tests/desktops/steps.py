"""Test steps that run one after the other, each with its duration and its result."""
import time
import traceback


class Steps:
    """Runs steps; `picture(name)` saves a screenshot after a failed step."""

    def __init__(self, picture):
        self._picture = picture
        self._passed = self._failed = 0

    def take(self, name, step):
        """Calls step(). The next step runs even if this one fails."""
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
