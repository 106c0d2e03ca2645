"""The X displays of the tests are exclusive, so that two test runs never share one."""
import os

from harness.x11.server import XServer, claim_display


def is_free(number):
    claim = claim_display(number)
    if claim is not None:
        os.close(claim)
    return claim is not None


def test_a_display_is_kept_while_its_server_is_killed(tmp_path):
    server = XServer(tmp_path)
    try:
        assert not is_free(server.number)
        server.kill()
        assert not is_free(server.number)
        server.restart()
    finally:
        server.stop()
    assert is_free(server.number)
