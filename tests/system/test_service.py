"""The server under a service manager: what it tells one, and how it is entered with one and taken out."""

import os
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

import support
from support import SMTP_PORT, Peer, wait_for

IDLE = "POP3: 0    SMTP: 0    Delivers:0"
ONE_SESSION = "POP3: 0    SMTP: 1    Delivers:0"

# Notes its arguments, and whether the unit's file is there at this moment; then does what the test scripted.
SYSTEMCTL = """#!/bin/sh
test -e "$UNIT" && there=there || there=gone
echo "$there $*" >> "$SAID"
case "$*" in
  *Version*) echo 252 ;;
  *LoadState*) test -e "$UNIT" && echo loaded || echo "${ELSEWHERE:-not-found}" ;;
  *"$FAILS"*) exit 1 ;;
esac
"""
SYSUSERS = """#!/bin/sh
echo "$*" >> "$SAID"
test -n "$MAKES" && echo "$MAKES" >> /etc/passwd
exit 0
"""


class Notifications(support.SystemTest):
    def setUp(self):
        self.server = self.server_with("alice")
        path = str(self.server.directory / "notify")
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.manager.close)
        self.manager.bind(path)
        self.manager.settimeout(support.PATIENCE)
        os.environ["NOTIFY_SOCKET"] = path

    def told(self):
        """The fields of the next message."""
        return dict(line.split("=", 1) for line in self.manager.recv(4096).decode().split("\n"))

    def test_of_a_life_from_ready_to_stopping(self):
        self.server.start()
        self.assertEqual(self.told(), {"READY": "1", "STATUS": IDLE})
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            self.assertEqual(self.told(), {"STATUS": ONE_SESSION})
            before = time.monotonic_ns() // 1000
            self.server.process.send_signal(signal.SIGHUP)
            reloading = self.told()
            self.assertEqual(reloading.pop("RELOADING"), "1")
            self.assertGreaterEqual(int(reloading.pop("MONOTONIC_USEC")), before)
            self.assertEqual(reloading, {})
            self.assertEqual(self.told(), {"READY": "1", "STATUS": ONE_SESSION})
        self.assertEqual(self.told(), {"STATUS": IDLE})
        self.assertEqual(self.server.stop(), 0)
        self.assertEqual(self.told().get("STOPPING"), "1")

    def test_of_a_refused_start(self):
        self.server.configure(MailPath=self.server.directory / "nowhere")
        process = self.server.run()
        process.communicate()
        self.assertEqual(process.returncode, 1)
        told = self.told()
        self.assertNotIn("READY", told)
        self.assertIn("MailPath", told["STATUS"])


