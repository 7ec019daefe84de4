"""The server under a service manager: what it tells one, and how it is entered with one and taken out."""

import os
import re
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

import support
from support import SMTP_PORT, Peer, needs

IDLE = "POP3: 0    SMTP: 0    Delivers:0"
ONE_SESSION = "POP3: 0    SMTP: 1    Delivers:0"
REFUSAL = "You didn't set the MailPath, please open the configuration window to setup"

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
        path = os.environ["NOTIFY_SOCKET"] = str(self.server.directory / "notify")
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.manager.close)
        self.manager.bind(path)
        self.manager.settimeout(support.PATIENCE)

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
            self.assertGreaterEqual(int(reloading.pop("MONOTONIC_USEC")), before)
            self.assertEqual(reloading, {"RELOADING": "1"})
            self.assertEqual(self.told(), {"READY": "1", "STATUS": ONE_SESSION})
        self.assertEqual(self.told(), {"STATUS": IDLE})
        self.assertEqual(self.server.stop(), 0)
        self.assertEqual(self.told().get("STOPPING"), "1")

    def test_of_a_refused_start(self):
        self.server.configure(MailPath=self.server.directory / "nowhere")
        process = self.server.run()
        output, errors = process.communicate()
        self.assertEqual((process.returncode, output, errors.strip()), (1, b"", REFUSAL.encode()))
        told = self.told()
        self.assertNotIn("READY", told)
        self.assertEqual(told["STATUS"], REFUSAL)


