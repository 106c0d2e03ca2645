"""Observation of multicast DNS (RFC 6762) on a host's network."""
import select
import socket
import struct
import time

GROUP, PORT = "224.0.0.251", 5353
TYPE_A = 1


class MDNSObserver:
    """Joins the group on one interface of a host and records the address records that it receives."""

    def __init__(self, host, address):
        self._socket = host.inside(lambda: _group_member(address))
        self._address = address
        self._seen = []

    def query(self, name):
        """Sends one query for the address of a name."""
        labels = b"".join(bytes([len(label)]) + label.encode() for label in name.split("."))
        question = struct.pack(">6H", 0, 0, 1, 0, 0, 0) + labels + struct.pack(">BHH", 0, TYPE_A, 1)
        self._socket.sendto(question, (GROUP, PORT))

    def records(self, name):
        """Returns (TTL, address) of every record for the name so far, in their order."""
        while select.select([self._socket], [], [], 0)[0]:
            self._seen += _address_records(self._socket.recv(9000))
        return [(ttl, address) for found, ttl, address in self._seen if found == name]

    def clear(self):
        self.records("")
        self._seen = []

    def withdrawn(self, name):
        """Returns whether the last record for the name was a goodbye, with a TTL of 0."""
        records = self.records(name)
        return bool(records) and records[-1][0] == 0

    def is_unanswered(self, name, seconds=1.5):
        """Returns whether no host responds to a query for the name within some seconds."""
        self.clear()
        self.query(name)
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if self.records(name):
                return False
            time.sleep(0.05)
        return True

    def close(self):
        self._socket.close()


def _group_member(address):
    member = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    member.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    member.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEPORT, 1)
    member.bind(("", PORT))
    interface = socket.inet_aton(address)
    member.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, interface)
    member.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, 255)
    member.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(GROUP) + interface)
    return member


def _address_records(packet):
    """Returns (name, TTL, address) of the A records in the answer section of a packet."""
    _, flags, questions, answers, _, _ = struct.unpack(">6H", packet[:12])
    if not flags & 0x8000:
        return []
    at = 12
    for _ in range(questions):
        _, at = _name(packet, at)
        at += 4
    found = []
    for _ in range(answers):
        name, at = _name(packet, at)
        kind, _, ttl, length = struct.unpack(">HHIH", packet[at:at + 10])
        at += 10 + length
        if kind == TYPE_A:
            found.append((name, ttl, socket.inet_ntoa(packet[at - 4:at])))
    return found


def _name(packet, at):
    """Returns the name at an offset in lower case, and the offset behind it."""
    labels, behind = [], None
    while packet[at]:
        if packet[at] & 0xC0:
            behind = behind or at + 2
            at = struct.unpack(">H", packet[at:at + 2])[0] & 0x3FFF
        else:
            labels.append(packet[at + 1:at + 1 + packet[at]].decode())
            at += 1 + packet[at]
    return ".".join(labels).lower(), behind or at + 1
