"""The Debian packages: their papers, and the life of the server's package in a root that holds nothing else.

The packages are made of the build tree around the working directory, or of build/release. The clean root is made
by debootstrap once and kept in build/.
"""
# ctest: heavy serial timeout=900

import os
import poplib
import re
import shutil
import smtplib
import subprocess
import tempfile
from pathlib import Path

import support
from support import DOMAIN, PASSWORD

PROJECT = Path(__file__).resolve().parents[2]
CLEAN_ROOT = PROJECT / "build" / "clean-root"
NEWER = "99.0.0"
HOME = "/var/lib/velnor"
_PACKAGES, NO_ROOT = "VELNOR_TEST_PACKAGES", "VELNOR_TEST_NO_ROOT"

MESSAGE = "From: zoe@elsewhere.test\r\nTo: bob@example.test\r\nSubject: %s\r\n\r\nA text."


def packages(name="*", version="*"):
    return sorted(Path(os.environ[_PACKAGES]).glob(f"{name}_{version}_*.deb"))


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Papers(support.SystemTest):
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

    def test_lintian_finds_nothing(self):
        run = subprocess.run(["lintian", "--no-cfg", "--allow-root", "--fail-on", "error,warning",
                              *packages(version="[!9]*")], capture_output=True, text=True)
        self.assertEqual((run.returncode, run.stdout), (0, ""), run.stderr)


class Life(support.SystemTest):
    """Install, configure, serve, upgrade, remove and purge, in this order, as each needs what was before."""

    def setUp(self):
        if reason := os.environ[NO_ROOT]:
            self.skipTest(reason)
        self.root = Path(os.environ["VELNOR_TEST_DIRECTORY"]) / "root"
        subprocess.run(["cp", "-a", "--reflink=auto", CLEAN_ROOT, self.root], check=True)
        for source, place in ("/dev", "dev"), ("/proc", "proc"):
            subprocess.run(["mount", "--rbind", source, self.root / place], check=True)
            self.addCleanup(subprocess.run, ["umount", "-l", self.root / place], check=True)
        for package in packages():
            shutil.copy(package, self.root / "root")
        self.server = None
        self.addCleanup(self.kill)

    def kill(self):
        if self.server and self.server.poll() is None:
            self.server.kill()
            self.server.wait()

    def inside(self, *command, expect=0, **options):
        """Runs a command in the root and gives what it printed."""
        run = subprocess.run(["chroot", self.root, *command], text=True, capture_output=True,
                             env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8",
                                  "DEBIAN_FRONTEND": "noninteractive", **options.pop("env", {})}, **options)
        self.assertEqual(run.returncode, expect, f"{command}\n{run.stdout}{run.stderr}")
        return run.stdout

    def control(self, *arguments, **options):
        return self.inside("velnorctl", "--directory", HOME, *arguments, **options)

    def install(self, version):
        [package] = packages("velnor-server", version)
        self.inside("apt-get", "install", "-y", "--no-install-recommends", f"/root/{package.name}")

    def start(self):
        """Starts the server as its unit does: the account, and the one right that it has."""
        self.server = subprocess.Popen(
            ["chroot", self.root, "setpriv", "--reuid=velnor", "--regid=velnor", "--init-groups",
             "--inh-caps=-all,+net_bind_service", "--ambient-caps=-all,+net_bind_service",
             "--bounding-set=-all,+net_bind_service", "--no-new-privs",
             "env", "-C", HOME, "/usr/sbin/VelnorService"], stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL)
        support.wait_for("the server to be ready", self.is_ready)

    def is_ready(self):
        self.assertIsNone(self.server.poll(), "the server has ended")
        return subprocess.run(["chroot", self.root, "velnorctl", "--directory", HOME, "ready"],
                              capture_output=True).returncode == 0

    def stop(self):
        self.server.terminate()
        self.assertEqual(self.server.wait(support.PATIENCE), 0)

    def send(self, subject):
        with smtplib.SMTP("127.0.0.1", 25) as client:
            client.sendmail("zoe@elsewhere.test", [f"bob@{DOMAIN}"], MESSAGE % subject)

    def subjects(self):
        """Those of bob's messages, by a POP3 client."""
        client = poplib.POP3("127.0.0.1", 110)
        client.user(f"bob@{DOMAIN}")
        client.pass_(PASSWORD)
        count = client.stat()[0]
        heads = [b"\n".join(client.retr(number)[1]) for number in range(1, count + 1)]
        client.quit()
        return sorted(head.partition(b"Subject: ")[2].partition(b"\n")[0].decode() for head in heads)

    def files(self):
        """All that an administrator and the users of the server own, with its owner and mode."""
        top = self.root / HOME[1:]
        return {path.relative_to(top): (path.stat().st_uid, path.stat().st_mode,
                                        path.read_bytes() if path.is_file() else None)
                for path in top.rglob("*")}

    def test_from_nothing_to_nothing(self):
        self.install("[!9]*")
        self.assert_installed()
        self.configure()
        self.start()
        with support.log_on_smtp("bob", port=25) as peer:
            self.assertEqual(peer.say(f"MAIL FROM:<bob@{DOMAIN}>"), "250 OK")
            self.assertEqual(peer.say("RCPT TO:<zoe@elsewhere.test>"), "250 accept user")
        self.send("first")
        support.wait_for("the first message", lambda: self.subjects() == ["first"])

        self.send("waits through the upgrade")
        self.stop()
        kept = self.files()
        self.install(NEWER)
        self.assertEqual(self.files(), kept)
        self.assertEqual(self.inside("dpkg-query", "-W", "-f", "${Version}", "velnor-server"), NEWER)
        self.start()
        support.wait_for("the second message",
                         lambda: self.subjects() == ["first", "waits through the upgrade"])
        self.stop()

        kept = self.files()
        self.inside("apt-get", "remove", "-y", "velnor-server")
        self.assertFalse((self.root / "usr/lib/velnor").exists())
        self.assertEqual(self.files(), kept)
        self.install("[!9]*")
        self.assertEqual(self.files(), kept)
        self.start()
        self.assertEqual(len(self.subjects()), 2)
        self.stop()
        self.assert_purged()

    def assert_installed(self):
        """What an installation has made, before anybody configured it."""
        self.assertEqual(self.inside("stat", "-c", "%U:%G %a", HOME, f"{HOME}/mail", f"{HOME}/velnor.ini"),
                         "velnor:velnor 750\nvelnor:velnor 700\nvelnor:velnor 640\n")
        for link, program in ("/usr/bin/velnorctl", "velnorctl"), ("/usr/sbin/VelnorService", "VelnorService"):
            self.assertEqual(self.inside("readlink", "-f", link).strip(), f"/usr/lib/velnor/{program}")
        self.assertIn("VelnorService.service", self.inside("ls", "/etc/systemd/system/multi-user.target.wants"))

    def configure(self):
        self.control("domain", "add", DOMAIN)
        self.control("user", "add", f"bob@{DOMAIN}", "Pop3Enable=1", "SmtpEnable=1", input=PASSWORD + "\n")
        self.control("rule", "add", "10.9.8.*")
        self.assertTrue((self.root / "usr/lib/velnor/rules.ini").is_symlink())
        self.assertEqual((self.root / HOME[1:] / "rules.ini").read_bytes().strip(), b"10.9.8.*")
        self.control("config", "check")

    def assert_purged(self):
        """A purge takes the configuration, and the mail only if it is told to."""
        mail = {path: found for path, found in self.files().items() if path.parts[0] == "mail"}
        self.inside("apt-get", "purge", "-y", "velnor-server")
        self.assertEqual(self.files(), mail)
        self.install("[!9]*")
        self.inside("apt-get", "purge", "-y", "velnor-server", env={"VELNOR_PURGE_MAIL": "yes"})
        self.assertFalse((self.root / HOME[1:]).exists())


