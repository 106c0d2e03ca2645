"""Waiting for a condition, within a bound."""
import time

# Seconds: far beyond what a busy machine needs, so that it strikes only when something is broken.
LIMIT = 60


def eventually(condition, within, what, every=0.02):
    """The first truthy value of condition(); fails naming `what` after `within` seconds."""
    deadline = time.monotonic() + within
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {within} s: {what} (last value: {value!r})")
        time.sleep(every)
