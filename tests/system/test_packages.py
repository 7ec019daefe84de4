"""The Debian packages: their papers, and the life of the server's on a machine that holds nothing else.

The packages are made of the build tree around the working directory, or of build/release. The machine's root
is made by debootstrap once and kept in build/. Nothing is scripted there: the first process is systemd, and
the unit's sandbox, the account and the notices are the real ones.
"""
# ctest: heavy serial timeout=900

import os
import re
import shutil
import smtplib
import subprocess
import sys
import tempfile
from pathlib import Path

import support
from exchangers import GOOD, Exchanger, NameServer, hosts_file
from machine import Machine
from support import DOMAIN, PASSWORD, PROJECT, SMTP_PORT, Peer, needs, wait_for

MACHINE_ROOT = PROJECT / "build" / "machine-root"
THIS, NEWER = "[!9]*", "99.0.0"
HOME, UNIT = "/var/lib/velnor", "VelnorService.service"
IDLE, ONE_SESSION = "POP3: 0    SMTP: 0    Delivers:0", "POP3: 0    SMTP: 1    Delivers:0"
MESSAGE = "From: zoe@elsewhere.test\r\nTo: bob@example.test\r\nSubject: %s\r\n\r\nA text."
_PACKAGES, _NO_ROOT = "VELNOR_TEST_PACKAGES", "VELNOR_TEST_NO_ROOT"


def packages(name="*", version="*"):
    return sorted(Path(os.environ[_PACKAGES]).glob(f"{name}_{version}_*.deb"))


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Papers(support.SystemTest):
    @needs("man")
    def test_man_pages_have_no_warnings(self):
        pages = sorted((PROJECT / "docs" / "man").iterdir())
        self.assertEqual([page.name for page in pages],
                         ["VelnorService.8", "velnor.1", "velnor.ini.5", "velnorctl.1"])
        for page in pages:
            run = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page],
                                 env={**os.environ, "LC_ALL": "C.UTF-8"}, capture_output=True, text=True)
            self.assertEqual((run.returncode, run.stderr), (0, ""), page.name)

    def test_the_manual_of_velnorctl_has_every_command(self):
        manual = (PROJECT / "docs" / "man" / "velnorctl.1").read_text().replace("\\", "").replace('"', "")
        group, commands = "", []
        for line in output_of(support.PROGRAMS / "velnorctl", "--help-all").splitlines():
            if re.fullmatch(r"[a-z]+", line):
                group = line
                commands.append(group)
            elif command := re.match(r"    ([a-z-]+) +[A-Z]", line):
                commands.append(f"{group} {command[1]}")
        self.assertIn("user add", commands)
        self.assertEqual([command for command in commands if command not in manual], [])

    @needs("lintian")
    def test_lintian_finds_nothing(self):
        run = subprocess.run(["lintian", "--no-cfg", "--allow-root", "--fail-on", "error,warning",
                              *packages(version=THIS)], capture_output=True, text=True)
        self.assertEqual((run.returncode, run.stdout), (0, ""), run.stderr)

    def test_only_the_console_needs_the_toolkit(self):
        [server] = packages("velnor-server", NEWER)
        self.assertNotIn("qt", output_of("dpkg-deb", "-f", server, "Depends"))
        for console in packages("velnor-console", THIS):
            self.assertIn("libqt6widgets6", output_of("dpkg-deb", "-f", console, "Depends"))
            held = output_of("dpkg-deb", "-c", console)
            for file in ("bin/velnor", "share/applications/velnor.desktop", "apps/velnor.svg"):
                self.assertIn(file, held)


