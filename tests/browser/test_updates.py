"""Updates that are cut, too large or do not continue the picture: the page shows the right picture or the
hint, never a mixture."""
import struct

import pytest

from harness.viewer import FOR_A_SCRIPT, HEAD, TILES, Viewer

MUTATIONS = 20000
FUZZ = """(() => {
  const original = Uint8Array.from(%s);
  let state = 12345;
  const random = (limit) => {
    state = (Math.imul(state, 1103515245) + 12345) >>> 0;
    return (state >>> 8) %% limit;
  };
  const outcomes = { read: 0, rejected: 0, other: "" };
  for (let i = 0; i < %d; ++i) {
    let bytes = original.slice(0, random(4) ? original.length : random(original.length));
    for (let changes = random(6); changes > 0 && bytes.length > 0; --changes) {
      bytes[random(Math.min(bytes.length, 1400))] = random(256);
    }
    try {
      const update = parseUpdate(bytes.buffer);
      const tiles = Math.ceil(update.width / 128) * Math.ceil(update.height / 16);
      if (!update.stacks.every((stack) => stack.indices.every((index) => index < tiles))) {
        outcomes.other = "a tile outside of the picture";
      }
      ++outcomes.read;
    } catch (error) {
      if (error.name !== "RangeError") outcomes.other = String(error);
      ++outcomes.rejected;
    }
  }
  return outcomes;
})()"""


def part(body):
    return (b"--tarvinelframe\r\nContent-Type: %s\r\nContent-Length: %d\r\n\r\n%s\r\n"
            % (TILES.encode(), len(body), body))


def whole_update(program, network):
    """Returns the part that a viewer gets who joins."""
    with Viewer(headers=[f"Accept: {TILES}"], body_headers=FOR_A_SCRIPT,
                connection=network.connect_at_server(program.address)) as viewer:
        return viewer.part()


def body_of(whole_part):
    return whole_part.split(b"\r\n\r\n", 1)[1][:-2]


def test_the_reader_takes_no_damaged_update(page, sharing, network):
    """It reads mutated bytes or rejects them, and names no tile outside of the picture."""
    page.open(sharing.listening_port())
    page.eventually(lambda: page.browser.evaluate("typeof parseUpdate") == "function",
                    "the page is loaded")
    update = list(body_of(whole_update(sharing, network)))
    outcomes = page.browser.evaluate(FUZZ % (update, MUTATIONS))
    assert outcomes["other"] == ""
    assert outcomes["read"] > MUTATIONS / 20
    assert outcomes["rejected"] > MUTATIONS / 20


def cut(update):
    return update[:-100]


def too_large(_):
    """A picture of 20 million pixels without tiles."""
    return struct.pack(">IIHHHHB", 0, 1, 5000, 4000, 0, 0, 0)


def of_another_version(update):
    return struct.pack(">II", 77, 78) + update[8:12] + b"\0\0"


@pytest.mark.parametrize("spoiled", [cut, too_large, of_another_version])
def test_an_update_that_cannot_be_shown(page, sharing, make_proxy, network, x, canvas, spoiled):
    """The page goes on with the next stream that works."""
    proxy = make_proxy(sharing)
    update = body_of(whole_update(sharing, network))

    def serve(connection):
        proxy.stream_handler = None  # the next stream is the program's
        connection.sendall(HEAD % FOR_A_SCRIPT + part(spoiled(update)))
        connection.recv(1)

    proxy.stream_handler = serve
    page.open(proxy.port)
    page.wait_for_picture(x)
    canvas.text(3)
    page.wait_for_picture(x)
    page.wait_for_viewers(sharing)
