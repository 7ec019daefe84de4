"""The remote road against scripted exchangers: every outcome, and a hundred slow exchanges at once."""

# ctest: timeout=300

import re
import threading

from exchangers import CLOSE, DRIBBLE, GOOD, SILENCE, Exchanger, NameServer, know_hosts
from support import DOMAIN, SystemTest, hand_in, log_on_smtp, main, send, wait_for

ANN = f"ann@{DOMAIN}"
GIVE_UP = "can not connect the remote SMTP server"
SPACING = 10  # seconds from one attempt to the next, as the system counts them: in whole ones
BEGIN = ["HELO is OK", "MAIL FROM is OK"]
DONE = "MAIL DATA is completed"


def failed(command, text):
    return f"{command} is failed, error:{text}"


def taken(address):
    return f"RCPT TO [{address}] is accepted"


def refused(address, text):
    return f"RCPT TO [{address}] is not accepted, error:{text}"


# Each domain with its exchanger's script, the recipients, the log lines of each attempt and the notices, as
# recipient and reason.
OUTCOMES = {
    "good.test": (GOOD, ["ben"], ["Connect server is failed", *BEGIN, taken("ben@good.test"), DONE], []),
    "lines.test": (["220-first\r\n220 ready", *GOOD[1:]], ["ben"],
                   [*BEGIN, taken("ben@lines.test"), DONE], []),
    "helo.test": (["220 ready", "550 no helo"], ["ben"], [failed("HELO", "550 no helo")],
                  [("ben", "550 no helo")]),
    "mute.test": (["220 ready", SILENCE], ["ben"], [failed("HELO", "")], [("ben", "")]),
    "gone.test": (["220 ready", "250 hello", CLOSE], ["ben", "cid"],
                  ["HELO is OK", failed("MAIL FROM", "network disconnected")],
                  [("ben", "network disconnected"), ("cid", "network disconnected")]),
    "some.test": (GOOD[:3] + ["450 later", *GOOD[3:]], ["ben", "cid"],
                  [*BEGIN, refused("ben@some.test", "450 later"), taken("cid@some.test"), DONE],
                  [("ben", "450 later")]),
    "none.test": (GOOD[:3] + ["550 no ben", "550 no cid"], ["ben", "cid"],
                  [*BEGIN, refused("ben@none.test", "550 no ben"), refused("cid@none.test", "550 no cid")],
                  [("ben", "550 no ben"), ("cid", "550 no cid")]),
    "data.test": (GOOD[:3] + ["550 no ben", "250 recipient", "452 full"], ["ben", "cid"],
                  [*BEGIN, refused("ben@data.test", "550 no ben"), taken("cid@data.test"),
                   failed("MAIL DATA", "452 full")],
                  [("ben", "550 no ben"), ("ben", "452 full"), ("cid", "452 full")]),
    "stale.test": (GOOD[:5] + [SILENCE], ["ben"],
                   [*BEGIN, taken("ben@stale.test"), failed("MAIL DATA", "354 go on")],
                   [("ben", "354 go on")]),
    "busy.test": (["554 no service"], ["ben"], ["Connect server is failed"], [("ben", GIVE_UP)]),
    "slow.test": ([DRIBBLE], ["ben"], ["Connect server is failed"], [("ben", GIVE_UP)]),
    "nomx.test": (None, ["ben"], ["can not resolve mx address(nomx.test)"], [("ben", GIVE_UP)]),
}
GIVEN_UP = ["busy.test", "slow.test", "nomx.test"]


