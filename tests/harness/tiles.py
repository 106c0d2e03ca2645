"""Updates of tiles, as the page gets them (core/frames/tiles/Table.h)."""
import struct
from typing import NamedTuple

from .viewer import FOR_A_SCRIPT, TILES, Viewer


class Update(NamedTuple):
    start: int  # the version that it continues; 0: none
    end: int
    size: tuple  # of the picture
    moves: list  # x, y, width, height, and y of where the content was
    motion: list  # indices of tiles
    settled: list

    @property
    def tiles(self):
        return sorted(self.motion + self.settled)


def read_update(body):
    start, end, width, height = struct.unpack_from(">IIHH", body)
    at = 12
    if start == 0:
        for _ in range(2):
            at += 2 + int.from_bytes(body[at:at + 2], "big")
        moves = []
    else:
        count, at = _groups(body, at)
        moves = list(struct.iter_unpack(">5H", body[at:at + 10 * count]))
        at += 10 * count
    stacks, at = body[at], at + 1
    found = ([], [])
    for _ in range(stacks):
        quality, count = struct.unpack_from(">BH", body, at)
        at += 3
        index = 0
        for _ in range(count):
            step, at = _groups(body, at)
            index += step
            found[quality].append(index)
        at += 4 + int.from_bytes(body[at:at + 4], "big")
    assert at == len(body)
    return Update(start, end, (width, height), moves, *found)


def _groups(body, at):
    """Returns a number in groups of seven bits, the lowest first, and where it ends."""
    number = shift = 0
    while True:
        group, at = body[at], at + 1
        number += (group & 0x7F) << shift
        shift += 7
        if group < 0x80:
            return number, at


class TileViewer(Viewer):
    """One "/stream" request of a page that paints tiles."""

    def __init__(self, address=None, **keywords):
        super().__init__(address, headers=[f"Accept: {TILES}"], body_headers=FOR_A_SCRIPT, **keywords)
        self.last_size = 0  # of a part, in bytes
        self.blurred = set()  # the tiles that were last received at motion quality

    def next_update(self):
        """Returns the next part, which is an update."""
        content_type, body = self.next_body()
        assert content_type == TILES
        update = read_update(body)
        self.blurred = (self.blurred | set(update.motion)) - set(update.settled)
        return update

    def last_update(self, quiet=1.2):
        """Returns the update after which the whole picture is sharp and nothing arrived for `quiet` seconds."""
        update = self.next_update()
        while self.blurred or self.readable(quiet):
            update = self.next_update()
        return update

    def next_body(self):
        """Returns the content type and the body of the next part."""
        part = self.part()
        self.last_size = len(part)
        head, body = part.split(b"\r\n\r\n", 1)
        return head.split(b"Content-Type: ")[1].split(b"\r\n")[0].decode(), body[:-2]
