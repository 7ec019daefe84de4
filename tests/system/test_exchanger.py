"""Mail to and from a server that nobody here wrote: postfix, with a real name server between the two."""

import pwd
import shutil
import smtplib
import subprocess
import tempfile
from pathlib import Path

from network import FAR, NEAR, FarHost, NameServer
from support import SystemTest, Server, hand_in, log_on_smtp, main, wait_for


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

    def __init__(self, host):
        self.host = host
        self.root = Path(tempfile.mkdtemp(prefix="velnor-postfix-"))
        self.root.chmod(0o755)
        user = pwd.getpwnam("postfix")
        for name in ("config", "queue", "data", "mailboxes"):
            (self.root / name).mkdir()
        for name in ("data", "mailboxes"):
            shutil.chown(self.root / name, user.pw_uid, user.pw_gid)
        self.config = self.root / "config"
        (self.config / "main.cf").write_text(
            self.MAIN.format(root=self.root, near=NEAR, far=FAR, uid=user.pw_uid, gid=user.pw_gid))
        self._write_services()
        self.control("start")

    def _write_services(self):
        """The services of the package, none of them in a jail of its own: there would be no resolver in it."""
        source = Path("/usr/share/postfix/master.cf.dist")
        lines = []
        for line in source.read_text().splitlines():
            words = line.split()
            if line and not line[0].isspace() and not line.startswith("#"):
                words[4] = "n"
                line = " ".join(words)
            lines.append(line)
        (self.config / "master.cf").write_text("\n".join(lines) + "\n")

    def control(self, word):
        self.host.run("postfix", "-c", self.config, word, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def mailbox(self):
        return [path.read_bytes() for path in sorted((self.root / "mailboxes" / "ben" / "new").glob("*"))]

    def log(self):
        path = self.root / "maillog"
        return path.read_text(errors="replace") if path.exists() else ""

    def close(self):
        self.control("stop")
        shutil.rmtree(self.root, ignore_errors=True)


class RealExchanger(SystemTest):
    def test_mail_both_ways_and_a_bounce_from_each_side(self):
        host = FarHost()
        self.addCleanup(host.close)
        names = NameServer(near=NEAR, far=FAR)
        self.addCleanup(names.close)
        postfix = Postfix(host)
        self.addCleanup(postfix.close)
        server = Server(domains=["near.test"], SmtpPort=25, Pop3Port=110, PrimaryDNS=NEAR)
        server.add_user("ann", "near.test")
        self.addCleanup(server.kill)
        server.start()

        # Out: one recipient that the exchanger takes, one that it refuses, and dots that must come out single again.
        text = b"From: ann@near.test\r\nSubject: out\r\n\r\nfirst\r\n..\r\n..dotted\r\nlast"
        with log_on_smtp("ann", domain="near.test", address=NEAR, port=25) as peer:
            self.assertEqual(hand_in(peer, "ann@near.test", ["ben@far.test", "nobody@far.test"], text), "250 OK")

        # In: from the exchanger's queue, one recipient whom we take and one whom we refuse.
        wait_for("the exchanger", lambda: "starting the Postfix" in postfix.log())
        with smtplib.SMTP(FAR, 25) as client:
            client.sendmail("ben@far.test", ["ann@near.test", "nobody@near.test"],
                            "From: ben@far.test\r\nSubject: in\r\n\r\nfirst\r\n.\r\n.dotted\r\nlast\r\n")

        at_ben = wait_for("two messages at ben's", lambda: len(box := postfix.mailbox()) >= 2 and box)
        [out] = [message for message in at_ben if b"Subject: out" in message]
        self.assertIn(b"\n\nfirst\n.\n.dotted\nlast\n", out)
        [bounce] = [message for message in at_ben if message is not out]
        self.assertIn(b"550 no such user here", bounce)

        at_ann = wait_for("two messages at ann's", lambda: len(box := self.inbox(server)) >= 2 and box)
        [notice] = [message for message in at_ann if b"Failed Delivery Notification" in message]
        self.assertIn(b"could not deliver the following message to <nobody@far.test>", notice)
        self.assertRegex(notice, rb"Reason: 550 5\.1\.1 <nobody@far\.test>: Recipient address rejected")
        [came_in] = [message for message in at_ann if message is not notice]
        self.assertIn(b"first\r\r\n..\r\r\n..dotted\r\r\nlast", came_in)
        self.assertEqual(server.stop(), 0)

    @staticmethod
    def inbox(server):
        return [path.read_bytes() for path in sorted(server.inbox_path("ann", "near.test").glob("n*"))]


if __name__ == "__main__":
    main()
