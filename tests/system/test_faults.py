"""What goes wrong around the program: ports, disks, files, the reader of its output, clients that go away."""

import errno
import os
import socket
import struct
import subprocess
from concurrent.futures import ThreadPoolExecutor

import support
from support import COPIES, DOMAIN, PASSWORD, POP3_PORT, SMTP_PORT, Peer, greeting, reply_to_log_on, wait_for

TEXT = b"Subject: %s\r\n\r\nText."
NOOP_REPLIES = {SMTP_PORT: "250 server running OK", POP3_PORT: "+OK "}


class TakenPorts(support.SystemTest):
    def test_the_other_services_go_on(self):
        server = self.server_with("alice", "bob")
        for taken, label in (POP3_PORT, "POP3 "), (SMTP_PORT, "SMTP "):
            with socket.socket() as other:
                other.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                other.bind(("0.0.0.0", taken))
                other.listen()
                server.start()
                refusal = f"{label} can't bind {taken} port, err:{os.strerror(errno.EADDRINUSE)}"
                self.assertIn(refusal, server.messages()[:2])
                if taken == POP3_PORT:
                    support.send("alice", ["bob"], TEXT % b"hello")
                else:
                    wait_for("the delivery of what was in the spool", lambda: server.count("bob"))
                    self.assertEqual(reply_to_log_on("bob")[:17], "+OK 1 message(s) ")
                self.assertEqual(server.stop(), 0)


class MailPathGoesAway(support.SystemTest):
    def test_nothing_is_lost(self):
        server = self.server_with("alice", "bob").start()
        support.begin_long_delivery(server)
        waiting = support.log_on_smtp("alice")
        away = server.mail.rename(server.directory / "away")
        wait_for("the worker's end", lambda: server.logged("]Agent Thread ended..."))
        with waiting:
            reply = support.hand_in(waiting, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], TEXT % b"refused")
            self.assertEqual(reply, "")
        self.assertEqual(reply_to_log_on("bob"), "-ERR unable to logon on")
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            peer.say("HELO client.test")
            peer.say(f"MAIL FROM:<alice@{DOMAIN}>")
            self.assertEqual(peer.say(f"RCPT TO:<bob@{DOMAIN}>"), "550 no such user here")
        away.rename(server.mail)

        self.assertLess(server.count("bob"), COPIES, "the directory went in mid-delivery")
        support.send("alice", ["alice"], TEXT % b"later")
        wait_for("the delivery after the return", lambda: server.count("alice"))
        self.assertEqual(server.count("alice"), 1, "a fault of the disk makes no notice")
        self.assertEqual(server.stop(), 0)
        server.start()
        wait_for("all copies", lambda: server.count("bob") >= COPIES)
        wait_for("an empty spool", lambda: not server.spool())
        self.assertEqual(server.stop(), 0)


