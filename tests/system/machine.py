"""A machine with systemd as its first process, in namespaces within the test's own, with the same network."""

import subprocess
import unittest
from pathlib import Path

import support

# Makes what systemd expects of a container, and becomes it. The root's own file system is the machine's.
_BOOT = """
set -e
mount --make-rprivate /
mount --bind "$0" "$0"
cd "$0"
mount -t proc proc proc
mount --bind -o ro proc/sys proc/sys
mount -t sysfs -o ro sysfs sys
mount -t cgroup2 cgroup2 sys/fs/cgroup
for place in run tmp dev; do mount -t tmpfs -o mode=755 tmpfs $place; done
chmod 1777 tmp
for device in null zero full random urandom tty; do
  touch dev/$device
  mount --bind /dev/$device dev/$device
done
mkdir dev/pts dev/shm
mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts
ln -s pts/ptmx dev/ptmx
mount -t tmpfs tmpfs dev/shm
pivot_root . .
umount -l .
exec env -i container=other PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd --system --show-status=no
"""
_NAMESPACES = ["unshare", "--pid", "--fork", "--kill-child", "--mount", "--uts", "--ipc", "--cgroup"]


class Machine:
    """One machine; `kill` ends it with all its processes."""

    def __init__(self, root, directory):
        directory = Path(directory)
        self._groups = directory / "cgroup"
        self._groups.mkdir(exist_ok=True)
        if subprocess.run(["mount", "-t", "cgroup2", "cgroup2", self._groups]).returncode != 0:
            raise unittest.SkipTest("there are no control groups to be had")
        self._group = self._groups / f"velnor-{directory.parent.name}-{directory.name}"
        self._group.mkdir()
        self._log = open(directory / "boot.log", "wb")
        self._process = subprocess.Popen(
            ["sh", "-c", 'echo $$ > "$0/cgroup.procs"; exec "$@"', self._group,
             *_NAMESPACES, "sh", "-c", _BOOT, root],
            stdin=subprocess.DEVNULL, stdout=self._log, stderr=subprocess.STDOUT)
        support.wait_for("the machine's first process", self._first_process)
        support.wait_for("the machine", lambda: self._state() in ("running", "degraded"))

    def inside(self, *command, **options):
        """Runs a command on the machine, as subprocess.run does."""
        environment = ["env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8",
                       "DEBIAN_FRONTEND=noninteractive"]
        return subprocess.run(["nsenter", f"--target={self._first_process()}", "--mount", "--pid", "--uts",
                               "--ipc", "--cgroup", "--root", "--wd", *environment, *command],
                              text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)

    def kill(self):
        self._process.kill()
        self._process.wait()
        self._log.close()
        support.wait_for("the machine's end", lambda: not self._has_processes())
        for group in sorted(self._group.rglob("*/"), reverse=True):
            if group.is_dir():
                group.rmdir()
        self._group.rmdir()
        subprocess.run(["umount", self._groups], check=True)

    def _first_process(self):
        if self._process.poll() is not None:
            raise AssertionError("the machine has ended: " + Path(self._log.name).read_text())
        children = Path(f"/proc/{self._process.pid}/task/{self._process.pid}/children").read_text().split()
        return children[0] if children else None

    def _state(self):
        return self.inside("systemctl", "is-system-running").stdout.strip()

    def _has_processes(self):
        return "populated 1" in (self._group / "cgroup.events").read_text()
