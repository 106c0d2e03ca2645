"""An installation of the program for an ordinary user."""
import shutil
import subprocess
import tempfile
from contextlib import contextmanager
from pathlib import Path

from ..program import executable

USER = 65534
AS_USER = ["setpriv", "--reuid", str(USER), "--regid", str(USER), "--clear-groups"]


@contextmanager
def installation():
    """Yields a prefix with copies of the program and the helper that an ordinary user can run, and a
    home for that user."""
    with tempfile.TemporaryDirectory(prefix="tarvinel-installed-") as name:
        prefix = Path(name)
        prefix.chmod(0o755)
        for copy in (prefix / "bin/tarvinel", prefix / "libexec/tarvinel/tarvinel-bind"):
            copy.parent.mkdir(parents=True)
            shutil.copy(executable().with_name(copy.name), copy)
        (prefix / "home").mkdir(mode=0o777)
        (prefix / "home").chmod(0o777)
        yield prefix


def give_capability(installed):
    subprocess.run(["setcap", "cap_net_bind_service=ep",
                    installed / "libexec/tarvinel/tarvinel-bind"], check=True)
