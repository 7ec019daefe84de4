"""What the system tests share: a namespace for each test class, a server to run in it, a peer to talk to it.

Every class runs in a process of its own, with its own network (so ports and the single-instance name are its
own), its own mounts, its own process ids (so nothing outlives it) and a directory that goes with it. The
classes of a file run at the same time.
"""

import base64
import os
import poplib
import re
import shutil
import signal
import smtplib
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

SMTP_PORT, POP3_PORT = 2525, 1110
DOMAIN, PASSWORD = "example.test", "secret"
PATIENCE = 180  # seconds until something that must happen counts as missing
SKIPPED = 77  # exit status of a script of which something was left out
PROJECT = Path(__file__).resolve().parents[2]
PROGRAMS = Path(os.environ.get("VELNOR_BIN", PROJECT / "build" / "bin"))
_DIRECTORY = "VELNOR_TEST_DIRECTORY"
_NAMESPACE = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
if os.geteuid() != 0:
    _NAMESPACE.append("--map-root-user")


def main():
    """Runs the test classes of the calling file, or those named as arguments, each in its namespace."""
    script = sys.modules["__main__"]
    if _DIRECTORY in os.environ:
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        result = unittest.main(module=script, verbosity=2, warnings="ignore", exit=False).result
        sys.exit(1 if not result.wasSuccessful() else SKIPPED if result.skipped else 0)
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    if subprocess.run([*_NAMESPACE, "true"]).returncode != 0:
        print("skipped: there are no namespaces to be had")
        sys.exit(SKIPPED)
    classes = sys.argv[1:] or [name for name, value in vars(script).items()
                               if isinstance(value, type) and issubclass(value, SystemTest)
                               and value.__module__ == "__main__"]
    with tempfile.TemporaryDirectory(prefix="velnor-system-") as root:
        runs = [(name, _start_in_namespace(script.__file__, name, root)) for name in classes]
        ends = {_report(name, run) for name, run in runs} - {0}
    sys.exit(SKIPPED if ends == {SKIPPED} else 1 if ends else 0)