class Contents(support.SystemTest):
    def test_only_the_console_needs_the_toolkit(self):
        [server] = packages("velnor-server", NEWER)
        self.assertNotIn("qt", output_of("dpkg-deb", "-f", server, "Depends"))
        for console in packages("velnor-console", "[!9]*"):
            self.assertIn("libqt6widgets6", output_of("dpkg-deb", "-f", console, "Depends"))
            held = output_of("dpkg-deb", "-c", console)
            for file in ("bin/velnor", "share/applications/velnor.desktop", "apps/velnor.svg"):
                self.assertIn(file, held)


def build_tree():
    """The configuration of cpack for the tree that was built."""
    places = [Path.cwd(), *Path.cwd().parents, PROJECT / "build" / "release"]
    return next((place / "CPackConfig.cmake" for place in places if (place / "CPackConfig.cmake").exists()), None)


def make_packages(config, directory):
    """The packages of this version, and the server's of a newer one."""
    for more in [], ["-R", NEWER, "-D", "CPACK_COMPONENTS_ALL=server"]:
        subprocess.run(["cpack", "--config", config, "-B", directory, *more], cwd=directory, check=True)


def package_source(suite):
    """The machine's own source of Debian packages, and how it is reached."""
    policy = output_of("apt-cache", "policy", "base-files")
    source = re.search(rf" (https?:\S+) {suite}/main ", policy)
    proxy = output_of("apt-config", "shell", "PROXY", "Acquire::http::Proxy")
    return source and source[1], {"http_proxy": proxy.partition("'")[2].rstrip("'\n")} if proxy else {}


def make_clean_root():
    """Makes the clean root if it is not there yet. The reason if there is none."""
    if CLEAN_ROOT.exists():
        return ""
    if os.geteuid() != 0 or not shutil.which("debootstrap"):
        return "a clean root takes root's rights and debootstrap"
    suite = output_of("sh", "-c", ". /etc/os-release && echo $VERSION_CODENAME").strip()
    source, environment = package_source(suite)
    if not source:
        return "this machine has no source of packages"
    CLEAN_ROOT.parent.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(dir=CLEAN_ROOT.parent, prefix="clean-root-") as directory:
        run = subprocess.run(["debootstrap", "--variant=minbase", suite, f"{directory}/root", source],
                             env={**os.environ, **environment}, stdin=subprocess.DEVNULL, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if run.returncode != 0:
            return "debootstrap could not make a clean root: " + run.stdout[-500:]
        os.rename(f"{directory}/root", CLEAN_ROOT)
    return ""


def main(make_root=make_clean_root):
    """Runs the test classes of the calling file with the packages, and with a root or the reason for none."""
    if _PACKAGES in os.environ:
        support.main()
    config = build_tree()
    if not config or not shutil.which("cpack"):
        print("skipped: there is no build tree to make packages of, or no cpack")
        return
    with tempfile.TemporaryDirectory(prefix="velnor-packages-") as directory:
        make_packages(config, directory)
        os.environ.update({_PACKAGES: directory, NO_ROOT: make_root()})
        support.main()


if __name__ == "__main__":
    main()