class Life(support.SystemTest):
    def setUp(self):
        if reason := os.environ[_NO_ROOT]:
            self.skipTest(reason)
        directory = Path(os.environ["VELNOR_TEST_DIRECTORY"])
        self.root = directory / self._testMethodName
        self.home = self.root / HOME[1:]
        subprocess.run(["cp", "-a", "--reflink=auto", MACHINE_ROOT, self.root], check=True)
        for package in packages("velnor-server"):
            shutil.copy(package, self.root / "root")
        (self.root / "etc/hosts").write_text(hosts_file({"mx.elsewhere.test": "127.0.0.2"}))
        self.machine = Machine(self.root, directory)
        self.addCleanup(self.machine.kill)

    def inside(self, *command, expect=0, **options):
        """Runs a command on the machine and gives what it printed."""
        run = self.machine.inside(*command, **options)
        self.assertEqual(run.returncode, expect, f"{command}\n{run.stdout}")
        return run.stdout

    def control(self, *arguments, **options):
        return self.inside("velnorctl", "--directory", HOME, *arguments, **options)

    def install(self, version):
        [package] = packages("velnor-server", version)
        self.inside("apt-get", "install", "-y", "--no-install-recommends", f"/root/{package.name}")

    def shown(self, *properties):
        """Values of the unit's properties, in the order of their names."""
        names = [f"--property={name}" for name in properties]
        lines = self.inside("systemctl", "show", *names, UNIT).splitlines()
        return tuple(line.partition("=")[2] for line in sorted(lines))

    def wait_for_status(self, status):
        wait_for(status, lambda: self.shown("ActiveState", "StatusText") == ("active", status))

    def receive(self, subject):
        with smtplib.SMTP("127.0.0.1", SMTP_PORT) as client:
            client.sendmail("zoe@elsewhere.test", [f"bob@{DOMAIN}"], MESSAGE % subject)

    def subjects(self):
        """Those of bob's messages, by a POP3 client at the port that only the unit's one right opens."""
        texts = support.fetch(f"bob@{DOMAIN}", port=110)
        return sorted(text.partition(b"Subject: ")[2].partition(b"\r\n")[0].decode() for text in texts)

    def files(self):
        """All that the server's home holds, but for the spool: owner, mode and content."""
        return {path.relative_to(self.home): (path.lstat().st_uid, path.lstat().st_mode,
                                              path.read_bytes() if path.is_file() else None)
                for path in self.home.rglob("*") if path.parent.name != "send"}

    def test_from_nothing_to_nothing(self):
        self.install(THIS)
        self.wait_for_status(IDLE)
        self.assert_installed()
        self.configure()
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            self.wait_for_status(ONE_SESSION)
        self.wait_for_status(IDLE)
        self.send_out()
        self.receive("before the kill")
        self.inside("systemctl", "kill", "--signal=KILL", UNIT)
        wait_for("the restart", lambda: self.shown("ActiveState", "NRestarts") == ("active", "1"))
        wait_for("the first message", lambda: self.subjects() == ["before the kill"])

        kept, before = self.files(), self.shown("MainPID")
        self.receive("before the upgrade")
        self.install(NEWER)
        self.wait_for_status(IDLE)
        self.assertNotEqual(self.shown("MainPID"), before)
        wait_for("the second message", lambda: self.subjects() == ["before the kill", "before the upgrade"])
        self.assertLessEqual(kept.items(), self.files().items())
        self.assert_upgrade_follows_no_link()

        kept = self.files()
        self.inside("apt-get", "remove", "-y", "velnor-server")
        self.assertEqual(self.shown("ActiveState"), ("inactive",))
        self.assertFalse((self.root / "usr/lib/velnor").exists())
        self.assertEqual(self.files(), kept)
        self.install(THIS)
        self.wait_for_status(IDLE)
        self.assertEqual(len(self.subjects()), 2)
        self.assertEqual(self.files(), kept)
        self.assert_purged()

    def assert_installed(self):
        """What an installation has made, before anybody configured it."""
        self.assertEqual(self.inside("stat", "-c", "%U:%G %a", HOME, f"{HOME}/mail", f"{HOME}/velnor.ini"),
                         "velnor:velnor 750\nvelnor:velnor 700\nvelnor:velnor 640\n")
        for link in "/usr/bin/velnorctl", "/usr/sbin/VelnorService":
            program = f"/usr/lib/velnor/{Path(link).name}"
            self.assertEqual(self.inside("readlink", "-f", link).strip(), program)
        self.assertEqual(self.shown("UnitFileState"), ("enabled",))

    def configure(self):
        """Everything by velnorctl alone."""
        self.control("config", "set", f"SmtpPort={SMTP_PORT}", "PrimaryDNS=127.0.0.1")
        self.inside("systemctl", "restart", UNIT)
        self.control("domain", "add", DOMAIN)
        self.control("user", "add", f"bob@{DOMAIN}", "Pop3Enable=1", "SmtpEnable=1", input=PASSWORD + "\n")
        self.control("rule", "add", "10.9.8.*")
        self.assertTrue((self.root / "usr/lib/velnor/rules.ini").is_symlink())
        self.assertEqual((self.home / "rules.ini").read_bytes().strip(), b"10.9.8.*")
        self.control("config", "check")
        self.assertEqual({owner for owner, *_ in self.files().values()}, {self.home.stat().st_uid})
        self.inside("systemctl", "reload", UNIT)
        self.wait_for_status(IDLE)
        self.control("ready")
        status = self.inside("runuser", "-u", "velnor", "--", "velnorctl", "--directory", HOME, "status")
        self.assertIn("running: yes", status)

    def send_out(self):
        """A message from bob arrives at the exchanger of another domain, byte for byte."""
        exchanger = Exchanger("127.0.0.2", GOOD)
        NameServer({"elsewhere.test": [(10, "mx.elsewhere.test")]})
        text = b"Subject: out\r\n\r\n..\r\n8 bits: \xe4\xff\r\n" + b"x" * 900 + b"\r\nend"
        support.send("bob", ["zoe@elsewhere.test"], text)
        [heard] = wait_for("the message at the exchanger", lambda: [
            lines for lines in exchanger.heard if lines[-1:] == [b"QUIT\r\n"]])
        self.assertEqual(heard[:4], [b"HELO example.test\r\n", b"MAIL FROM: <bob@example.test>\r\n",
                                     b"RCPT TO: <zoe@elsewhere.test>\r\n", b"DATA\r\n"])
        self.assertTrue(heard[4].startswith(b"Received: from client.test by example.test "), heard[4])
        self.assertEqual(b"".join(heard[5:]), text + b"\r\n.\r\nQUIT\r\n")

    def assert_upgrade_follows_no_link(self):
        """A server that was taken over leaves links in its home; nothing is written to where they lead.

        It is switched off meanwhile, and an upgrade leaves it so.
        """
        [package] = packages("velnor-server", NEWER)
        away, outside = self.root / "root/away", self.root / "root/outside"
        rules, beside = self.home / "rules.ini", self.root / "usr/lib/velnor/rules.ini"
        links = [self.home / "velnor.ini", rules]
        kept, account = self.files(), self.home.stat().st_uid
        self.inside("systemctl", "disable", "--now", UNIT)
        for directory in away, outside:
            directory.mkdir()
        for path in links:
            path.rename(away / path.name)
            path.symlink_to(f"/root/outside/{path.name}")
            os.chown(path, account, account, follow_symlinks=False)
        self.inside("dpkg", "-i", f"/root/{package.name}")
        self.assertEqual((list(outside.iterdir()), all(path.is_symlink() for path in links)), ([], True))

        # An upgrade brings the rules in a file beside the programs to where the link stands.
        (outside / "rules.ini").write_text("kept")
        beside.unlink()
        beside.write_text("10.9.8.*")
        self.inside("dpkg", "-i", f"/root/{package.name}")
        for path, owner, text in (outside / "rules.ini", 0, "kept"), (rules, account, "10.9.8.*"):
            self.assertEqual((path.lstat().st_uid, path.read_text()), (owner, text))
        self.assertFalse(rules.is_symlink())
        for path in links:
            (away / path.name).rename(path)
        self.assertEqual(self.files(), kept)
        self.assertEqual(self.shown("ActiveState", "UnitFileState"), ("inactive", "disabled"))
        self.inside("systemctl", "enable", "--now", UNIT)

    def assert_purged(self):
        """A purge takes the configuration, and the mail only if it is told to."""
        mail = {path: found for path, found in self.files().items() if path.parts[0] == "mail"}
        self.inside("apt-get", "purge", "-y", "velnor-server")
        self.assertEqual(self.files(), mail)
        self.install(THIS)
        self.inside("env", "VELNOR_PURGE_MAIL=yes", "apt-get", "purge", "-y", "velnor-server")
        self.assertFalse(self.home.exists())

    def test_entered_by_hand_it_runs_under_an_account_of_its_own_and_is_taken_out(self):
        programs, home = "/opt/velnor", "/srv/velnor"
        (self.root / programs[1:]).mkdir()
        for program in "VelnorService", "velnorctl":
            shutil.copy(support.PROGRAMS / program, self.root / programs[1:])
        (self.root / home[1:] / "mail").mkdir(parents=True)
        control = [f"{programs}/velnorctl", "--directory", home]
        self.inside(*control, "config", "set", "MailPath", f"{home}/mail")
        self.inside(*control, "domain", "add", DOMAIN)
        self.inside("env", "-C", home, f"{programs}/VelnorService", "/Service")
        self.assertEqual(self.shown("ActiveState", "UnitFileState"), ("inactive", "enabled"))
        self.inside("systemctl", "start", UNIT)
        self.wait_for_status(IDLE)
        self.inside(*control, "ready")
        self.inside("systemctl", "reload", UNIT)
        [process] = self.shown("MainPID")
        owners = self.inside("stat", "-c", "%U", f"/proc/{process}", home, f"{home}/velnor.ini",
                             f"{home}/mail", programs)
        self.assertEqual(owners.split(), ["velnor"] * 4 + ["root"])
        self.inside(f"{programs}/VelnorService", "/UnregServer")
        self.assertEqual(self.shown("ActiveState", "LoadState"), ("inactive", "not-found"))

        self.install(THIS)
        self.wait_for_status(IDLE)
        self.inside(f"{programs}/VelnorService", "/UnregServer")
        self.assertEqual(self.shown("ActiveState", "LoadState"), ("inactive", "masked"))
        self.inside("env", "-C", HOME, "VelnorService", "/Service")
        self.assertEqual(self.shown("LoadState", "UnitFileState"), ("loaded", "enabled"))


