"""Waiting for a condition with a timeout."""
import time

# Seconds. It is far longer than a busy machine needs, so that it expires only if something is broken.
LIMIT = 60


def eventually(condition, within, what, every=0.02):
    """Returns the first truthy value of condition(); fails with `what` after `within` seconds."""
    deadline = time.monotonic() + within
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {within} s: {what} (last value: {value!r})")
        time.sleep(every)
