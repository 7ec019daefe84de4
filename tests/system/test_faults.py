"""What goes wrong around the program: ports, disks, directories, files and the reader of its output."""

import errno
import os
import socket
import subprocess

import support
from support import COPIES, DOMAIN, POP3_PORT, SMTP_PORT, Peer

TEXT = b"Subject: %s\r\n\r\nText."
SPOOL_NAME = "s20240101000000000001000002000003"


def rename_away(path):
    return path.rename(path.with_name(path.name + "-away"))


class TakenPorts(support.SystemTest):
    def started_beside(self, taken):
        other = socket.socket()
        self.addCleanup(other.close)
        other.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        other.bind(("0.0.0.0", taken))
        other.listen()
        server = self.server_with("alice", "bob").start()
        label, start = ("POP3 ", 0) if taken == POP3_PORT else ("SMTP ", 1)
        self.assertEqual(server.messages()[start],
                         f"{label} can't bind {taken} port, err:{os.strerror(errno.EADDRINUSE)}")
        return server

    def test_without_pop3_mail_is_taken_and_delivered(self):
        server = self.started_beside(POP3_PORT)
        self.assertEqual(server.messages()[1], "SMTP  SMTP server started, listen 2525 port")
        support.send("alice", ["bob"], TEXT % b"hello")
        support.wait_for("the delivery", lambda: server.inbox("bob"))
        self.assertEqual(server.stop(), 0)

    def test_without_smtp_mail_in_the_spool_is_delivered_and_fetched(self):
        server = self.started_beside(SMTP_PORT)
        self.assertEqual(server.messages()[0], "POP3  POP3 server started, listen 1110 port")
        (server.mail / "send" / SPOOL_NAME).write_bytes(
            b"Forward-Path: bob@example.test\r\r\nReturn-Path: alice@example.test\r\r\n"
            b"Retry-Times: 0\r\r\nText.")
        support.wait_for("the delivery", lambda: server.inbox("bob"))
        peer, reply = support.log_on_pop3("bob")
        peer.close()
        self.assertEqual(reply, "+OK 1 message(s) [5 byte(s)]")
        self.assertEqual(server.stop(), 0)


class MailPathGoesAway(support.SystemTest):
    def test_nothing_is_lost(self):
        server = self.server_with("alice", "bob").start()
        support.begin_long_delivery(server)
        waiting = support.log_on_smtp("alice")
        away = rename_away(server.mail)
        support.wait_for("the worker's end", lambda: server.logged("]Agent Thread ended..."))
        with waiting:
            reply = support.hand_in(waiting, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], TEXT % b"refused")
            self.assertEqual(reply, "")
        peer, reply = support.log_on_pop3("bob")
        peer.close()
        self.assertEqual(reply, "-ERR unable to logon on")
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            peer.say("HELO client.test")
            peer.say(f"MAIL FROM:<alice@{DOMAIN}>")
            self.assertEqual(peer.say(f"RCPT TO:<bob@{DOMAIN}>"), "550 no such user here")
        away.rename(server.mail)

        self.assertLess(len(server.inbox_names("bob")), COPIES, "the directory went in mid-delivery")
        support.send("alice", ["alice"], TEXT % b"later")
        support.wait_for("the delivery after the return", lambda: server.inbox("alice"))
        self.assertEqual(len(server.inbox("alice")), 1, "a fault of the disk makes no notice")
        self.assertEqual(server.stop(), 0)
        server.start()
        support.wait_for("all copies", lambda: len(server.inbox_names("bob")) >= COPIES)
        support.wait_for("an empty spool", lambda: not server.spool())
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
    def fill(filler, left):
        with open(filler, "wb", buffering=0) as stream:
            try:
                while stream.write(bytes(4096)):
                    pass
            except OSError as fault:
                assert fault.errno == errno.ENOSPC
            stream.truncate(stream.tell() - left)

    def test_a_full_spool_takes_nothing_and_keeps_nothing(self):
        filler = self.mount(self.server.mail)
        self.server.add_user("alice")
        self.server.add_user("bob")
        self.server.start()
        self.fill(filler, left=16 * 1024)
        with support.log_on_smtp("alice") as peer:
            reply = support.hand_in(peer, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], b"x" * 100_000)
            self.assertEqual((reply, peer.rest()), ("503 error recv mail", b""))
        self.assertTrue(self.server.logged(f"]recv email data failed, deliver to:<bob@{DOMAIN}>"))
        self.assertEqual(self.server.spool(), [])
        filler.unlink()
        support.send("alice", ["bob"], b"x" * 100_000)
        support.wait_for("the delivery", lambda: self.server.inbox("bob"))
        self.assertEqual(self.server.stop(), 0)

    def test_a_full_mailbox_keeps_the_message_for_a_later_start(self):
        filler = self.mount(self.server.inbox_path("bob"))
        for user in ("alice", "bob", "dan"):
            self.server.add_user(user)
        self.server.start()
        self.fill(filler, left=16 * 1024)
        support.send("alice", ["bob", "dan"], b"x" * 100_000)
        support.wait_for("the worker's end", lambda: self.server.logged("]Agent Thread ended..."))
        self.assertEqual([name[:3] for name in self.server.spool()], ["__s"])
        self.assertEqual([len(self.server.inbox(user)) for user in ("alice", "bob", "dan")], [0, 0, 1])
        self.assertEqual(self.server.stop(), 0)

        filler.unlink()
        self.server.start()
        support.wait_for("the delivery", lambda: self.server.inbox("bob") and not self.server.spool())
        self.assertEqual(self.server.inbox("alice"), {}, "the sender is told of nothing")
        for text in self.server.inbox("bob").values():
            self.assertTrue(text.endswith(b"\n" + b"x" * 100_000))
        self.assertEqual(self.server.stop(), 0)


