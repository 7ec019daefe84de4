"""Mail between hosts that find each other by MX records: two of these servers, and one beside another."""

import pwd
import shutil
import smtplib
import subprocess
import tempfile
from pathlib import Path

from network import FAR, NEAR, TwoHosts
from support import at_once, fetch, main, needs, send, wait_for

AT_NEAR = {"domain": "near.test", "address": NEAR, "port": 25}


@needs("ip", "dnsmasq")
class TwoServers(TwoHosts):
    def test_mail_both_ways_and_a_bounce(self):
        near, far = self.server("ann", "near.test"), self.server("ben", "far.test", self.on_far)
        lines = b"\r\n".join(b"%06d %s" % (number, b"x" * 60) for number in range(15_000))
        large = b"Subject: large\r\n\r\n" + lines
        dotted = b"Subject: dots\r\n\r\n..\r\n...\r\n..a line\r\nend"
        at_once(lambda: send("ann", ["ben@far.test", "nobody@far.test"], large, **AT_NEAR),
                lambda: send("ben", ["ann@near.test"], dotted, domain="far.test", address=FAR, port=25))

        wait_for("the deliveries", lambda: far.count("ben") >= 1 and near.count("ann") >= 2)
        [at_ben], at_ann = fetch("ben@far.test", FAR, 110), fetch("ann@near.test", NEAR, 110)
        self.assertTrue(at_ben.endswith(large + b"\r\n"), at_ben[:200])
        self.assertIn(b"Received: from near.test by far.test ", at_ben)
        [notice] = [text for text in at_ann if b"Failed Delivery Notification" in text]
        self.assertIn(b"could not deliver the following message to <nobody@far.test>\r\n\r\n"
                      b"Reason: 550 no such user here\r\n", notice)
        [plain] = [text for text in at_ann if text is not notice]
        self.assertTrue(plain.endswith(b"Subject: dots\r\n\r\n.\r\n..\r\n.a line\r\nend\r\n"), plain)
        for server in (near, far):
            wait_for("an empty spool", lambda: not server.spool())
            self.assertEqual(server.stop(), 0)


class Postfix:
    """The exchanger of far.test on the far host, with the mailbox of one user."""

    MAIN = """
compatibility_level = 3.6
queue_directory = {root}/queue
data_directory = {root}/data
maillog_file = {root}/maillog
maillog_file_prefixes = {root}
myhostname = mx.far.test
mydestination =
mynetworks = 127.0.0.0/8 {near}/32 {far}/32
relay_domains = near.test
inet_protocols = ipv4
virtual_mailbox_domains = far.test
virtual_mailbox_base = {root}/mailboxes
virtual_mailbox_maps = inline:{{ ben@far.test=ben/ }}
virtual_minimum_uid = 1
virtual_uid_maps = static:{uid}
virtual_gid_maps = static:{gid}
smtp_tls_security_level = none
smtpd_tls_security_level = none
alias_maps =
alias_database =
minimal_backoff_time = 5s
queue_run_delay = 5s
"""

    def __init__(self, within):
        self.within = within
        self.root = Path(tempfile.mkdtemp(prefix="velnor-postfix-"))
        self.root.chmod(0o755)
        user = pwd.getpwnam("postfix")
        for name in ("config", "queue", "data", "mailboxes"):
            (self.root / name).mkdir()
        for name in ("data", "mailboxes"):
            shutil.chown(self.root / name, user.pw_uid, user.pw_gid)
        (self.root / "config" / "main.cf").write_text(
            self.MAIN.format(root=self.root, near=NEAR, far=FAR, uid=user.pw_uid, gid=user.pw_gid))
        shutil.copy("/usr/share/postfix/master.cf.dist", self.root / "config" / "master.cf")
        # None of the services is in a jail of its own: there would be no resolver in it.
        self.control("postconf", "-F", "*/*/chroot=n")
        self.control("postfix", "start")

    def control(self, program, *words):
        subprocess.run([*self.within, program, "-c", self.root / "config", *words], check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def mailbox(self):
        return [path.read_bytes() for path in sorted((self.root / "mailboxes" / "ben" / "new").glob("*"))]

    def is_up(self):
        log = self.root / "maillog"
        return log.exists() and "starting the Postfix" in log.read_text(errors="replace")

    def close(self):
        self.control("postfix", "stop")
        shutil.rmtree(self.root, ignore_errors=True)


@needs("ip", "dnsmasq", "postfix")
class RealExchanger(TwoHosts):
    def test_mail_both_ways_and_a_bounce_from_each_side(self):
        postfix = Postfix(self.on_far)
        self.addCleanup(postfix.close)
        server = self.server("ann", "near.test")

        # Out: one recipient that the exchanger takes, one that it refuses; dots must come out single again.
        text = b"From: ann@near.test\r\nSubject: out\r\n\r\nfirst\r\n..\r\n..dotted\r\nlast"
        send("ann", ["ben@far.test", "nobody@far.test"], text, **AT_NEAR)
        # In: from the exchanger's queue, one recipient whom we take and one whom we refuse.
        wait_for("the exchanger", postfix.is_up)
        with smtplib.SMTP(FAR, 25) as client:
            client.sendmail("ben@far.test", ["ann@near.test", "nobody@near.test"],
                            "From: ben@far.test\r\nSubject: in\r\n\r\nfirst\r\n.\r\n.dotted\r\nlast\r\n")

        at_ben = wait_for("two messages at ben's", lambda: len(box := postfix.mailbox()) >= 2 and box)
        [out] = [message for message in at_ben if b"Subject: out" in message]
        self.assertIn(b"\n\nfirst\n.\n.dotted\nlast\n", out)
        [bounce] = [message for message in at_ben if message is not out]
        self.assertIn(b"550 no such user here", bounce)

        wait_for("two messages at ann's", lambda: server.count("ann") >= 2)
        at_ann = server.inbox("ann").values()
        [notice] = [message for message in at_ann if b"Failed Delivery Notification" in message]
        self.assertIn(b"could not deliver the following message to <nobody@far.test>", notice)
        self.assertRegex(notice, rb"Reason: 550 5\.1\.1 <nobody@far\.test>: Recipient address rejected")
        [came_in] = [message for message in at_ann if message is not notice]
        self.assertIn(b"first\r\r\n..\r\r\n..dotted\r\r\nlast", came_in)
        self.assertEqual(server.stop(), 0)


if __name__ == "__main__":
    main()
