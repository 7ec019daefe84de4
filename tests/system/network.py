"""A second host for a system test: another network namespace behind a cable, and a name server for both.

The test itself is the near host at NEAR. `FarHost` is the other one, at FAR: programs start there by `run`. `NameServer`
is a real one, dnsmasq, on the near host, which both hosts ask for everything.
"""

import os
import signal
import subprocess
import tempfile
from pathlib import Path

from support import wait_for

NEAR, FAR = "10.77.0.1", "10.77.0.2"


def ip(*words):
    subprocess.run(["ip", *words], check=True, stdin=subprocess.DEVNULL)


class FarHost:
    def __init__(self):
        # The namespace lives as long as a process in it does.
        self.holder = subprocess.Popen(["unshare", "--net", "sleep", "infinity"], stdin=subprocess.DEVNULL)
        own = os.readlink("/proc/self/ns/net")
        wait_for("the far namespace", lambda: os.readlink(f"/proc/{self.holder.pid}/ns/net") != own)
        ip("link", "add", "near", "type", "veth", "peer", "name", "far", "netns", str(self.holder.pid))
        ip("address", "add", f"{NEAR}/24", "dev", "near")
        ip("link", "set", "near", "up")
        for words in (["address", "add", f"{FAR}/24", "dev", "far"], ["link", "set", "far", "up"],
                      ["link", "set", "lo", "up"]):
            subprocess.run([*self.command, "ip", *words], check=True, stdin=subprocess.DEVNULL)

    @property
    def command(self):
        """What makes a command line run on this host."""
        return ["nsenter", f"--net=/proc/{self.holder.pid}/ns/net"]

    def run(self, *words, **how):
        return subprocess.run([*self.command, *words], check=True, stdin=subprocess.DEVNULL, **how)

    def close(self):
        self.holder.kill()
        self.holder.wait()


class NameServer:
    """Serves, for each domain, one exchanger `mx.<domain>` at its address."""

    def __init__(self, **domains):
        words = ["dnsmasq", "--keep-in-foreground", "--conf-file=/dev/null", "--no-hosts", "--no-resolv", "--user=root",
                 f"--listen-address={NEAR}", "--bind-interfaces", "--pid-file=", "--local=/test/"]
        for domain, address in domains.items():
            name = f"{domain}.test"
            words += [f"--mx-host={name},mx.{name},10", f"--host-record=mx.{name},{address}"]
        self.process = subprocess.Popen(words, stdin=subprocess.DEVNULL)
        self._become_the_resolver()

    @staticmethod
    def _become_the_resolver():
        directory = Path(tempfile.mkdtemp(dir=os.environ["VELNOR_TEST_DIRECTORY"]))
        for name, text in {"resolv.conf": f"nameserver {NEAR}\n", "hosts": "127.0.0.1 localhost\n",
                           "nsswitch.conf": "hosts: files dns\n"}.items():
            (directory / name).write_text(text)
            target = Path("/etc", name)
            if target.exists():
                subprocess.run(["mount", "--bind", directory / name, target.resolve()], check=True)

    def close(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()
