"""The server on a machine whose first process is systemd: as its package brings it, and entered by hand.

Nothing is scripted here: the unit's sandbox, the account, the notices and the journal are the real ones.
"""
# ctest: heavy serial timeout=900

import os
import re
import shutil
import smtplib
import subprocess
import tempfile
from pathlib import Path

import support
import test_packages
from machine import Machine
from support import DOMAIN, PASSWORD, Peer, wait_for
from test_packages import HOME, NEWER, NO_ROOT, packages

MACHINE_ROOT = support.PROJECT / "build" / "machine-root"
UNIT = "VelnorService.service"
IDLE, ONE_SESSION = "POP3: 0    SMTP: 0    Delivers:0", "POP3: 0    SMTP: 1    Delivers:0"


class Service(support.SystemTest):
    def setUp(self):
        if reason := os.environ[NO_ROOT]:
            self.skipTest(reason)
        directory = Path(os.environ["VELNOR_TEST_DIRECTORY"])
        self.root = directory / self._testMethodName
        subprocess.run(["cp", "-a", "--reflink=auto", MACHINE_ROOT, self.root], check=True)
        for package in packages("velnor-server"):
            shutil.copy(package, self.root / "root")
        self.machine = Machine(self.root, directory)
        self.addCleanup(self.machine.kill)

    def inside(self, *command, expect=0, **options):
        """Runs a command on the machine and gives what it printed."""
        run = self.machine.inside(*command, **options)
        self.assertEqual(run.returncode, expect, f"{command}\n{run.stdout}")
        return run.stdout

    def shown(self, *properties):
        """Values of the unit's properties, in the order of their names."""
        names = [f"--property={name}" for name in properties]
        lines = self.inside("systemctl", "show", *names, UNIT).splitlines()
        return tuple(line.partition("=")[2] for line in sorted(lines))

    def wait_for_status(self, status):
        wait_for(status, lambda: self.shown("ActiveState", "StatusText") == ("active", status))

    def control(self, *arguments, **options):
        return self.inside("velnorctl", "--directory", HOME, *arguments, **options)

    def install(self, version):
        [package] = packages("velnor-server", version)
        self.inside("apt-get", "install", "-y", "--no-install-recommends", f"/root/{package.name}")

    def send(self, subject):
        with smtplib.SMTP("127.0.0.1", 25) as client:
            client.sendmail("zoe@elsewhere.test", [f"bob@{DOMAIN}"], test_packages.MESSAGE % subject)

    def test_from_its_package_it_serves_restarts_is_upgraded_and_goes(self):
        self.install("[!9]*")
        self.wait_for_status(IDLE)
        self.control("domain", "add", DOMAIN)
        self.control("user", "add", f"bob@{DOMAIN}", "Pop3Enable=1", "SmtpEnable=1", input=PASSWORD + "\n")
        self.inside("systemctl", "reload", UNIT)
        self.control("ready")
        with Peer(25) as peer:
            peer.reply()
            self.wait_for_status(ONE_SESSION)
            self.assertEqual(peer.say(f"VRFY bob@{DOMAIN}"), peer.say(f"VRFY bob@{DOMAIN}"))
        self.wait_for_status(IDLE)
        status = self.inside("runuser", "-u", "velnor", "--", "velnorctl", "--directory", HOME, "status")
        self.assertIn("running: yes", status)
        self.assertIn(DOMAIN, self.control("domain", "list"))

        first = self.shown("MainPID")
        self.send("before the server is killed")
        self.inside("systemctl", "kill", "--signal=KILL", UNIT)
        wait_for("the restart", lambda: self.shown("ActiveState", "NRestarts") == ("active", "1"))
        second = self.shown("MainPID")
        self.assertNotEqual(first, second)
        self.send("before the upgrade")
        self.install(NEWER)
        wait_for("the upgraded server", lambda: self.shown("ActiveState", "StatusText") == ("active", IDLE))
        self.assertNotEqual(self.shown("MainPID"), second)
        wait_for("both messages", lambda: "messages: 2" in self.control("mailbox", f"bob@{DOMAIN}"))
        journal = self.inside("journalctl", "--unit", UNIT, "--output=cat")
        self.assertEqual(len(re.findall(rf"send mail to local user \[OK\], <bob@{DOMAIN}>", journal)), 2)

        self.inside("systemctl", "stop", UNIT)
        self.assertEqual(self.shown("ActiveState", "Result"), ("inactive", "success"))
        self.control("ready", expect=1)
        self.inside("systemctl", "start", UNIT)
        self.inside("apt-get", "remove", "-y", "velnor-server")
        self.assertEqual(self.shown("ActiveState"), ("inactive",))

    def test_entered_by_hand_it_runs_under_an_account_of_its_own_and_is_taken_out(self):
        (self.root / "opt/velnor").mkdir()
        for program in "VelnorService", "velnorctl":
            shutil.copy(support.PROGRAMS / program, self.root / "opt/velnor")
        (self.root / "srv/velnor/mail").mkdir(parents=True)
        control = ["/opt/velnor/velnorctl", "--directory", "/srv/velnor"]
        self.inside(*control, "config", "set", "MailPath", "/srv/velnor/mail")
        self.inside(*control, "domain", "add", DOMAIN)
        self.inside("env", "-C", "/srv/velnor", "/opt/velnor/VelnorService", "/Service")
        self.assertEqual(self.shown("ActiveState", "UnitFileState"), ("inactive", "enabled"))
        self.inside("systemctl", "start", UNIT)
        self.wait_for_status(IDLE)
        self.inside(*control, "ready")
        self.inside("systemctl", "reload", UNIT)
        owners = self.inside("stat", "-c", "%U", "/srv/velnor", "/srv/velnor/velnor.ini", "/srv/velnor/mail", "/opt/velnor")
        self.assertEqual(owners.split(), ["velnor"] * 3 + ["root"])
        [process] = self.shown("MainPID")
        self.assertEqual(self.inside("stat", "-c", "%U", f"/proc/{process}").strip(), "velnor")
        self.inside("/opt/velnor/VelnorService", "/UnregServer")
        self.assertEqual(self.shown("ActiveState", "LoadState"), ("inactive", "not-found"))


def make_machine_root():
    """Makes the root with systemd if it is not there yet. The reason if there is none."""
    reason = test_packages.make_clean_root()
    if reason or MACHINE_ROOT.exists():
        return reason
    with tempfile.TemporaryDirectory(dir=MACHINE_ROOT.parent, prefix="machine-root-") as directory:
        root = f"{directory}/root"
        subprocess.run(["cp", "-a", "--reflink=auto", test_packages.CLEAN_ROOT, root], check=True)
        shutil.copy("/etc/resolv.conf", f"{root}/etc/resolv.conf")
        environment = {**os.environ, **test_packages.package_source("")[1], "DEBIAN_FRONTEND": "noninteractive"}
        run = subprocess.run(["chroot", root, "apt-get", "install", "-y", "--no-install-recommends", "systemd", "dbus"],
                             env=environment, stdin=subprocess.DEVNULL, text=True, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT)
        if run.returncode != 0:
            return "systemd could not be installed: " + run.stdout[-500:]
        os.rename(root, MACHINE_ROOT)
    return ""


if __name__ == "__main__":
    test_packages.main(make_machine_root)