def break_file(path, kind, sound=b""):
    """Puts something there that can't be read as it should. A huge file begins with the sound content."""
    path.unlink(missing_ok=True)
    if kind == "directory":
        path.mkdir()
    elif kind == "a link to itself":
        path.symlink_to(path.name)
    else:
        path.write_bytes({"empty": b"", "binary": bytes(range(255, 13, -1)) * 20,
                          "huge": sound + b"\n" + b"# nothing of use\n" * 250_000}[kind])


def mend(path):
    if path.is_dir() and not path.is_symlink():
        path.rmdir()
    else:
        path.unlink()


class BrokenFiles(support.SystemTest):
    KINDS = "empty", "binary", "huge", "directory", "a link to itself"

    def test_settings(self):
        server = self.server_with("alice")
        path = server.home / "velnor.ini"
        sound = path.read_bytes()
        for kind in self.KINDS:
            with self.subTest(kind):
                break_file(path, kind, sound)
                server.start()
                ports = (POP3_PORT, SMTP_PORT) if kind == "huge" else (110, 25)
                starts = [f"POP3  POP3 server started, listen {ports[0]} port",
                          f"SMTP  SMTP server started, listen {ports[1]} port"]
                self.assertEqual(server.messages()[:2], starts)
                for port in ports:
                    with Peer(port) as peer:
                        self.assertNotEqual(peer.reply(), "")
                        self.assertNotEqual(peer.say("NOOP"), "")
                self.assertEqual(server.stop(), 0)
                if kind != "huge":
                    (server.programs / "send").rmdir()  # the default of MailPath is the program's directory
                mend(path)

    def test_profiles(self):
        server = self.server_with("bob", *self.KINDS)
        for kind in self.KINDS:
            path = server.mail / DOMAIN / kind / "config.ini"
            break_file(path, kind, path.read_bytes())
        server.start()
        for kind in self.KINDS:
            with self.subTest(kind):
                peer, reply = support.log_on_pop3(kind)
                peer.close()
                self.assertEqual(reply[:1], "+" if kind == "huge" else "-")
        support.send("bob", self.KINDS, TEXT % b"hello")
        support.wait_for("all deliveries", lambda: all(server.inbox(kind) for kind in self.KINDS))
        self.assertEqual(server.stop(), 0)

    def test_mail_lists_and_rules(self):
        server = self.server_with("alice", "bob")
        lists, rules = server.home / "maillist.ini", server.programs / "rules.ini"
        for kind in self.KINDS:
            with self.subTest(kind):
                break_file(lists, kind, b"[MailList]\r\nbob@example.test\r\n")
                break_file(rules, kind, b"127.0.0.9")
                server.start()
                support.send("alice", ["bob"], TEXT % kind.encode())
                if kind == "huge":
                    self.assert_closed_without_a_word(SMTP_PORT, "127.0.0.9")
                self.assertEqual(server.stop(), 0)
                mend(lists)
                mend(rules)
        server.start()
        support.wait_for("all deliveries", lambda: len(server.inbox("bob")) >= len(self.KINDS))
        self.assertEqual(server.stop(), 0)


class ReaderOfTheOutput(support.SystemTest):
    LINES = 4000  # a line and its reply are logged; far more than a pipe holds

    def setUp(self):
        self.server = self.server_with("alice", "bob")
        self.server.listen = False
        self.server.start()
        support.wait_for("the ports", lambda: all(map(self.is_open, (POP3_PORT, SMTP_PORT))))

    @staticmethod
    def is_open(port):
        try:
            Peer(port).close()
            return True
        except ConnectionRefusedError:
            return False

    def talk_much(self):
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            for _ in range(self.LINES // 100):
                peer.socket.sendall(b"NOOP and a few words more to fill the log with\r\n" * 100)
                self.assertEqual([peer.reply() for _ in range(100)], ["250 server running OK"] * 100)

    def test_who_stops_reading_stops_nothing(self):
        self.talk_much()
        support.send("alice", ["bob"], TEXT % b"hello")
        support.wait_for("the delivery", lambda: self.server.inbox("bob"))
        peer, reply = support.log_on_pop3("bob")
        peer.close()
        self.assertEqual(reply[:17], "+OK 1 message(s) ")
        self.assertEqual(self.server.stop(), 0)

    def test_who_goes_away_stops_nothing(self):
        self.server.process.stdout.close()
        self.talk_much()
        support.send("alice", ["bob"], TEXT % b"hello")
        self.assertEqual(self.server.stop(), 0)


if __name__ == "__main__":
    support.main()