class FullDisk(support.SystemTest):
    def setUp(self):
        self.server = self.server_with()

    def mount(self, directory):
        """Puts a file system of 1 MB there and gives the file that fills it when `fill` is called."""
        directory.mkdir(parents=True, exist_ok=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", directory], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", directory], check=True)
        return directory / "filler"

    @staticmethod
    def fill(filler, left=16 * 1024):
        with open(filler, "wb", buffering=0) as stream:
            try:
                while stream.write(bytes(4096)):
                    pass
            except OSError as fault:
                assert fault.errno == errno.ENOSPC
            stream.truncate(stream.tell() - left)

    def test_a_full_spool_takes_nothing_and_keeps_nothing(self):
        filler = self.mount(self.server.mail)
        for user in ("alice", "bob"):
            self.server.add_user(user)
        self.server.start()
        self.fill(filler)
        with support.log_on_smtp("alice") as peer:
            reply = support.hand_in(peer, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], b"x" * 100_000)
            self.assertEqual((reply, peer.rest()), ("503 error recv mail", b""))
        self.assertTrue(self.server.logged(f"]recv email data failed, deliver to:<bob@{DOMAIN}>"))
        self.assertEqual(self.server.spool(), [])
        filler.unlink()
        support.send("alice", ["bob"], b"x" * 100_000)
        wait_for("the delivery", lambda: self.server.count("bob"))
        self.assertEqual(self.server.stop(), 0)

    def test_a_full_mailbox_keeps_the_message_for_a_later_start(self):
        filler = self.mount(self.server.inbox_path("bob"))
        for user in ("alice", "bob", "dan"):
            self.server.add_user(user)
        self.server.start()
        self.fill(filler)
        support.send("alice", ["bob", "dan"], b"x" * 100_000)
        wait_for("the worker's end", lambda: self.server.logged("]Agent Thread ended..."))
        self.assertEqual([name[:3] for name in self.server.spool()], ["__s"])
        self.assertEqual([self.server.count(user) for user in ("alice", "bob", "dan")], [0, 0, 1])
        self.assertEqual(self.server.stop(), 0)

        filler.unlink()
        self.server.start()
        wait_for("the delivery", lambda: self.server.count("bob") and not self.server.spool())
        self.assertEqual(self.server.count("alice"), 0, "the sender is told of nothing")
        for text in self.server.inbox("bob").values():
            self.assertTrue(text.endswith(b"\n" + b"x" * 100_000))
        self.assertEqual(self.server.stop(), 0)


class BrokenFiles(support.SystemTest):
    KINDS = {"empty": b"", "binary": bytes(range(255, 13, -1)) * 20, "huge": b"# nothing of use\n" * 250_000,
             "directory": None, "link": None}

    def break_file(self, path, kind):
        """Puts something there that can't be read as it should. A huge file begins with the sound content."""
        sound = path.read_bytes() if path.exists() else b""
        path.unlink(missing_ok=True)
        if kind == "directory":
            path.mkdir()
        elif kind == "link":
            path.symlink_to(path.name)
        else:
            path.write_bytes((sound + b"\n" if kind == "huge" else b"") + self.KINDS[kind])

    def test_mail_goes_on(self):
        for kind in self.KINDS:
            with self.subTest(kind):
                server = self.server_with("alice", "bob")
                (server.programs / "rules.ini").write_bytes(b"127.0.0.9")
                for path in (server.home / "maillist.ini", server.programs / "rules.ini",
                             server.mail / DOMAIN / "bob" / "config.ini"):
                    self.break_file(path, kind)
                server.start()
                self.assertEqual(reply_to_log_on("bob")[:1], "+" if kind == "huge" else "-")
                self.assertEqual(greeting(SMTP_PORT, "127.0.0.9") == "", kind == "huge")
                support.send("alice", ["bob"], TEXT % b"hello")
                wait_for("the delivery", lambda: server.count("bob"))
                self.assertEqual(server.stop(), 0)

    def test_without_settings_it_serves_by_the_defaults(self):
        for kind in self.KINDS:
            with self.subTest(kind):
                server = self.server_with()
                self.break_file(server.home / "velnor.ini", kind)
                server.start()
                ports = (POP3_PORT, SMTP_PORT) if kind == "huge" else (110, 25)
                self.assertTrue(all(map(greeting, ports)))
                self.assertEqual(server.stop(), 0)


