"""Second start, stop in the middle of work, and a kill in the middle of load."""

import signal
import time

import support
from support import COPIES, DOMAIN, POP3_PORT, SMTP_PORT, greeting, wait_for

TEXT = b"Subject: %s\r\n\r\nText."


def tree(*directories):
    """Everything below the directories with its time of change."""
    return {path: path.stat().st_mtime_ns for directory in directories for path in directory.rglob("*")}


class Starts(support.SystemTest):
    def test_a_second_instance_says_so_and_touches_nothing(self):
        server = self.server_with("alice").start()
        elsewhere = server.directory / "elsewhere"
        elsewhere.mkdir()
        directories = server.home, server.programs, server.mail, elsewhere
        before = tree(*directories)
        for directory in (server.home, elsewhere):
            second = server.run(directory)
            output, errors = second.communicate()
            self.assertEqual((second.returncode, output), (1, b""))
            self.assertIn(f"process {server.process.pid}, ", errors.decode())
        self.assertEqual(tree(*directories), before)
        self.assertTrue(greeting(SMTP_PORT) and greeting(POP3_PORT))
        self.assertEqual(server.stop(signal.SIGINT), 0)
        self.assertEqual(server.start().stop(), 0)


class StopInTheMiddle(support.SystemTest):
    def test_the_delivery_is_finished_and_the_sessions_end_at_once(self):
        server = self.server_with("alice", "bob").start()
        support.begin_long_delivery(server)
        with support.log_on_smtp("alice") as smtp, support.log_on_pop3("bob")[0] as pop3:
            server.process.send_signal(signal.SIGTERM)
            self.assertEqual((smtp.rest(), pop3.rest()), (b"", b""))
            self.assertLess(server.count("bob"), COPIES, "the sessions ended before the delivery")
        self.assertEqual(server.wait(), 0)
        self.assertEqual((server.count("bob"), server.spool()), (COPIES, []))
        self.assertEqual(len(server.logged("session connected")), len(server.logged("session disconnected")))
        self.assertEqual(len(server.logged("]Agent Thread ended...")), 1)

        server.start()
        self.assertRegex(support.reply_to_log_on("bob"), rf"\A\+OK {COPIES} message")
        support.send("alice", ["alice"], TEXT % b"after")
        self.assertEqual(server.stop(), 0)
        self.assertEqual(len(server.spool()), 1, "a message that is not due yet stays in the spool")
        server.start()
        wait_for("the delivery after the stop", lambda: server.count("alice"))
        self.assertEqual(server.stop(), 0)


class Kill(support.SystemTest):
    """Clients hand messages in while others are delivered, and the server dies twice."""

    CLIENTS, SESSIONS, MESSAGES = 4, 40, 10  # bounds of the load

    def test_what_was_answered_with_250_is_delivered(self):
        self.server = self.server_with("alice", "bob").start()
        self.taken = []
        support.at_once(lambda: self.kill_after(20), *(lambda number=number: self.client(number)
                                                       for number in range(self.CLIENTS)))
        self.server.start()
        self.kill_after(20)
        self.server.start()
        wait_for("every message that was taken", lambda: self.delivered() >= set(self.taken))
        wait_for("an empty spool", lambda: not self.server.spool())
        self.assertGreater(len(self.taken), 40)
        self.assertEqual(self.server.stop(), 0)

    def client(self, number):
        try:
            for session in range(self.SESSIONS):
                with support.log_on_smtp("alice") as peer:
                    for turn in range(self.MESSAGES):
                        subject = b"%d-%d-%d" % (number, session, turn)
                        reply = support.hand_in(peer, f"alice@{DOMAIN}", [f"bob@{DOMAIN}"], TEXT % subject)
                        assert reply == "250 OK", reply
                        self.taken.append(subject)
                        time.sleep(0.05)  # the pace: the load has to last until the first deliveries
        except (OSError, AssertionError):
            wait_for("the kill: only a dead server refuses", lambda: self.server.process.poll() is not None)

    def kill_after(self, count):
        """Kills the server when it has delivered so many messages more."""
        before = self.server.count("bob")
        wait_for("deliveries", lambda: self.server.count("bob") >= before + count)
        self.assertEqual(self.server.stop(signal.SIGKILL), -signal.SIGKILL)

    def delivered(self):
        texts = self.server.inbox("bob").values()
        return {text.partition(b"Subject: ")[2].partition(b"\r")[0] for text in texts}


if __name__ == "__main__":
    support.main()
