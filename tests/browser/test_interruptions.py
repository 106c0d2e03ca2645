"""The server or the network fails and returns; the page recovers by itself."""
import itertools
import time

import pytest

from harness.browsers.viewer_page import ViewerPage
from harness.network.intercepting_proxy import close_without_response, respond_unavailable
from harness.program import display_ids

PAUSE = 2  # between two attempts


@pytest.fixture
def share_again(start, x, tmp_path):
    """Starts the program again on the given port."""
    def share(port):
        program = start("--capture", "x11", "--share", display_ids(tmp_path, x)[0],
                        display=x.name, port=port)
        program.wait_until_sharing()
        return program
    return share


def test_server_killed_and_restarted(page, sharing, share_again, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    sharing.kill()
    page.wait_for_hint(ViewerPage.DISCONNECTED)
    page.keep_screenshot("disconnected")
    canvas.text(4)
    again = share_again(sharing.listening_port())
    page.wait_for_picture(x)
    page.wait_for_viewers(again)


def test_server_stopped_cleanly_and_restarted(page, sharing, share_again, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    sharing.terminate()
    page.wait_for_hint(ViewerPage.DISCONNECTED)
    canvas.text(5)
    share_again(sharing.listening_port())
    page.wait_for_picture(x)


def test_server_restarted_while_the_page_is_hidden(page, sharing, share_again, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    viewer = page.browser.tab()
    page.browser.new_tab()
    sharing.kill()
    canvas.text(6)
    again = share_again(sharing.listening_port())
    page.wait_for_viewers(again)
    page.browser.keep_only(viewer)
    page.wait_for_picture(x)


@pytest.mark.parametrize("handler", [respond_unavailable, close_without_response])
def test_server_answers_but(page, sharing, make_proxy, x, canvas, handler):
    """The page makes one attempt at a time, every two seconds, until it succeeds."""
    proxy = make_proxy(sharing)
    page.open(proxy.port)
    page.wait_for_picture(x)
    proxy.stream_handler = handler
    broken = proxy.break_streams()
    page.wait_for_hint(ViewerPage.DISCONNECTED)
    page.eventually(lambda: len(attempts(proxy, broken)) >= 3, "it tries again and again")
    proxy.stream_handler = None
    canvas.text(2)
    page.wait_for_picture(x)
    times = [broken, *attempts(proxy, broken)]
    assert min(later - earlier for earlier, later in itertools.pairwise(times)) > 0.95 * PAUSE
    assert proxy.max_streams == 1


def attempts(proxy, since):
    """Returns the times of the page's attempts. Firefox repeats a request whose connection was closed
    without a response up to nine times within milliseconds; these count as one attempt."""
    times = []
    for time_ in proxy.stream_times:
        if time_ > since and (not times or time_ - times[-1] > 1):
            times.append(time_)
    return times


def test_network_cut_for_a_moment(page, sharing, network, x, canvas):
    """TCP retransmits what was lost, and neither side notices."""
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    network.cut_silently()
    canvas.text(2)
    time.sleep(3)  # nothing is expected to happen
    assert not page.shows_something_like(x)
    network.restore_silently()
    page.wait_for_picture(x)


def test_cable_pulled_and_put_back(page, sharing, network, x, canvas):
    """The browser is notified of the link and may close its connections."""
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    network.cut()
    canvas.text(3)
    time.sleep(3)  # nothing is expected to happen
    assert not page.shows_something_like(x)
    network.restore()
    page.wait_for_picture(x)
    page.wait_for_viewers(sharing)


def test_browser_says_that_it_is_online_again(page, sharing, make_proxy, x):
    proxy = make_proxy(sharing)
    page.open(proxy.port)
    page.wait_for_picture(x)
    before = len(proxy.stream_times)
    page.browser.evaluate("dispatchEvent(new Event('online'))")
    page.eventually(lambda: len(proxy.stream_times) == before + 1, "a new connection")
    page.wait_for_picture(x)
    page.wait_for_viewers(sharing)


def test_network_cut_until_the_server_gave_up(page, sharing, network, x, canvas):
    """No link goes down and no data is sent, so neither side can notice before packets pass again."""
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    network.cut_silently()
    page.wait_for_viewers(sharing, 0)
    canvas.text(4)
    network.restore_silently()
    page.wait_for_picture(x)
    page.wait_for_viewers(sharing)
