"""Uploads: a client on raw sockets, the upload page in a browser, and a disk that hangs."""
from .client import (digest, head, hidden, parsed, read_response, start, status, upload,
                     visible)

__all__ = ["digest", "head", "hidden", "parsed", "read_response", "start", "status", "upload",
           "visible"]