def build_tree():
    """The configuration of cpack for the tree that was built."""
    places = [Path.cwd(), *Path.cwd().parents, PROJECT / "build" / "release"]
    configs = [place / "CPackConfig.cmake" for place in places]
    return next((config for config in configs if config.exists()), None)


def make_packages(config, directory):
    """The packages of this version, and the server's of a newer one."""
    for more in [], ["-R", NEWER, "-D", "CPACK_COMPONENTS_ALL=server"]:
        subprocess.run(["cpack", "--config", config, "-B", directory, *more], cwd=directory, check=True)


def package_source(suite):
    """This machine's own source of Debian packages, and how it is reached."""
    policy = output_of("apt-cache", "policy", "base-files")
    source = re.search(rf" (https?:\S+) {suite}/main ", policy)
    proxy = output_of("apt-config", "shell", "PROXY", "Acquire::http::Proxy")
    return source and source[1], {"http_proxy": proxy.partition("'")[2].rstrip("'\n")} if proxy else {}


def make_root():
    """Makes the machine's root if it is not there yet. The reason if there is none."""
    if MACHINE_ROOT.exists():
        return ""
    if os.geteuid() != 0 or not shutil.which("debootstrap"):
        return "a clean root takes root's rights and debootstrap"
    suite = output_of("sh", "-c", ". /etc/os-release && echo $VERSION_CODENAME").strip()
    source, environment = package_source(suite)
    if not source:
        return "this machine has no source of packages"
    MACHINE_ROOT.parent.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(dir=MACHINE_ROOT.parent, prefix="machine-root-") as directory:
        run = subprocess.run(["debootstrap", "--variant=minbase", "--include=systemd,dbus,adduser", suite,
                              f"{directory}/root", source], env={**os.environ, **environment}, text=True,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if run.returncode != 0:
            return "debootstrap could not make a clean root: " + run.stdout[-500:]
        os.rename(f"{directory}/root", MACHINE_ROOT)
    return ""


def main():
    if _PACKAGES in os.environ:
        support.main()
    config = build_tree()
    if not config or not shutil.which("cpack"):
        print("skipped: there is no build tree to make packages of, or no cpack")
        sys.exit(support.SKIPPED)
    with tempfile.TemporaryDirectory(prefix="velnor-packages-") as directory:
        make_packages(config, directory)
        os.environ.update({_PACKAGES: directory, _NO_ROOT: make_root()})
        support.main()


if __name__ == "__main__":
    main()
