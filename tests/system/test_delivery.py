"""The local road of mail: what each mailbox holds in the end, byte for byte, and clients of the trade."""

import email
import email.policy
import os
import re
import subprocess
from base64 import b64encode
from email.message import EmailMessage

import support
from support import DOMAIN, PASSWORD, POP3_PORT, SMTP_PORT, needs, stored, wait_for

DATE = rb"(?:Mon|Tue|Wed|Thu|Fri|Sat|Sun), \d\d [JFMASOND][a-z]{2} \d{4} \d\d:\d\d:\d\d [+-]\d{4}"
BODY = (b"..a dot that the client doubled\r\n\r\n  blanks \t\r\n"
        b"8 bits: \xe4\xff, a NUL: \x00, a CR: \r, an LF: \n, end\r\n"
        + b"".join(b"x" * length + b"\r\n" for length in range(1019, 1027)) + b"y" * 5000 + b"\r\nlast line")
OWN = b"Received: (Velnor Smtp v1.0) ; <date>\r\n"  # heads what the server has made or passed on


def message(subject):
    return b"From: somebody\r\nSubject: " + subject + b"\r\n\r\n" + BODY


def received(subject):
    """What delivery hands to the `Inbox` stream for a message that came by SMTP."""
    return b"Received: from client.test by example.test (Velnor Smtp v1.0) ; <date>\r\n" + message(subject)


def response(user, subject, body):
    return (OWN + b"From: %s@example.test\nTo: alice@example.test\nDate: <date>\nMime-Version: 1.0\n"
            b"Subject: =?gb2312?B?%s?=\nContent-Type: text/plain;\n charset=\"gb2312\"\n"
            b"Content-Transfer-Encoding: base64\n\n%s" % (user, b64encode(subject), b64encode(body)))


NOTICE = (b"From: Postmaster@example.test\nTo: alice@example.test\nDate: <date>\n"
          b"Subject: Failed Delivery Notification\n\n"
          b"Mail transport error, Velnor SMTP Agent could not deliver the following message to "
          b"<nobody@example.test>\n\nReason: 550 Invalid User\n\n"
          b"--======-- Original Message Follows --======--  \n\n" + received(b"mixed"))
DEFAULT = b"Auto Response Message From <uma AT example.test>"

# What alice writes to whom, and what each mailbox holds after all that came of it.
POST = {b"mixed": ["bob", "dan", "nobody"], b"kept": ["fay"], b"passed": ["gil"], b"answered": ["rob"],
        b"default": ["uma"], b"list": ["team"]}
DUE = {
    "alice": [NOTICE, response(b"rob", b"Away", b"Back on Monday"), response(b"uma", DEFAULT, DEFAULT),
              received(b"list")],
    "bob": [received(b"mixed")],
    "dan": [received(b"mixed"), received(b"list")],
    "eve": [OWN + received(b"kept"), OWN + received(b"passed"), received(b"list")],
    "fay": [received(b"kept")],
    "gil": [],
    "rob": [received(b"answered")],
    "team": [received(b"list")],
    "uma": [received(b"default")],
}


class LocalRoad(support.SystemTest):
    def test_every_mailbox_holds_what_is_due_and_nothing_else(self):
        self.server = server = self.server_with("alice", "bob", "dan", "eve", "team", LogToFile=1)
        for user, save in ("fay", 0), ("gil", 1):
            server.add_user(user, ForwardEnable=1, ForwardAddr=f"eve@{DOMAIN}", ForwardSaveLocal=save)
        server.add_user("rob", ResponseEnable=1, ResponseSubject="Away", ResponseBody="Back on Monday")
        server.add_user("uma", ResponseEnable=1)
        (server.home / "maillist.ini").write_bytes(stored(
            b"[MailList]\r\nteam@example.test\r\n\r\n[team@example.test]\r\n"
            b"alice@example.test 0\r\ndan@example.test 1\r\neve@example.test 0\r\n\r\n"))
        server.start()
        for subject, recipients in POST.items():
            support.send("alice", recipients, message(subject))
        wait_for("all deliveries", lambda: all(server.count(user) >= len(due) for user, due in DUE.items()))
        wait_for("an empty spool", lambda: not server.spool())

        for user, due in DUE.items():
            inbox = server.inbox(user)
            self.assertEqual(len(inbox), len(due), user)
            for text in due:
                pattern = re.escape(stored(text)).replace(re.escape(b"<date>"), DATE)
                hits = [content for content in inbox.values() if re.fullmatch(pattern, content)]
                self.assertEqual(len(hits), 1, (user, text, inbox.values()))
            for name in os.listdir(server.inbox_path(user)):
                self.assertRegex(name, r"\An\d{32,}\Z")
        self.assertEqual(server.stop(), 0)
        self.check_the_log()

    def check_the_log(self):
        """The file says what standard output says, with lines that end in CR CR LF."""
        content = b"".join(path.read_bytes() for path in (self.server.home / "logs").glob("*_*_*.txt"))
        *lines, rest = content.decode("latin-1").split("\r\r\n")
        self.assertEqual((sorted(lines), rest), (sorted(self.server.log), ""))
        result = "send mail [%s] to example.test from <alice@example.test> done, retry=%d"
        for line, count in (("S: 235 authentication OK", len(POST)), (result % ("FALSE", 0), 1),
                            ("send mail to local user [Failed], <nobody@example.test>, "
                             "bounce to sender<alice@example.test>", 1),
                            (result % ("TRUE", 1), 3)):  # a copy for each member of the list
            self.assertEqual(sum(logged.endswith("]" + line) for logged in lines), count, line)


@needs("curl")
class RealClients(support.SystemTest):
    def test_an_attachment_of_2_mb_comes_back_whole(self):
        self.server = self.server_with("alice", "bob", "carol").start()
        message = EmailMessage(policy=email.policy.SMTP)
        message["From"], message["To"] = f"alice@{DOMAIN}", f"bob@{DOMAIN}"
        message.set_content(".\n..\n.a line that begins with a dot\n\nThe end.\n")
        message.add_attachment(os.urandom(2 * 1024 * 1024), maintype="application", subtype="octet-stream")
        self.message = message.as_bytes()
        support.at_once(self.through_python, self.through_curl)
        self.assertEqual(self.server.stop(), 0)

    def through_python(self):
        support.submit("alice", "bob", self.message)
        wait_for("the delivery", lambda: self.server.count("bob"))
        self.check(*support.fetch(f"bob@{DOMAIN}"))

    def through_curl(self):
        sent = self.server.directory / "sent"
        sent.write_bytes(self.message)
        self.curl(f"smtp://127.0.0.1:{SMTP_PORT}/client.test", "--mail-from", f"alice@{DOMAIN}",
                  "--mail-rcpt", f"carol@{DOMAIN}", "--upload-file", sent)
        wait_for("the delivery", lambda: self.server.count("carol"))
        self.check(self.curl(f"pop3://127.0.0.1:{POP3_PORT}/1", "--user", f"carol@{DOMAIN}:{PASSWORD}"))

    @staticmethod
    def curl(*arguments):
        command = ["curl", "--silent", "--show-error", *arguments]
        return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout

    def check(self, received):
        head, _, message = received.partition(b"\r\n")
        self.assertTrue(head.startswith(b"Received: from "), head)
        self.assertTrue(message == self.message, "the message has changed on its way")


if __name__ == "__main__":
    support.main()