class Outcomes(SystemTest):
    def test_every_row(self):
        hosts, zones, exchangers = {}, {}, {}
        for number, (domain, (script, *_)) in enumerate(OUTCOMES.items(), start=2):
            if script is not None:
                hosts[f"mx.{domain}"] = f"127.0.0.{number}"
                exchangers[domain] = Exchanger(f"127.0.0.{number}", script)
                zones[domain] = [(10, f"mx.{domain}")]
        # Two more exchangers of a domain stand in line before the good one: one unknown, one that refuses.
        hosts["down.good.test"] = "127.0.0.99"
        zones["good.test"] = [(30, "mx.good.test"), (20, "down.good.test"), (10, "unknown.good.test")]
        know_hosts(hosts)
        names = NameServer(zones)
        server = self.server_with("ann", PrimaryDNS="127.0.0.1").start()

        text = b"Subject: out\r\n\r\n..\r\n..dotted\r\nend"
        for domain, (_, users, *_) in OUTCOMES.items():
            send("ann", [f"{user}@{domain}" for user in users], text)
        expected = sorted((f"{user}@{domain}", reason) for domain, (_, _, _, notices) in OUTCOMES.items()
                          for user, reason in notices)
        wait_for("all notices", lambda: server.count("ann") >= len(expected) and not server.spool())
        self.assertEqual(sorted(map(self.notice, server.inbox("ann").values())), expected)

        for domain, (_, _, lines, _) in OUTCOMES.items():
            with self.subTest(domain):
                count = 4 if domain in GIVEN_UP else 1
                word = "TRUE" if lines[-1] == DONE else "FALSE"
                self.assertEqual(self.attempts(server, domain), [
                    [*lines, f"send mail [{word}] to {domain} from <{ANN}> done, retry={number}"]
                    for number in range(count)])
                if domain in exchangers:
                    self.check_spacing(exchangers[domain].times, count)
        self.check_the_wire(exchangers["good.test"], names)
        self.assertEqual(exchangers["none.test"].heard[0][-1], b"QUIT\r\n")
        self.assertNotIn(b"QUIT\r\n", exchangers["helo.test"].heard[0])
        self.assertEqual(server.stop(), 0)

    def check_spacing(self, times, count):
        self.assertEqual(len(times), count)
        for earlier, later in zip(times, times[1:]):
            # The time of a file, from which the wait counts, can lag behind the clock by a tick.
            self.assertGreaterEqual(int(later) - int(earlier - 0.02), SPACING)

    def check_the_wire(self, exchanger, names):
        [heard] = exchanger.heard
        self.assertEqual(heard[:4], [b"HELO example.test\r\n", b"MAIL FROM: <ann@example.test>\r\n",
                                     b"RCPT TO: <ben@good.test>\r\n", b"DATA\r\n"])
        self.assertTrue(heard[4].startswith(b"Received: from client.test by example.test (Velnor Smtp v1.0)"))
        self.assertEqual(b"".join(heard[5:]), b"Subject: out\r\n\r\n..\r\n..dotted\r\nend\r\n.\r\nQUIT\r\n")
        self.assertIn(b"\x11\xdf\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00\x04good\x04test\x00\x00\x0f\x00\x01",
                      names.questions)

    @staticmethod
    def notice(content):
        found = re.search(rb"(?s)message to <(.*?)>\r\n\r\nReason: (.*?)\r\n\r\n--======--", content)
        return found[1].decode(), found[2].decode()

    @staticmethod
    def attempts(server, domain):
        """The messages of each worker that ended with a result line of the domain, by the count in it."""
        workers, results = {}, []
        for line in server.messages():
            found = re.match(r"AGENT \[(\d+)\](.*)", line)
            if not found or "Agent Thread" in line:
                workers.pop(found[1], None) if found else None
                continue
            workers.setdefault(found[1], []).append(found[2])
            if f"] to {domain} from" in line:
                results.append(workers.pop(found[1]))
        return sorted(results, key=lambda lines: lines[-1])


class SlowExchanger(Exchanger):
    """Takes its time over each reply until it is let go, but less than the patience of its peers."""

    def __init__(self, address):
        self.go = threading.Event()
        super().__init__(address, GOOD)

    def answer(self, connection, step):
        self.go.wait(8)
        super().answer(connection, step)


class HundredAtOnce(SystemTest):
    def test_local_mail_goes_on(self):
        know_hosts({"mx.slow.test": "127.0.0.2"})
        NameServer({"slow.test": [(10, "mx.slow.test")]})
        exchanger = SlowExchanger("127.0.0.2")
        server = self.server_with("ann", "bob", PrimaryDNS="127.0.0.1").start()
        with log_on_smtp("ann") as peer:
            for number in range(101):
                reply = hand_in(peer, ANN, [f"user{number}@slow.test"], b"Subject: slow\r\n\r\nx")
                self.assertEqual(reply, "250 OK")
        wait_for("a hundred exchanges", lambda: len(exchanger.heard) == 100)
        send("ann", ["bob"], b"Subject: local\r\n\r\nx")
        wait_for("the local message", lambda: server.count("bob"))
        self.assertFalse(server.logged("MAIL DATA"), "the exchanges ended before the local message came")
        exchanger.go.set()
        wait_for("all exchanges", lambda: len(server.logged("MAIL DATA is completed")) == 101)
        wait_for("an empty spool", lambda: not server.spool())
        self.assertEqual(server.count("ann"), 0)
        self.assertEqual(server.stop(), 0)


if __name__ == "__main__":
    main()
