"""Start, second start, reload, stop in the middle of work, and a kill in the middle of load."""

import signal
import time
from concurrent.futures import ThreadPoolExecutor

import support
from support import COPIES, DOMAIN, POP3_PORT, SMTP_PORT, Peer

TEXT = b"Subject: %s\r\n\r\nText."


def tree(directory):
    """Everything below a directory with its time of change."""
    return {path: path.stat().st_mtime_ns for path in directory.rglob("*")}


class Starts(support.SystemTest):
    def test_without_the_mail_path_nothing_starts(self):
        server = self.server_with()
        server.configure(MailPath=server.directory / "nowhere")
        process = server.run()
        output, errors = process.communicate()
        self.assertEqual((process.returncode, output), (1, b""))
        self.assertEqual(errors.strip(),
                         b"You didn't set the MailPath, please open the configuration window to setup")

    def test_a_second_instance_says_so_and_touches_nothing(self):
        server = self.server_with("alice").start()
        elsewhere = server.directory / "elsewhere"
        elsewhere.mkdir()
        directories = server.home, server.programs, server.mail, elsewhere
        before = [tree(directory) for directory in directories]
        for directory in (server.home, elsewhere):
            second = server.run(directory)
            output, errors = second.communicate()
            self.assertEqual((second.returncode, output), (1, b""))
            self.assertNotEqual(errors, b"")
        self.assertEqual([tree(directory) for directory in directories], before)
        for port in (SMTP_PORT, POP3_PORT):
            with Peer(port) as peer:
                self.assertNotEqual(peer.reply(), "")
        self.assertEqual(server.stop(signal.SIGINT), 0)
        self.assertEqual(server.start().stop(), 0)


class Reload(support.SystemTest):
    def test_new_domains_accounts_and_rules_count_without_a_stop(self):
        server = self.server_with("alice").start()
        with Peer(SMTP_PORT) as peer:
            peer.reply()
            peer.say("HELO client.test")
            peer.say(f"MAIL FROM:<alice@{DOMAIN}>")
            self.assertEqual(peer.say("RCPT TO:<bob@new.test>"), "503 not local mail")

            server.configure(LocalDomain=f"{DOMAIN}|new.test|")
            (server.programs / "rules.ini").write_bytes(b"127.0.0.9\r\n")
            server.process.send_signal(signal.SIGHUP)
            support.wait_for("the new domain's directory", lambda: (server.mail / "new.test").is_dir())
            server.add_user("bob", "new.test")
            support.wait_for("the rule", lambda: self.is_blocked("127.0.0.9"))
            self.assertEqual(peer.say("RCPT TO:<bob@new.test>"), "250 accept user")

            for _ in range(100):  # a half-loaded table would refuse it
                server.process.send_signal(signal.SIGHUP)
                self.assertEqual(peer.say("RCPT TO:<bob@new.test>"), "250 accept user")
                peer.say("RSET")
                peer.say("MAIL FROM:<x@y>")
        self.assertEqual(server.stop(), 0)

    def is_blocked(self, source):
        with Peer(SMTP_PORT, source) as peer:
            return peer.reply() == ""


class StopInTheMiddle(support.SystemTest):
    def test_the_delivery_is_finished_and_the_sessions_end_at_once(self):
        server = self.server_with("alice", "bob").start()
        support.begin_long_delivery(server)
        with support.log_on_smtp("alice") as smtp, support.log_on_pop3("bob")[0] as pop3:
            server.process.send_signal(signal.SIGTERM)
            self.assertEqual((smtp.rest(), pop3.rest()), (b"", b""))
            copies = len(server.inbox_names("bob"))
        self.assertEqual(server.wait(), 0)
        self.assertLess(copies, COPIES, "the sessions ended before the delivery")
        self.assertEqual(len(server.inbox_names("bob")), COPIES)
        self.assertEqual(server.spool(), [])
        self.assertEqual(len(server.logged("[OK], <bob@")), COPIES)
        self.assertEqual(len(server.logged("session connected")), len(server.logged("session disconnected")))
        self.assertEqual(len(server.logged("]Agent Thread ended...")), 1)

        server.start()
        pop3, reply = support.log_on_pop3("bob")
        with pop3:
            self.assertTrue(reply.startswith(f"+OK {COPIES} message(s)"), reply)
        support.send("alice", ["alice"], TEXT % b"after")
        self.assertEqual(server.stop(), 0)
        self.assertEqual(len(server.spool()), 1, "a message that is not due yet stays in the spool")
        server.start()
        support.wait_for("the delivery after the stop", lambda: server.inbox("alice"))
        self.assertEqual(server.stop(), 0)


class Kill(support.SystemTest):
    """Clients hand messages in while others are delivered, and the server dies twice."""

    CLIENTS, SESSIONS, MESSAGES = 4, 40, 10  # bounds of the load

    def setUp(self):
        self.server = self.server_with("alice", "bob")
        self.taken = []

    def test_what_was_answered_with_250_is_delivered(self):
        self.server.start()
        with ThreadPoolExecutor(self.CLIENTS) as pool:
            clients = [pool.submit(self.client, number) for number in range(self.CLIENTS)]
            self.kill_after(20)
        for client in clients:
            client.result()
        self.server.start()
        self.kill_after(20)
        self.server.start()
        support.wait_for("every message that was taken", lambda: self.delivered() >= set(self.taken))
        support.wait_for("an empty spool", lambda: not self.server.spool())
        self.assertGreater(len(self.taken), 40)
        self.assertEqual(self.server.stop(), 0)

    def client(self, number):
        try:
            for session in range(self.SESSIONS):
                with support.log_on_smtp("alice") as peer:
                    for turn in range(self.MESSAGES):
                        self.hand_in(peer, b"%d-%d-%d" % (number, session, turn))
                        time.sleep(0.05)  # the pace: the load has to last until the first deliveries
        except (OSError, AssertionError):
            support.wait_for("the kill, as only a dead server refuses",
                             lambda: self.server.process.poll() is not None)

    def hand_in(self, peer, subject):
        reply = support.hand_in(peer, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], TEXT % subject)
        assert reply == "250 OK", reply
        self.taken.append(subject)

    def kill_after(self, count):
        """Kills the server when it has delivered so many messages more."""
        before = len(self.server.inbox_names("bob"))
        support.wait_for("deliveries", lambda: len(self.server.inbox_names("bob")) >= before + count)
        self.assertEqual(self.server.stop(signal.SIGKILL), -signal.SIGKILL)

    def delivered(self):
        texts = self.server.inbox("bob").values()
        return {text.partition(b"Subject: ")[2].partition(b"\r")[0] for text in texts}


if __name__ == "__main__":
    support.main()
