"""The local road of mail, byte for byte: deliveries, notice, forwards, auto-responses, mail list, log."""

import base64
import os
import re
import threading
import time

import support
from support import DOMAIN, PASSWORD, stored

LONG_LINES = b"\r\n".join(b"x" * length for length in range(1019, 1027)) + b"\r\n" + b"y" * 5000
BODY = (b"..a dot that the client doubled\r\n\r\n  blanks \t\r\n"
        b"8 bits: \xe4\xff, a NUL: \x00, a CR: \r, an LF: \n, end\r\n" + LONG_LINES + b"\r\nlast line")
MARKER_SIZE = len(b"\r\n.\r\n")


def message(subject):
    return b"From: somebody\r\nSubject: " + subject + b"\r\n\r\n" + BODY


def received(subject):
    """What delivery hands to the `Inbox` stream for a message that came by SMTP."""
    return (b"Received: from client.test by example.test (Velnor Smtp v1.0) ; <date>\r\n" + message(subject))


def spool_head(recipients, sender, retries):
    return b"Forward-Path: %s\r\nReturn-Path: %s\r\nRetry-Times: %d\r\n" % (recipients, sender, retries)


def response(user, subject, body):
    """What is behind the head of an auto-response to alice."""
    return (b"Received: (Velnor Smtp v1.0) ; <date>\r\n"
            b"From: %s@example.test\nTo: alice@example.test\nDate: <date>\n"
            b"Mime-Version: 1.0\nSubject: =?gb2312?B?%s?=\n"
            b"Content-Type: text/plain;\n charset=\"gb2312\"\nContent-Transfer-Encoding: base64\n\n%s"
            % (user, base64.b64encode(subject), base64.b64encode(body)))


