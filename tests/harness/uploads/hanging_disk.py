"""A memory card that hangs: every access blocks until it is released."""
import signal
import subprocess
from pathlib import Path

from ..process import Process
from ..waiting import eventually

SIZE = 3 << 30


class HangingDisk:
    """An exFAT file system on a loop device, served by a stopped FUSE process. Requires root."""

    def __init__(self, folder):
        """Raises OSError if no loop device is available."""
        self.path = Path(folder) / "hanging-disk"
        self.path.mkdir()
        image = Path(folder) / "hanging-disk.img"
        with open(image, "wb") as file:
            file.truncate(SIZE)
        subprocess.run(["mkfs.exfat", image], check=True, capture_output=True)
        done = subprocess.run(["losetup", "--find", "--show", image], capture_output=True, text=True)
        if done.returncode != 0:
            raise OSError(f"no loop device: {done.stderr.strip()}")
        self._device = done.stdout.strip()
        self._server = Process(["mount.exfat-fuse", "-d", self._device, self.path], folder, "exfat")
        try:
            eventually(self.path.is_mount, 60, "the card is mounted")
            self._server.signal(signal.SIGSTOP)
        except BaseException:
            self.remove()
            raise

    def release(self):
        self._server.signal(signal.SIGCONT)

    def remove(self):
        self.release()
        subprocess.run(["umount", "--lazy", self.path], check=False)
        self._server.stop()
        subprocess.run(["losetup", "--detach", self._device], check=True)