def _start_in_namespace(script, name, root):
    directory = os.path.join(root, name)
    os.mkdir(directory)
    return subprocess.Popen([*_NAMESPACE, sys.executable, script, name], text=True,
                            env={**os.environ, _DIRECTORY: directory},
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


def _report(name, run):
    output, _ = run.communicate()
    print(f"== {name}\n{output}", flush=True)
    return run.returncode


def needs(*tools):
    """Skips a test, or a class of them, on a machine that lacks one of the tools."""
    missing = [tool for tool in tools if not shutil.which(tool)]
    return unittest.skipIf(missing, f"not installed: {', '.join(missing)}")


def wait_for(what, happened):
    """Polls until `happened` gives something true, which is the result."""
    end = time.monotonic() + PATIENCE
    while not (result := happened()):
        if time.monotonic() > end:
            raise AssertionError(f"in vain waited for: {what}")
        time.sleep(0.02)
    return result


def at_once(*calls):
    """Runs the calls in a thread each, to the end of all, and raises the first of their exceptions."""
    with ThreadPoolExecutor(len(calls)) as pool:
        for run in [pool.submit(call) for call in calls]:
            run.result()


def stored(text):
    """The bytes in a file of what was handed to a text stream."""
    return text.replace(b"\n", b"\r\n")


def replace_in_etc(**texts):
    """Gives this namespace its own files of these names in /etc; `_` stands for a dot."""
    directory = Path(tempfile.mkdtemp(dir=os.environ[_DIRECTORY]))
    for name, text in texts.items():
        own, file = directory / name, Path("/etc", name.replace("_", "."))
        own.write_text(text)
        if file.exists():
            subprocess.run(["mount", "--bind", own, file.resolve()], check=True)


class SystemTest(unittest.TestCase):
    maxDiff = None

    def server_with(self, *users, **settings):
        """A server, not started yet, that ends with the test at the latest."""
        server = Server(users, **settings)
        self.addCleanup(server.kill)
        return server


class Peer:
    """A client that speaks line by line."""

    def __init__(self, port, source="", address="127.0.0.1"):
        self.socket = socket.create_connection((address, port), PATIENCE, (source, 0))
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.stream = self.socket.makefile("rb")

    def reply(self):
        """The next line without its CR LF; an empty text when the connection has ended."""
        try:
            return re.sub(r"\r\n\Z", "", self.stream.readline().decode("latin-1"))
        except ConnectionResetError:
            return ""

    def say(self, line):
        self.socket.sendall(line.encode("latin-1") + b"\r\n")
        return self.reply()

    def rest(self):
        """Everything up to the end of the connection."""
        received = b""
        try:
            while chunk := self.stream.read1(65536):
                received += chunk
        except ConnectionResetError:
            pass
        return received

    def close(self):
        self.stream.close()
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def greeting(port, source=""):
    """The first line from the port; an empty text if the connection is refused, or closed without a word."""
    try:
        with Peer(port, source) as peer:
            return peer.reply()
    except ConnectionRefusedError:
        return ""


def log_on_smtp(user, domain=DOMAIN, address="127.0.0.1", port=SMTP_PORT):
    """An authenticated SMTP session."""
    def encode(text):
        return base64.b64encode(text.encode()).decode()
    peer = Peer(port, address=address)
    talk = [peer.reply(), peer.say("EHLO client.test"), peer.say("AUTH LOGIN"),
            peer.say(encode(f"{user}@{domain}")), peer.say(encode(PASSWORD))]
    assert talk[-1] == "235 authentication OK", talk
    return peer


def log_on_pop3(user, password=PASSWORD):
    """A POP3 session and the reply to its PASS."""
    peer = Peer(POP3_PORT)
    talk = [peer.reply(), peer.say(f"USER {user}@{DOMAIN}"), peer.say(f"PASS {password}")]
    return peer, talk[-1]


def reply_to_log_on(user, password=PASSWORD):
    peer, reply = log_on_pop3(user, password)
    peer.close()
    return reply


def hand_in(peer, sender, recipients, text):
    """The reply to one message on a session that is ready for MAIL FROM.

    `text` is as on the wire, without its end marker.
    """
    talk = [peer.say(f"MAIL FROM:<{sender}>")] + [peer.say(f"RCPT TO:<{address}>") for address in recipients]
    talk.append(peer.say("DATA"))
    assert talk[-1].startswith("354 "), talk
    try:
        peer.socket.sendall(text + b"\r\n.\r\n")
    except (BrokenPipeError, ConnectionResetError):
        pass  # the server may give up early; its reply is what counts
    return peer.reply()


def send(user, recipients, text, **how):
    """One message from an authenticated session of `user`, which the server must take.

    The recipients without a domain are of the user's; `how` is for the log-on.
    """
    domain = how.get("domain", DOMAIN)
    with log_on_smtp(user, **how) as peer:
        reply = hand_in(peer, f"{user}@{domain}",
                        [name if "@" in name else f"{name}@{domain}" for name in recipients], text)
        assert reply == "250 OK", reply
        peer.say("QUIT")


def submit(user, recipient, message):
    """One message by smtplib."""
    with smtplib.SMTP("127.0.0.1", SMTP_PORT) as client:
        client.ehlo()
        client.user, client.password = f"{user}@{DOMAIN}", PASSWORD
        client.auth("LOGIN", client.auth_login, initial_response_ok=False)
        assert client.sendmail(f"{user}@{DOMAIN}", [f"{recipient}@{DOMAIN}"], message) == {}


def fetch(account, address="127.0.0.1", port=POP3_PORT):
    """The messages of an account by poplib."""
    box = poplib.POP3(address, port, PATIENCE)
    box.user(account)
    box.pass_(PASSWORD)
    lines = [box.retr(number + 1)[1] for number in range(box.stat()[0])]
    box.quit()
    return [b"".join(line + b"\r\n" for line in text) for text in lines]


COPIES = 100


def begin_long_delivery(server):
    """Has the server deliver a large message a hundred times to bob, and returns when it has begun to."""
    send("alice", ["bob"] * COPIES, b"\r\n".join([b"Subject: long"] + [b""] * 500_000 + [b"end"]))
    wait_for("the delivery", lambda: server.logged("]Agent Thread started"))


def write_profile(path, section, keys):
    path.write_text("".join([f"[{section}]\n"] + [f"{key}={value}\n" for key, value in keys.items()]))


class Server:
    """One server: `home` is its working directory, `programs` the program's, `mail` the mail root.

    The lines of its standard output gather in `log` for as long as nobody sets `listen` to False.
    """

    def __init__(self, users=(), domains=(DOMAIN,), **settings):
        self.directory = Path(tempfile.mkdtemp(dir=os.environ[_DIRECTORY]))
        self.home, self.programs, self.mail = (self.directory / part for part in ("home", "programs", "mail"))
        for directory in (self.home, self.programs, self.mail):
            directory.mkdir()
        self.errors = self.directory / "errors"
        self.program = shutil.copy(PROGRAMS / "VelnorService", self.programs)
        self.settings = {"MailPath": self.mail, "SmtpPort": SMTP_PORT, "Pop3Port": POP3_PORT,
                         "LocalDomain": "".join(f"{domain}|" for domain in domains), **settings}
        self.domain = next(iter(domains), DOMAIN)  # of the accounts, where nothing else is said
        self.configure()
        for user in users:
            self.add_user(user)
        self.process, self.log, self.listen = None, [], True

    def configure(self, **settings):
        self.settings.update(settings)
        write_profile(self.home / "velnor.ini", "System", self.settings)

    def add_user(self, account, domain=None, **keys):
        self.inbox_path(account, domain).mkdir(parents=True, exist_ok=True)
        write_profile(self.mail / (domain or self.domain) / account / "config.ini", "Profile",
                      {"Password": PASSWORD, "Pop3Enable": 1, "SmtpEnable": 1, "MaxMailNum": 60000, **keys})

    def inbox_path(self, account, domain=None):
        return self.mail / (domain or self.domain) / account / "MailDir" / "Inbox"

    def inbox(self, account):
        """The contents of the complete messages by their names."""
        return {path.name: path.read_bytes() for path in sorted(self.inbox_path(account).glob("n*"))}

    def count(self, account):
        return sum(name.startswith("n") for name in os.listdir(self.inbox_path(account)))

    def spool(self):
        return sorted(os.listdir(self.mail / "send"))

    def start(self, within=()):
        """Starts the program, by the words of `within` if there are any.

        Returns when it has said that all services were started.
        """
        self.log = []
        with open(self.errors, "wb") as errors:
            self.process = self.run(errors=errors, within=within)
        if self.listen:
            self.reader = threading.Thread(target=self._read, daemon=True,
                                           args=(self.process.stdout, self.log))
            self.reader.start()
            wait_for("the start of the services",
                     lambda: self.logged("AGENT server started") or self._ended())
        return self

    def run(self, directory=None, errors=subprocess.PIPE, within=()):
        """The bare process."""
        return subprocess.Popen([*within, self.program], cwd=directory or self.home, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=errors)

    def _ended(self):
        if self.process.poll() is not None:
            raise AssertionError(f"ended with {self.process.returncode}: {self.errors.read_text()}")

    @staticmethod
    def _read(stream, log):
        pending = b""
        while chunk := stream.read1(65536):
            *lines, pending = (pending + chunk).split(b"\r\n")
            log.extend(line.decode("latin-1") for line in lines)

    def messages(self):
        """The log lines with the time taken off: five letters of category, a blank, the message."""
        head = r"\A\[\d\d/\d\d \d\d:\d\d:\d\d\]:\[(.{5})\]  "
        return [re.sub(head, r"\1 ", line) for line in list(self.log)]

    def logged(self, text):
        """The log lines so far that hold the text."""
        return [line for line in self.messages() if text in line]

    def stop(self, number=signal.SIGTERM):
        """Ends the program and gives its exit status."""
        self.process.send_signal(number)
        return self.wait()

    def kill(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def wait(self):
        """The exit status of a program that is about to end, after all of its output has been read."""
        status = self.process.wait(PATIENCE)
        if self.listen:
            self.reader.join()
        if "Sanitizer" in (errors := self.errors.read_text(errors="replace")):
            raise AssertionError(errors)
        return status