@needs("systemd-analyze")
class Unit(support.SystemTest):
    """The real tools of systemd judge what the program says."""

    def setUp(self):
        self.server = self.server_with("alice")
        self.units = self.server.directory / "units"
        self.units.mkdir()
        self.unit = self.units / "VelnorService.service"
        os.environ["XDG_RUNTIME_DIR"] = str(self.server.directory)

    def enter(self, *arguments):
        subprocess.run([self.server.program, "/Service", "--unit-directory", self.units, *arguments],
                       cwd=self.server.home, check=True)

    def faults(self, scope="--system"):
        run = subprocess.run(["systemd-analyze", scope, "verify", "--man=no", self.unit], text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return run.stdout + f"status {run.returncode}" if run.returncode else run.stdout

    def test_is_valid_and_leaves_little_exposed(self):
        self.enter("--user")
        self.assertEqual(self.faults("--user"), "")
        self.enter()
        self.assertEqual(self.faults(), "")
        subprocess.run(["systemd-analyze", "security", "--offline=true", "--threshold=20", "--no-pager",
                        self.unit], check=True, stdout=subprocess.DEVNULL)

    def test_knows_its_program_and_directory_whatever_they_are_called(self):
        odd = self.server.directory / "odd %n name, $HOME;"
        odd.mkdir()
        self.server.program = shutil.copy(self.server.program, odd)
        self.enter("--directory", odd)
        self.assertEqual(self.faults(), "")
        odd.joinpath("VelnorService").unlink()
        self.assertNotEqual(self.faults(), "", "the very program was looked for")


class Entry(support.SystemTest):
    """Entering and taking out, with a scripted manager."""

    def setUp(self):
        self.server = self.server_with("alice")
        self.tools, self.said = self.server.directory / "tools", self.server.directory / "said"
        self.tools.mkdir()
        for name, script in (("systemctl", SYSTEMCTL), ("systemd-sysusers", SYSUSERS)):
            (self.tools / name).write_text(script)
            (self.tools / name).chmod(0o755)
        self.env = {**os.environ, "PATH": f"{self.tools}:/usr/bin:/bin", "SAID": str(self.said),
                    "FAILS": "nothing at all", "XDG_CONFIG_HOME": str(self.server.directory / "config")}

    def run_service(self, *arguments, **env):
        """The exit status of the program, what it told the scripts, and its errors."""
        self.said.write_text("")
        run = subprocess.run([self.server.program, *arguments], cwd=self.server.home, env={**self.env, **env},
                             text=True, stderr=subprocess.PIPE)
        said = self.said.read_text().replace(" --no-ask-password --quiet", "").splitlines()
        return run.returncode, said, run.stderr

    def test_of_a_user(self):
        """A life in steps: switches, what the scripts are told to do, the outcome."""
        unit = self.server.directory / "config/systemd/user/VelnorService.service"
        enter, take_out = ["/Service", "--user"], ["/UnregServer", "--user"]
        enable = "there --user enable -- VelnorService.service"
        disable, reread = "--user disable --now -- VelnorService.service", "gone --user daemon-reload"
        mask = "--user mask --now -- VelnorService.service"
        for arguments, env, status, is_there, orders, words in (
                (["/service"], {}, 2, False, [], "usage: VelnorService"),
                ([*take_out, "--directory", "."], {}, 2, False, [], "usage: VelnorService"),
                ([*enter, "--directory", "nowhere"], {}, 1, False, [], "nowhere is no directory"),
                (enter, {"PATH": "/nowhere"}, 1, False, [], "no service manager"),
                (enter, {"FAILS": "enable"}, 1, True, [enable], str(unit)),
                (take_out, {"FAILS": "disable"}, 1, False, ["there " + disable, reread], "did not stop"),
                (enter, {}, 0, True, [enable], ""),
                (take_out, {}, 0, False, ["there " + disable, reread], ""),
                (take_out, {}, 1, False, [], str(unit)),
                (take_out, {"ELSEWHERE": "masked"}, 1, False, [], str(unit)),
                (take_out, {"ELSEWHERE": "loaded"}, 0, False, ["gone " + mask], "of a package"),
                (enter, {}, 0, True, [enable], ""),
                (take_out, {"ELSEWHERE": "loaded"}, 0, False, ["there " + disable, reread, "gone " + mask],
                 "of a package")):
            with self.subTest((arguments, env)):
                result, said, errors = self.run_service(*arguments, UNIT=str(unit), **env)
                orders_said = [line for line in said if re.search("enable|disable|daemon-reload|mask --now", line)]
                self.assertEqual((result, unit.exists(), orders_said), (status, is_there, orders))
                self.assertIn(words, errors)
                self.assertEqual(errors == "", words == "")

    def test_of_the_machine(self):
        home, mail = self.server.home, self.server.mail
        domain = mail / support.DOMAIN
        units, passwd = self.server.directory / "units", self.server.directory / "passwd"
        units.mkdir()
        passwd.write_text(re.sub("(?m)^velnor:.*\n", "", Path("/etc/passwd").read_text()))
        for source, target in (units, "/etc/systemd/system"), (passwd, "/etc/passwd"):
            subprocess.run(["mount", "--bind", source, target], check=True)
        unit = units / "VelnorService.service"
        self.env["UNIT"] = str(unit)
        enable = "there --system enable -- VelnorService.service"
        status, said, errors = self.run_service("/Service", MAKES="")
        self.assertEqual((status, said[1:], list(units.iterdir())),
                         (1, ['--inline u velnor - "Velnor mail server"'], []))
        self.assertIn("no account velnor", errors)

        # Under a root that is one by name only there is no second account to give anything to.
        mapped = sum(int(line.split()[2]) for line in Path("/proc/self/uid_map").read_text().splitlines())
        owner = 4711 if mapped > 4711 else os.getuid()
        makes = f"velnor:x:{owner}:{owner}::/:/bin/false"
        (domain / "link").symlink_to(self.server.program)
        (home / "not the server's").touch()
        unit.symlink_to("/dev/null")  # as a mask
        if owner != os.getuid():
            status, said, errors = self.run_service("/Service", MAKES=makes)
            self.assertEqual((status, unit.is_symlink()), (1, True))
            self.assertIn("velnor can't reach", errors)
            for directory in self.server.directory, self.server.directory.parents[1]:
                directory.chmod(0o711)
            os.chown(home / "velnor.ini", owner + 1, owner + 1)
            status, said, errors = self.run_service("/Service", MAKES=makes)
            self.assertEqual((status, unit.is_symlink()), (1, True))
            self.assertIn("belongs to another account", errors)
            os.chown(home / "velnor.ini", 0, 0)
        self.server.configure(MailPath="/")
        status, said, errors = self.run_service("/Service")
        self.assertEqual((status, said, unit.is_symlink()), (1, [], True))
        self.server.configure(MailPath=mail)
        status, said, errors = self.run_service("/Service", MAKES=makes)
        self.assertEqual((status, said[-1:], errors), (0, [enable], ""))
        self.assertIn("User=velnor", unit.read_text().splitlines())
        self.assertEqual(unit.stat().st_mode & 0o777, 0o644)
        for path in home / "velnor.ini", domain, domain / "alice/config.ini", domain / "link":
            self.assertEqual(path.lstat().st_uid, owner, path)
        for path in home, home / "not the server's", Path(self.server.program):
            self.assertEqual(path.lstat().st_uid, os.getuid(), path)

        status, said, errors = self.run_service("/UnregServer")
        self.assertEqual((status, list(units.iterdir())), (0, []))
        self.assertIn("gone --system daemon-reload", said)


if __name__ == "__main__":
    support.main()