class LocalRoad(support.SystemTest):
    """One run: alice writes to everybody, and each test looks at one part of what came of it."""

    @classmethod
    def setUpClass(cls):
        cls.server = server = support.Server(LogToFile=1, users=["alice", "bob", "dan", "eve", "team", "zoe"])
        server.add_user("fay", ForwardEnable=1, ForwardAddr=f"eve@{DOMAIN}", ForwardSaveLocal=0)
        server.add_user("gil", ForwardEnable=1, ForwardAddr=f"eve@{DOMAIN}", ForwardSaveLocal=1)
        server.add_user("rob", ResponseEnable=1, ResponseSubject="Away", ResponseBody="Back on Monday")
        server.add_user("uma", ResponseEnable=1)
        (server.home / "maillist.ini").write_bytes(stored(
            b"[MailList]\r\nteam@example.test\r\n\r\n[team@example.test]\r\n"
            b"alice@example.test 0\r\ndan@example.test 1\r\neve@example.test 0\r\n\r\n"))
        server.start()
        cls.spooled = {}
        threading.Thread(target=cls.watch_spool, daemon=True).start()
        post = {b"mixed": ["bob", "dan", "nobody"], b"kept": ["fay"], b"passed": ["gil"],
                b"answered": ["rob"], b"default": ["uma"], b"list": ["team"], b"fetched": ["zoe"]}
        for subject, recipients in post.items():
            support.send("alice", recipients, message(subject))
        expected = {"alice": 4, "dan": 2, "eve": 3,
                    **dict.fromkeys(["bob", "fay", "rob", "uma", "team", "zoe"], 1)}
        support.wait_for("all deliveries", lambda: all(
            len(server.inbox(user)) >= count for user, count in expected.items()))
        support.wait_for("an empty spool", lambda: not server.spool())
        cls.counts = {user: len(server.inbox(user)) for user in [*expected, "gil"]}
        cls.expected_counts = {**expected, "gil": 0}

    @classmethod
    def watch_spool(cls):
        """Keeps the content of each waiting file: it waits ten seconds, which leaves time to see it."""
        while True:
            for path in (cls.server.mail / "send").glob("s*"):
                if path.name not in cls.spooled:
                    try:
                        cls.spooled[path.name] = path.read_bytes()
                    except FileNotFoundError:
                        pass
            time.sleep(0.05)

    def assert_in_inbox(self, user, text):
        self.assert_one(self.server.inbox(user).values(), stored(text))

    def assert_spooled(self, text):
        self.assert_one(self.spooled.values(), stored(text))

    def test_every_mailbox_holds_what_is_due_and_nothing_else(self):
        self.assertEqual(self.counts, self.expected_counts)
        for user in self.expected_counts:
            for name in os.listdir(self.server.inbox_path(user)):
                self.assertRegex(name, r"\An\d{32,}\Z")
        for name in self.spooled:
            self.assertRegex(name, r"\As\d{32,}\Z")

    def test_two_local_users_and_an_unknown_one(self):
        self.assert_spooled(spool_head(b"bob@example.test,dan@example.test,nobody@example.test",
                                       b"alice@example.test", 0) + received(b"mixed"))
        self.assert_in_inbox("bob", received(b"mixed"))
        self.assert_in_inbox("dan", received(b"mixed"))
        self.assert_in_inbox("alice", (
            b"From: Postmaster@example.test\nTo: alice@example.test\nDate: <date>\n"
            b"Subject: Failed Delivery Notification\n\n"
            b"Mail transport error, Velnor SMTP Agent could not deliver the following message to "
            b"<nobody@example.test>\n\nReason: 550 Invalid User\n\n"
            b"--======-- Original Message Follows --======--  \n\n" + received(b"mixed")))

    def test_forwards_with_and_without_a_local_copy(self):
        head = spool_head(b"eve@example.test", b"Postmaster@example.test", 0)
        line = b"Received: (Velnor Smtp v1.0) ; <date>\r\n"
        for subject in (b"kept", b"passed"):
            self.assert_spooled(head + line + received(subject))
            self.assert_in_inbox("eve", line + received(subject))
        self.assert_in_inbox("fay", received(b"kept"))

    def test_auto_responses(self):
        own = response(b"rob", b"Away", b"Back on Monday")
        default = b"Auto Response Message From <uma AT example.test>"
        for text in (own, response(b"uma", default, default)):
            self.assert_spooled(spool_head(b"alice@example.test", b"Postmaster@example.test", 0) + text)
            self.assert_in_inbox("alice", text)
        self.assert_in_inbox("rob", received(b"answered"))
        self.assert_in_inbox("uma", received(b"default"))

    def test_a_mail_list_of_three_members(self):
        self.assert_in_inbox("team", received(b"list"))
        for member in (b"alice", b"dan", b"eve"):
            head = spool_head(member + b"@example.test", b"alice@example.test", 1)
            self.assert_spooled(head + received(b"list"))
            self.assert_in_inbox(member.decode(), received(b"list"))

    def test_pop3_shows_the_stored_sizes_and_sends_the_text(self):
        (name, content), = self.server.inbox("zoe").items()
        unique = base64.b64encode(name[1:].encode()).decode()
        peer, reply = support.log_on_pop3("zoe")
        with peer:
            self.assertEqual(reply, f"+OK 1 message(s) [{len(content)} byte(s)]")
            self.assertEqual(peer.say("LIST 1"), f"+OK 1 {len(content)}")
            self.assertEqual(peer.say("UIDL 1"), f"+OK 1 {unique}")
            self.assertEqual(peer.say("RETR 1"), "+OK mail data")
            text = content.replace(b"\r\n", b"\n")
            self.assertEqual(peer.stream.read(len(text) + MARKER_SIZE), text + b"\r\n.\r\n")
            self.assertEqual(peer.say("DELE 1"), "+OK message 1 deleted")
            self.assertIn(name, self.server.inbox("zoe"))
            self.assertEqual(peer.say("QUIT"), "+OK closing connection from Velnor pop3 server")
            self.assertEqual(peer.rest(), b"")
        self.assertEqual(self.server.inbox("zoe"), {})

    def test_the_log_of_a_run(self):
        with support.log_on_smtp("bob") as smtp:
            for line in ("NOOP", "HELO again", "MAIL FROM:<bob@example.test>", "RCPT TO:<alice>",
                         "RCPT TO:<bob@example.test>", "QUIT"):
                smtp.say(line)
            smtp.rest()
        pop3, _ = support.log_on_pop3("rob", "wrong")
        with pop3:
            pop3.say("NOOP")
            pop3.say("QUIT")
            pop3.rest()
        self.assertEqual(self.server.stop(), 0)

        log = self.logged_bytes()
        for start in ("AGENT [%d]Agent Thread started", "SMTP  [%d][127.0.0.1]session connected",
                      "POP3  [%d][127.0.0.1]session connected"):
            self.assertTrue(self.threads(log, start), start)
        self.assertEqual(log[:3], ["POP3  POP3 server started, listen 1110 port",
                                   "SMTP  SMTP server started, listen 2525 port",
                                   "AGENT AGENT server started"])
        self.assertEqual([line for line in log if line.endswith(" server ended")],
                         ["POP3  POP3 server ended", "SMTP  SMTP server ended", "AGENT AGENT server ended"])
        self.assertEqual(sorted(log), sorted(self.server.messages()), "the file and standard output differ")
        self.check_delivery(log)
        self.check_smtp(log)
        self.check_pop3(log)

    def logged_bytes(self):
        """The messages of the daily file, whose lines end in CR CR LF."""
        days = sorted((self.server.home / "logs").glob("*_*_*.txt"))
        content = b"".join(path.read_bytes() for path in days)
        lines = content.decode("latin-1").split("\r\r\n")
        self.assertEqual(lines.pop(), "")
        for line in lines:
            self.assertRegex(line, r"\A\[\d\d/\d\d \d\d:\d\d:\d\d\]:\[(POP3 |SMTP |AGENT)\]  ")
        return [re.sub(r"\A.{16}:\[(.{5})\]  ", r"\1 ", line).replace("\r\n", "\n") for line in lines]

    @staticmethod
    def threads(log, start):
        """The log lines of each thread that began with `start`, its number replaced by %d."""
        runs = {}
        for line in log:
            if found := re.match(r"(.{5} \[)(\d+)(\].*)", line, re.DOTALL):
                runs.setdefault(found[2], []).append(found[1] + "%d" + found[3])
        return [run for run in runs.values() if run[0].startswith(start)]

    def check_delivery(self, log):
        runs = [run for run in self.threads(log, "AGENT ") if any("nobody" in line for line in run)]
        self.assertEqual(len(runs), 1)
        spool = re.escape(str(self.server.mail / "send"))
        self.assertRegex(runs[0][0], rf"\AAGENT \[%d\]Agent Thread started\.\.\.\[{spool}/__s\d{{32,}}\]\Z")
        self.assertEqual(runs[0][1:], [
            "AGENT [%d]send mail to local user [OK], <bob@example.test>",
            "AGENT [%d]send mail to local user [OK], <dan@example.test>",
            "AGENT [%d]send mail to local user [Failed], <nobody@example.test>, "
            "bounce to sender<alice@example.test>",
            "AGENT [%d]send mail [FALSE] to example.test from <alice@example.test> done, retry=0",
            "AGENT [%d]Agent Thread ended..."])
        of_a_copy = "AGENT [%d]send mail [TRUE] to example.test from <alice@example.test> done, retry=1"
        copies = [run for run in self.threads(log, "AGENT ") if of_a_copy in run]
        self.assertEqual(len(copies), 3, "one delivery for each member of the list")

    def check_smtp(self, log):
        size = len(message(b"mixed")) + MARKER_SIZE
        recipients = [f"{user}@{DOMAIN}" for user in ("bob", "dan", "nobody")]
        head = ["[127.0.0.1]session connected", "S: 220 Velnor SMTP/ESMTP service ready",
                "R: EHLO client.test", "S: 250 auth login", "R: AUTH LOGIN", "S: 334 dXNlcm5hbWU6"]
        password = ["S: 334 cGFzc3dvcmQ6", "R: " + base64.b64encode(PASSWORD.encode()).decode(),
                    "S: 235 authentication OK"]
        quit_lines = ["R: QUIT", "S: 221 closing connection from Velnor SMTP/ESMTP server",
                      "session disconnected"]
        stored_one = (head + ["R: YWxpY2VAZXhhbXBsZS50ZXN0"] + password
                      + ["R: MAIL FROM:<alice@example.test>", "S: 250 OK"]
                      + [line for address in recipients
                         for line in (f"R: RCPT TO:<{address}>", "S: 250 accept user")]
                      + ["R: DATA", "S: 354 ready to receive mail data, end with CRLF.CRLF",
                         f"recv email data successfully, deliver to:<{','.join(recipients)}>, size:{size}b"]
                      + quit_lines)
        refused = (head + ["R: Ym9iQGV4YW1wbGUudGVzdA=="] + password
                   + ["R: NOOP", "S: 250 server running OK",
                      "R: HELO again", "S: 502 command error, not in the status",
                      "R: MAIL FROM:<bob@example.test>", "S: 250 OK",
                      "R: RCPT TO:<alice>", "S: 451 rcpt address incorrect",
                      "R: RCPT TO:<bob@example.test>", "S: 250 accept user"]
                   + quit_lines)
        sessions = self.threads(log, "SMTP  [%d][")
        for lines in (stored_one, refused):
            self.assertIn(["SMTP  [%d]" + line for line in lines], sessions)

    def check_pop3(self, log):
        lines = ["[127.0.0.1]session connected", "S: +OK Velnor pop3 service ready",
                 "R: USER rob@example.test\n", "S: +OK user rob accepted",
                 "R: PASS wrong\n", "S: -ERR unable to logon on", "R: NOOP\n", "S: +OK",
                 "R: QUIT\n", "S: +OK closing connection from Velnor pop3 server",
                 "[127.0.0.1]session disconnected"]
        self.assertIn(["POP3  [%d]" + line for line in lines], self.threads(log, "POP3  [%d]["))


if __name__ == "__main__":
    support.main()