class ReaderOfTheOutput(support.SystemTest):
    LINES = 4000  # a line and its reply are logged; far more than a pipe holds

    def test_who_stops_reading_or_goes_away_stops_nothing(self):
        for goes_away in (False, True):
            server = self.server_with("alice", "bob")
            server.listen = False
            server.start()
            wait_for("the ports", lambda: all(map(greeting, (POP3_PORT, SMTP_PORT))))
            if goes_away:
                server.process.stdout.close()
            with Peer(SMTP_PORT) as peer:
                peer.reply()
                for _ in range(self.LINES // 100):
                    peer.socket.sendall(b"NOOP and a few words more to fill the log with\r\n" * 100)
                    self.assertEqual([peer.reply() for _ in range(100)], ["250 server running OK"] * 100)
            support.send("alice", ["bob"], TEXT % b"hello")
            wait_for("the delivery", lambda: server.count("bob"))
            self.assertEqual(reply_to_log_on("bob")[:17], "+OK 1 message(s) ")
            self.assertEqual(server.stop(), 0)


class NinetyNine(support.SystemTest):
    def test_the_hundredth_is_closed_without_a_word(self):
        server = self.server_with("alice").start()
        sessions = [(port, Peer(port)) for port in NOOP_REPLIES for _ in range(99)]
        self.assertTrue(all(peer.reply() for _, peer in sessions))
        for port in NOOP_REPLIES:
            self.assertEqual(greeting(port), "")
        for port, peer in sessions:
            self.assertEqual(peer.say("NOOP"), NOOP_REPLIES[port])
        for port, peer in (sessions[57], sessions[157]):
            peer.say("QUIT")
            peer.rest()
            wait_for("the free slot", lambda: greeting(port))
        self.assertEqual(server.stop(), 0)


class CutSessions(support.SystemTest):
    """A session script is sent up to each of its bytes, and the client ends its side there."""

    def setUp(self):
        self.server = self.server_with("alice", "bob").start()

    def test_smtp(self):
        head = (f"EHLO client.test\r\nMAIL FROM:<alice@{DOMAIN}>\r\n"
                f"RCPT TO:<bob@{DOMAIN}>\r\nDATA\r\n").encode()
        script = head + b"Subject: cut\r\n\r\nText.\r\n.\r\n"
        self.at_each_byte(SMTP_PORT, script + b"QUIT\r\n", self.cut)
        whole = len(b"QUIT\r\n") + 1
        wait_for("the delivery of whole messages", lambda: self.server.count("bob") >= whole)
        wait_for("an empty spool", lambda: not self.server.spool())
        inbox = self.server.inbox("bob").values()
        self.assertEqual(len(inbox), whole, "a message counts from its end marker on, and not a byte before")
        self.assertTrue(all(text.endswith(b"\r\r\nText.") for text in inbox), inbox)
        self.at_each_byte(SMTP_PORT, script[:-1], self.go_away)
        self.assertEqual(self.server.spool(), [])
        self.assertEqual(self.server.stop(), 0)

    def test_pop3(self):
        message = self.server.inbox_path("alice") / "n20240101000000000001000002000003"
        message.write_bytes(b"Subject: cut\r\r\n\r\r\nText.")
        script = (f"USER alice@{DOMAIN}\r\nPASS {PASSWORD}\r\n"
                  "LIST\r\nTOP 1 1\r\nRETR 1\r\nDELE 1\r\nQUIT\r").encode()
        self.at_each_byte(POP3_PORT, script, self.cut)
        self.at_each_byte(POP3_PORT, script, self.go_away)
        self.assertTrue(message.exists(), "only a whole QUIT deletes")
        self.cut(POP3_PORT, script + b"\n")
        self.assertFalse(message.exists())
        self.assertEqual(self.server.stop(), 0)

    def at_each_byte(self, port, script, session):
        before = len(self.server.logged("]session connected"))
        with ThreadPoolExecutor(16) as pool:
            list(pool.map(lambda end: session(port, script[:end]), range(len(script) + 1)))
        count = before + len(script) + 1
        for line in ("]session connected", "]session disconnected"):
            wait_for(f"{count} lines with {line}", lambda: len(self.server.logged(line)) == count)

    @staticmethod
    def cut(port, part):
        """The client stops sending and reads to the end, so every byte before the cut counts."""
        with Peer(port) as peer:
            peer.socket.sendall(part)
            peer.socket.shutdown(socket.SHUT_WR)
            peer.rest()

    @staticmethod
    def go_away(port, part):
        """The client resets the connection, so the server may find it gone at any of its steps."""
        with Peer(port) as peer:
            peer.reply()
            peer.socket.sendall(part)
            peer.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


if __name__ == "__main__":
    support.main()
