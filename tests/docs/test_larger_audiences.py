"""Runs the commands of the recipe for larger audiences on a media server beside the presenter."""
import io
import json
import shutil
import subprocess

import numpy
import pytest
from PIL import Image

from harness.documents import TREE, Document
from harness.waiting import LIMIT, eventually

PACKAGES = ("nginx", "nginx-common", "libnginx-mod-rtmp")
DOWNLOADS = TREE / "build/downloads"
RED, BLUE = (0xC0, 0x30, 0x30), (0x30, 0x40, 0xC0)

# The presenter's computer is a network namespace of its own, so that port 80 is free there.
MAKE_PRESENTER = """
ip netns add presenter
ip link set eth0 netns presenter
ip -n presenter address add 192.168.1.20/24 dev eth0
ip -n presenter link set eth0 up
ip -n presenter link set lo up
ip address add 192.168.1.30/24 dev socket
"""
# What installing the packages does, except for starting a service.
INSTALL_NGINX = """
mkdir -p /var/log/nginx /var/lib/nginx /var/www/html /etc/nginx/{sites,modules}-enabled
ln -sf /etc/nginx/sites-available/default /etc/nginx/sites-enabled/default
"""
INSTALL_RTMP = ("ln -sf /usr/share/nginx/modules-available/mod-rtmp.conf"
                " /etc/nginx/modules-enabled/50-mod-rtmp.conf")


class MediaServer:
    """Runs commands; installs the packages that they name."""

    def __init__(self, machine):
        self._machine = machine
        self._nginx = None

    def type(self, command):
        if command.startswith("sudo apt install"):
            self._install(command.split()[3:])
        elif command.startswith("ffmpeg"):
            return self._machine.start(command)
        else:
            done = self._machine.run(command)
            assert done.returncode == 0, f"{command}\n{done.stderr}"
            return done.stdout
        return None

    def wait_for_file(self, path):
        file = self._machine.path(path)
        eventually(lambda: file.exists() and file.stat().st_size > 0, LIMIT, path)

    def wait_for_colour(self, video, colour):
        """Waits until the newest picture of a live video has that colour beside the pointer."""
        last = [None]

        def seen():
            last[0] = self._seen(video)
            return last[0] == colour

        try:
            eventually(seen, LIMIT, f"{colour} is in {video}", every=0.2)
        except AssertionError as error:
            raise AssertionError(f"{error}: {last[0]}") from None

    def _seen(self, video):
        """Returns RED or BLUE if the picture has about that colour, else its colour, or the error message of
        ffmpeg."""
        done = self._machine.run("timeout --kill-after=1 15 ffmpeg -v error -y -i "
                                 f"{video} -frames:v 1 /tmp/seen.png")
        if done.returncode != 0:
            return done.stderr
        picture = Image.open(io.BytesIO(self._machine.path("/tmp/seen.png").read_bytes()))
        assert picture.size == (1920, 1080)
        found = numpy.asarray(picture.convert("RGB"))[270, 480].astype(int)
        return next((name for name in (RED, BLUE) if abs(found - name).max() < 12), tuple(found))

    def _install(self, packages):
        """Unpacks the packages except ffmpeg, which is installed, with their dependencies."""
        for package in packages:
            if package == "nginx":
                self._unpack("nginx", "nginx-common")
                self.type(INSTALL_NGINX)
                self._nginx = self._machine.start("nginx -g 'daemon off;'")
                self.wait_for_file("/run/nginx.pid")
            elif package == "libnginx-mod-rtmp":
                self._unpack(package)
                self.type(INSTALL_RTMP)

    def _unpack(self, *packages):
        for package in packages:
            deb = next(DOWNLOADS.glob(f"{package}_*.deb"))
            shutil.copy(deb, self._machine.path("/tmp"))
            self.type(f"dpkg-deb --fsys-tarfile /tmp/{deb.name} |"
                      " tar --extract --keep-directory-symlink --directory=/")


@pytest.fixture
def server(machine):
    subprocess.run([TREE / "tools/download-packages", DOWNLOADS, *PACKAGES], check=True)
    made = machine.run(MAKE_PRESENTER)
    assert made.returncode == 0, made.stderr
    return MediaServer(machine)


@pytest.fixture
def paint(machine):
    """Shares a screen of one colour; paint(colour) changes it."""
    machine.start("Xvfb :0 -screen 0 1280x720x24 -nolisten tcp -noreset")
    eventually(machine.path("/tmp/.X11-unix/X0").is_socket, LIMIT, "the X server is there")

    def change(colour):
        done = machine.run("DISPLAY=:0 xsetroot -solid '#%02x%02x%02x'" % colour)
        assert done.returncode == 0, done.stderr

    change(RED)
    sources = machine.run("DISPLAY=:0 tarvinel --list-sources").stdout
    display = sources.split()[0]
    program = machine.start("ip netns exec presenter env DISPLAY=:0 tarvinel --headless "
                            f"--share {display}")
    program.wait_for_line("Sharing Display")
    return change


def sequence(playlist):
    line = next(line for line in playlist.splitlines() if line.startswith("#EXT-X-MEDIA-SEQUENCE"))
    return int(line.split(":")[1])


def test_the_recipe(machine, server, paint):
    (install, picture, folder, video, look,
     install_rtmp, configure, publish) = [
         block.command for block in Document(TREE / "docs/larger-audiences.md").blocks("sh")]
    server.type(install)
    server.type(picture)
    server.wait_for_file("/dev/shm/room.jpg")
    server.type(folder)
    server.type(video)
    server.wait_for_file("/var/www/html/room/index.m3u8")
    served = "http://127.0.0.1/room/index.m3u8"
    server.wait_for_colour(served, RED)
    # the screen is still, but the video continues
    first = sequence(server.type(look))
    eventually(lambda: sequence(server.type(look)) > first + 2, LIMIT, "the video goes on")
    paint(BLUE)
    server.wait_for_colour(served, BLUE)
    assert viewers(machine) == 1

    server.type(install_rtmp)
    server.type(configure)
    eventually(lambda: "1935" in server.type("ss --listening --tcp --numeric"), LIMIT,
               "nginx takes RTMP")
    server.type(publish)
    server.wait_for_colour("rtmp://127.0.0.1/live/room", BLUE)


def viewers(machine):
    status = machine.run("curl --silent http://192.168.1.20/status")
    return json.loads(status.stdout)["viewers"]
