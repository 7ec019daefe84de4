"""Two servers on two hosts, each with a domain of its own, that find each other by MX records."""

import poplib

from network import FAR, NEAR, FarHost, NameServer
from support import PATIENCE, PASSWORD, SystemTest, Server, at_once, hand_in, log_on_smtp, main, wait_for


class TwoServers(SystemTest):
    def server(self, domain, user, host=None):
        server = Server(domains=[domain], SmtpPort=25, Pop3Port=110, PrimaryDNS=NEAR)
        server.add_user(user, domain)
        self.addCleanup(server.kill)
        server.start(within=host.command if host else ())
        return server

    def test_mail_both_ways_and_a_bounce(self):
        far_host = FarHost()
        self.addCleanup(far_host.close)
        names = NameServer(near=NEAR, far=FAR)
        self.addCleanup(names.close)
        near = self.server("near.test", "ann")
        far = self.server("far.test", "ben", far_host)

        large = b"Subject: large\r\n\r\n" + b"\r\n".join(b"%06d %s" % (number, b"x" * 60) for number in range(15_000))
        self.assertGreater(len(large), 1_000_000)
        dotted = b"Subject: dots\r\n\r\n..\r\n...\r\n..a line\r\nend"

        def send(address, user, domain, recipients, text):
            with log_on_smtp(user, domain=domain, address=address, port=25) as peer:
                reply = hand_in(peer, f"{user}@{domain}", recipients, text)
                self.assertEqual(reply, "250 OK")
        at_once(lambda: send(NEAR, "ann", "near.test", ["ben@far.test", "nobody@far.test"], large),
                lambda: send(FAR, "ben", "far.test", ["ann@near.test"], dotted))

        [at_ben] = wait_for("the message at ben's", lambda: self.fetch(FAR, "ben@far.test", 1))
        self.assertTrue(at_ben.endswith(large.replace(b"\r\n", b"\n")), at_ben[:200])
        self.assertIn(b"Received: from near.test by far.test ", at_ben)

        at_ann = wait_for("the message and the notice at ann's", lambda: self.fetch(NEAR, "ann@near.test", 2))
        [notice] = [text for text in at_ann if b"Failed Delivery Notification" in text]
        self.assertIn(b"could not deliver the following message to <nobody@far.test>\n\n"
                      b"Reason: 550 no such user here\n", notice)
        [plain] = [text for text in at_ann if text is not notice]
        self.assertTrue(plain.endswith(b"Subject: dots\n\n.\n..\n.a line\nend"), plain)

        self.assertTrue(near.logged("RCPT TO [ben@far.test] is accepted"))
        self.assertTrue(near.logged("RCPT TO [nobody@far.test] is not accepted, error:550 no such user here"))
        self.assertTrue(near.logged("send mail [TRUE] to far.test from <ann@near.test> done, retry=0"))
        for server in (near, far):
            wait_for("an empty spool", lambda: not server.spool())
            self.assertEqual(server.stop(), 0)

    @staticmethod
    def fetch(address, account, count):
        """The messages of an account, once there are so many."""
        box = poplib.POP3(address, 110, PATIENCE)
        box.user(account)
        box.pass_(PASSWORD)
        texts = []
        if box.stat()[0] == count:
            texts = [b"\n".join(box.retr(number + 1)[1]) for number in range(count)]
        box.quit()
        return texts


if __name__ == "__main__":
    main()
