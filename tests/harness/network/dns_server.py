"""A scripted DNS server (RFC 1035) whose records have a TTL of 0."""
import contextlib
import socket
import struct
import threading

A, INTERNET = 1, 1
RESPONSE, NXDOMAIN = 0x8580, 0x8583
POINTER_TO_QUESTION = 0xC00C


class DNSServer:
    """Responds on a UDP socket. `addresses` maps names to IPv4 addresses and may be changed at any
    time."""

    def __init__(self, listening, addresses):
        self.addresses = dict(addresses)
        self._socket = listening
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()

    def close(self):
        with contextlib.suppress(OSError):  # an unconnected socket raises an error, but its reader wakes up
            self._socket.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._socket.close()

    def _serve(self):
        while True:
            try:
                query, client = self._socket.recvfrom(4096)
            except OSError:
                return
            if not query:
                return
            self._socket.sendto(self._reply(query), client)

    def _reply(self, query):
        """Returns the response to the first question."""
        name, end = _name_at(query, 12)
        kind, _ = struct.unpack(">HH", query[end:end + 4])
        address = self.addresses.get(name)
        records = b""
        if address and kind == A:
            records = struct.pack(">HHHIH4s", POINTER_TO_QUESTION, A, INTERNET, 0, 4,
                                  socket.inet_aton(address))
        head = struct.pack(">2sHHHHH", query[:2], RESPONSE if address else NXDOMAIN, 1,
                           1 if records else 0, 0, 0)
        return head + query[12:end + 4] + records


def _name_at(message, at):
    """Returns the name at an offset in lower case, and the offset behind it."""
    labels = []
    while message[at]:
        labels.append(message[at + 1:at + 1 + message[at]].decode("ascii", "replace").lower())
        at += 1 + message[at]
    return ".".join(labels), at + 1
