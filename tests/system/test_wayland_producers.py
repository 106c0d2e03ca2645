"""Producers of pictures other than the usual ones, and such as say what makes no sense."""
import pytest

from harness import pixels
from harness.producer import ProducerDesktop
from harness.viewer import Viewer

SCREEN = "display-1"
WIDTH, HEIGHT = 320, 240


def rgb(name):
    return {"red": (255, 0, 0), "green": (0, 255, 0), "blue": (0, 0, 255), "grey": (128, 128, 128)}[name]


@pytest.fixture
def session():
    made = ProducerDesktop()
    try:
        yield made
        assert not made.end_programs()
    finally:
        made.stop()


def test_try(session):
    producer = session.producer(f"format BGRx {WIDTH} {HEIGHT}", "colours ff0000 00ff00 0000ff 808080")
    program = session.program("--share", SCREEN)
    producer.wait_until_taken()
    producer.send()
    program.wait_until_sharing()
    with Viewer(program.address) as viewer:
        jpeg = viewer.next_frame()
        pixels.save(pixels.decode(jpeg), __import__("pathlib").Path("/tmp/try.png"))
