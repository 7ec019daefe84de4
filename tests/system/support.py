"""What the system tests share: a namespace for each test class, a server to run in it, a peer to talk to it.

Every class runs in a process of its own, with its own network (so ports and the single-instance name are its
own), its own mounts, its own process ids (so nothing outlives it) and a directory that goes with it. The
classes of a file run at the same time.
"""

import base64
import fcntl
import os
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from pathlib import Path

SMTP_PORT, POP3_PORT = 2525, 1110
DOMAIN, PASSWORD = "example.test", "secret"
PATIENCE = 180  # seconds until something that must happen counts as missing
PROGRAMS = Path(os.environ.get("VELNOR_BIN", Path(__file__).resolve().parents[2] / "build" / "bin"))

DATE = rb"(?:Mon|Tue|Wed|Thu|Fri|Sat|Sun), \d\d [JFMASOND][a-z]{2} \d{4} \d\d:\d\d:\d\d [+-]\d{4}"
_DIRECTORY = "VELNOR_TEST_DIRECTORY"


def main():
    """Runs the test classes of the calling file, or those named as arguments, each in its namespace."""
    script = sys.modules["__main__"]
    if _DIRECTORY in os.environ:
        _raise_loopback()
        unittest.main(module=script, verbosity=2, warnings="ignore")
    classes = [name for name, value in vars(script).items()
               if isinstance(value, type) and issubclass(value, SystemTest) and value is not SystemTest]
    with tempfile.TemporaryDirectory(prefix="velnor-system-") as root:
        runs = [_start_in_namespace(script.__file__, name, root) for name in sys.argv[1:] or classes]
        failed = [name for name, run in runs if _report(name, run)]
    sys.exit(f"failed: {', '.join(failed)}" if failed else 0)


def _start_in_namespace(script, name, root):
    directory = os.path.join(root, name)
    os.mkdir(directory)
    command = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.geteuid() != 0:
        command.append("--map-root-user")
    run = subprocess.Popen(command + [sys.executable, script, name], text=True,
                           env={**os.environ, _DIRECTORY: directory},
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return name, run


def _report(name, run):
    output, _ = run.communicate()
    print(f"== {name}\n{output}", flush=True)
    return run.returncode


def _raise_loopback():
    get_flags, set_flags, up = 0x8913, 0x8914, 1
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        request = bytearray(struct.pack("16sH14x", b"lo", 0))
        fcntl.ioctl(any_socket, get_flags, request)
        flags = struct.unpack_from("H", request, 16)[0]
        struct.pack_into("H", request, 16, flags | up)
        fcntl.ioctl(any_socket, set_flags, request)


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
    faults = []

    def guarded(call):
        try:
            call()
        except BaseException as fault:  # handed to the caller's thread below
            faults.append(fault)
    threads = [threading.Thread(target=guarded, args=(call,)) for call in calls]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if faults:
        raise faults[0]


def stored(text):
    """The bytes in a file of what was handed to a text stream."""
    return text.replace(b"\n", b"\r\n")


class SystemTest(unittest.TestCase):
    maxDiff = None

    def server_with(self, *users, **settings):
        """A server, not started yet, that ends with the test at the latest."""
        server = Server(users, **settings)
        self.addCleanup(server.kill)
        return server

    def assert_one(self, contents, expected):
        """Exactly one of `contents` has the expected bytes; `<date>` stands for any date of a header."""
        pattern = re.escape(expected).replace(re.escape(b"<date>"), DATE)
        hits = [content for content in contents if re.fullmatch(pattern, content)]
        if len(hits) != 1:
            self.fail("\n".join([f"{len(hits)} files instead of one with", repr(expected), "among",
                                *map(repr, contents)]))

    def assert_closed_without_a_word(self, port, source=""):
        with Peer(port, source) as peer:
            self.assertEqual(peer.reply(), "")


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


def log_on_smtp(user, password=PASSWORD, domain=DOMAIN, address="127.0.0.1", port=SMTP_PORT):
    """An authenticated SMTP session."""
    def encode(text):
        return base64.b64encode(text.encode()).decode()
    peer = Peer(port, address=address)
    talk = [peer.reply(), peer.say("EHLO client.test"), peer.say("AUTH LOGIN"),
            peer.say(encode(f"{user}@{domain}")), peer.say(encode(password))]
    assert talk[-1] == "235 authentication OK", talk
    return peer


def log_on_pop3(user, password=PASSWORD):
    """A POP3 session and the reply to its PASS."""
    peer = Peer(POP3_PORT)
    talk = [peer.reply(), peer.say(f"USER {user}@{DOMAIN}"), peer.say(f"PASS {password}")]
    return peer, talk[-1]


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


def send(user, recipients, text):
    """One message from an authenticated session of `user`, which the server must take."""
    with log_on_smtp(user) as peer:
        reply = hand_in(peer, f"{user}@{DOMAIN}", [f"{name}@{DOMAIN}" for name in recipients], text)
        assert reply == "250 OK", reply
        peer.say("QUIT")


COPIES = 100


def begin_long_delivery(server):
    """Has the server deliver a large message a hundred times to bob, and returns when it has begun to."""
    text = b"\r\n".join([b"Subject: long"] + [b""] * 500_000 + [b"end"])
    with log_on_smtp("alice") as peer:
        reply = hand_in(peer, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"] * COPIES, text)
        assert reply == "250 OK", reply
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
        self.configure()
        for user in users:
            self.add_user(user)
        self.process, self.log, self.listen = None, [], True

    def configure(self, **settings):
        self.settings.update(settings)
        write_profile(self.home / "velnor.ini", "System", self.settings)

    def add_user(self, account, domain=DOMAIN, **keys):
        self.inbox_path(account, domain).mkdir(parents=True, exist_ok=True)
        write_profile(self.mail / domain / account / "config.ini", "Profile",
                      {"Password": PASSWORD, "Pop3Enable": 1, "SmtpEnable": 1, "MaxMailNum": 60000, **keys})

    def inbox_path(self, account, domain=DOMAIN):
        return self.mail / domain / account / "MailDir" / "Inbox"

    def inbox(self, account):
        """The contents of the complete messages by their names."""
        return {path.name: path.read_bytes() for path in sorted(self.inbox_path(account).glob("n*"))}

    def inbox_names(self, account):
        return [name for name in os.listdir(self.inbox_path(account)) if name.startswith("n")]

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