class Unit(support.SystemTest):
    """The real tools of systemd judge what the program and the package say."""

    def setUp(self):
        self.server = self.server_with("alice")
        self.units = self.server.directory / "units"
        self.units.mkdir()
        os.environ["XDG_RUNTIME_DIR"] = str(self.server.directory)

    def enter(self, *arguments):
        subprocess.run([self.server.program, "/Service", "--unit-directory", self.units, *arguments],
                       cwd=self.server.home, check=True)
        return self.units / "VelnorService.service"

    def assert_flawless(self, unit, *scope):
        found = subprocess.run(["systemd-analyze", *scope, "verify", "--man=no", unit], text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual((found.returncode, found.stdout), (0, ""))

    def test_of_the_machine_is_valid_and_leaves_little_exposed(self):
        unit = self.enter()
        self.assert_flawless(unit, "--system")
        subprocess.run(["systemd-analyze", "security", "--offline=true", "--threshold=20", "--no-pager", unit],
                       check=True, stdout=subprocess.DEVNULL)
        lines = unit.read_text().splitlines()
        self.assertIn(f"WorkingDirectory={self.server.home}", lines)
        self.assertIn(f'ReadWritePaths="-{self.server.home}" "-{self.server.mail}"', lines)

    def test_of_a_user_is_valid(self):
        self.assert_flawless(self.enter("--user"), "--user")

    def test_knows_its_program_and_directory_whatever_they_are_called(self):
        odd = self.server.directory / "odd %n name, $HOME;"
        odd.mkdir()
        self.server.program = shutil.copy(self.server.program, odd)
        self.assert_flawless(self.enter("--directory", odd), "--system")
        odd.joinpath("VelnorService").unlink()
        with self.assertRaises(AssertionError, msg="the very program was looked for"):
            self.assert_flawless(self.units / "VelnorService.service", "--system")

    def test_comes_and_goes_as_a_file(self):
        unit = self.enter()
        first = unit.read_text()
        self.assertEqual(unit.stat().st_mode & 0o777, 0o644)
        other = self.server.directory / "other"
        other.mkdir()
        self.enter("--directory", other)
        self.assertEqual(unit.read_text().count(str(other)), first.count(str(self.server.home)))
        remove = [self.server.program, "/UnregServer", "--unit-directory", self.units]
        self.assertEqual([subprocess.run(remove, stderr=subprocess.DEVNULL).returncode for _ in range(2)], [0, 1])
        self.assertEqual(list(self.units.iterdir()), [])


class Entry(support.SystemTest):
    """Entering and taking out, with a scripted manager."""

    def setUp(self):
        self.server = self.server_with("alice")
        self.tools, self.said = self.server.directory / "tools", self.server.directory / "said"
        self.tools.mkdir()
        for name, script in (("systemctl", SYSTEMCTL), ("systemd-sysusers", SYSUSERS)):
            (self.tools / name).write_text(script)
            (self.tools / name).chmod(0o755)
        self.env = {**os.environ, "PATH": f"{self.tools}:/usr/bin:/bin", "SAID": str(self.said), "FAILS": "nothing at all",
                    "XDG_CONFIG_HOME": str(self.server.directory / "config")}

    def run_service(self, *arguments, **env):
        """The exit status of the program, what it told the scripts, and its errors."""
        self.said.write_text("")
        run = subprocess.run([self.server.program, *arguments], cwd=self.server.home, env={**self.env, **env},
                             text=True, stderr=subprocess.PIPE)
        said = self.said.read_text().replace(" --no-ask-password --quiet", "").splitlines()
        return run.returncode, said, run.stderr

    def test_of_a_user(self):
        unit = self.server.directory / "config/systemd/user/VelnorService.service"
        self.env["UNIT"] = str(unit)
        status, said, errors = self.run_service("/Service", "--user")
        self.assertEqual((status, said[1:], errors),
                         (0, ["there --user enable -- VelnorService.service"], ""))
        self.assertIn("WantedBy=default.target", unit.read_text())
        status, said, errors = self.run_service("/UnregServer", "--user")
        self.assertEqual((status, said[1:], errors), (0, [
            "there --user disable --now -- VelnorService.service", "gone --user daemon-reload"], ""))
        for elsewhere, expected, asked in (("not-found", 1, []), ("masked", 1, []),
                                           ("loaded", 0, ["gone --user disable --now -- VelnorService.service"])):
            status, said, errors = self.run_service("/UnregServer", "--user", ELSEWHERE=elsewhere)
            self.assertEqual((status, said[2:]), (expected, asked))
            self.assertIn(str(unit), errors)

    def test_of_a_user_where_something_fails(self):
        unit = self.server.directory / "config/systemd/user/VelnorService.service"
        self.env["UNIT"] = str(unit)
        status, _, errors = self.run_service("/Service", "--user", PATH="/nowhere")
        self.assertEqual((status, unit.exists()), (1, False))
        self.assertIn("no service manager", errors)
        status, _, errors = self.run_service("/Service", "--user", FAILS="enable")
        self.assertEqual((status, unit.exists()), (1, True))
        self.assertIn(str(unit), errors)
        status, _, errors = self.run_service("/UnregServer", "--user", FAILS="disable")
        self.assertEqual((status, unit.exists()), (0, False))
        status, _, errors = self.run_service("/Service", "--user", "--directory", "nowhere")
        self.assertEqual((status, unit.exists()), (1, False))

    def test_of_the_machine(self):
        units, passwd = self.server.directory / "units", self.server.directory / "passwd"
        units.mkdir()
        names = [line for line in Path("/etc/passwd").read_text().splitlines() if not line.startswith("velnor:")]
        passwd.write_text("\n".join(names) + "\n")
        for source, target in (units, "/etc/systemd/system"), (passwd, "/etc/passwd"):
            subprocess.run(["mount", "--bind", source, target], check=True)
        unit = units / "VelnorService.service"
        self.env["UNIT"] = str(unit)

        status, said, errors = self.run_service("/Service", MAKES="")
        self.assertEqual((status, said[1:], list(units.iterdir())),
                         (1, ['--inline u velnor - "Velnor mail server"'], []))
        self.assertIn("no account velnor", errors)

        # Under a root that is one by name only there is no second account to give anything to.
        mapped = sum(int(line.split()[2]) for line in Path("/proc/self/uid_map").read_text().splitlines())
        owner = 4711 if mapped > 4711 else os.getuid()
        (self.server.home / "logs").mkdir()
        (self.server.home / "logs/old.log").touch()
        (self.server.mail / "send").mkdir()
        (self.server.mail / "send/link").symlink_to(self.server.program)
        (self.server.home / "not the server's").touch()
        unit.symlink_to("/dev/null")  # as a mask
        if owner != os.getuid():
            os.chown(self.server.home / "velnor.ini", owner + 1, owner + 1)
            status, said, errors = self.run_service("/Service", MAKES=f"velnor:x:{owner}:{owner}::/:/bin/false")
            self.assertEqual((status, unit.is_symlink()), (1, True))
            self.assertIn("belongs to another account", errors)
            os.chown(self.server.home / "velnor.ini", 0, 0)
        self.server.configure(MailPath="/")
        status, said, errors = self.run_service("/Service")
        self.assertEqual((status, said, unit.is_symlink()), (1, [], True))
        self.server.configure(MailPath=self.server.mail)
        status, said, errors = self.run_service("/Service", MAKES=f"velnor:x:{owner}:{owner}::/:/bin/false")
        self.assertEqual((status, said[-1:], errors), (0, ["there --system enable -- VelnorService.service"], ""))
        self.assertIn("User=velnor", unit.read_text().splitlines())
        profile = self.server.mail / support.DOMAIN / "alice/config.ini"
        given = [self.server.home / "velnor.ini", self.server.home / "logs/old.log", profile, self.server.mail,
                 self.server.mail / "send/link"]
        kept = [self.server.home, self.server.home / "not the server's", Path(self.server.program)]
        self.assertEqual([path.lstat().st_uid for path in given], [owner] * len(given))
        self.assertEqual([path.lstat().st_uid for path in kept], [os.getuid()] * len(kept))

        status, said, errors = self.run_service("/UnregServer")
        self.assertEqual((status, said[-1], list(units.iterdir())), (0, "gone --system daemon-reload", []))

    def test_of_switches_that_make_no_sense(self):
        for arguments in ["/service"], ["-Service"], ["/Service", "x"], ["/UnregServer", "--directory", "."]:
            status, said, errors = self.run_service(*arguments)
            self.assertEqual((status, said), (2, []))
            self.assertIn("usage: VelnorService", errors)


if __name__ == "__main__":
    support.main()
