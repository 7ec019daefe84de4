"""The remote road against scripted exchangers: every outcome, and a hundred slow exchanges at once."""

# ctest: timeout=300

import re
import threading

from exchangers import CLOSE, DRIBBLE, GOOD, SILENCE, Exchanger, NameServer, know_hosts
from support import DOMAIN, SystemTest, hand_in, log_on_smtp, main, send, wait_for

ANN = f"ann@{DOMAIN}"
GIVE_UP = "can not connect the remote SMTP server"


def failed(command, text):
    return f"{command} is failed, error:{text}"


# Each domain with its exchanger's script, the recipients, the log lines of its worker between "started" and "ended"
# (or of the first attempt), and the notices as pairs of recipient text and reason.
OUTCOMES = {
    "good.test": (GOOD, ["ben"], ["HELO is OK", "MAIL FROM is OK", "RCPT TO [ben@good.test] is accepted",
                                  "MAIL DATA is completed"], []),
    "helo.test": (["220 ready", "550 go away"], ["ben"], [failed("HELO", "550 go away")],
                  [("ben", "550 go away")]),
    "mute.test": (["220 ready", SILENCE], ["ben"], [failed("HELO", "")], [("ben", "")]),
    "gone.test": (["220 ready", "250 hello", CLOSE], ["ben", "cid"],
                  ["HELO is OK", failed("MAIL FROM", "network disconnected")],
                  [("ben", "network disconnected"), ("cid", "network disconnected")]),
    "some.test": (GOOD[:3] + ["450 later", "250 recipient", "354 go on", "250 taken"], ["ben", "cid"],
                  ["HELO is OK", "MAIL FROM is OK", "RCPT TO [ben@some.test] is not accepted, error:450 later",
                   "RCPT TO [cid@some.test] is accepted", "MAIL DATA is completed"], [("ben", "450 later")]),
    "none.test": (GOOD[:3] + ["550 no ben", "550 no cid"], ["ben", "cid"],
                  ["HELO is OK", "MAIL FROM is OK", "RCPT TO [ben@none.test] is not accepted, error:550 no ben",
                   "RCPT TO [cid@none.test] is not accepted, error:550 no cid"],
                  [("ben", "550 no ben"), ("cid", "550 no cid")]),
    "data.test": (GOOD[:3] + ["550 no ben", "250 recipient", "452 full"], ["ben", "cid"],
                  ["HELO is OK", "MAIL FROM is OK", "RCPT TO [ben@data.test] is not accepted, error:550 no ben",
                   "RCPT TO [cid@data.test] is accepted", failed("MAIL DATA", "452 full")],
                  [("ben", "550 no ben"), ("ben", "452 full"), ("cid", "452 full")]),
    "stale.test": (GOOD[:5] + [SILENCE], ["ben"],
                   ["HELO is OK", "MAIL FROM is OK", "RCPT TO [ben@stale.test] is accepted",
                    failed("MAIL DATA", "354 go on")], [("ben", "354 go on")]),
    "lines.test": (["220-first\r\n220 ready"] + GOOD[1:], ["ben"],
                   ["HELO is OK", "MAIL FROM is OK", "RCPT TO [ben@lines.test] is accepted",
                    "MAIL DATA is completed"], []),
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
        # Two more exchangers of a domain that stand in line before the good one: one unknown, one that refuses.
        hosts["down.good.test"] = "127.0.0.99"
        zones["good.test"] = [(30, "mx.good.test"), (20, "down.good.test"), (10, "unknown.good.test")]
        know_hosts(hosts)
        names = NameServer(zones)
        server = self.server_with("ann", PrimaryDNS="127.0.0.1").start()

        text = b"Subject: out\r\n\r\n..\r\n..dotted\r\nend"
        with log_on_smtp("ann") as peer:
            for domain, (_, users, *_) in OUTCOMES.items():
                recipients = [f"{user}@{domain}" for user in users]
                self.assertEqual(hand_in(peer, ANN, recipients, text), "250 OK")

        expected = sorted((f"{user}@{domain}", reason) for domain, (_, _, _, notices) in OUTCOMES.items()
                          for user, reason in notices)
        wait_for("all notices", lambda: len(server.inbox_names("ann")) >= len(expected) and not server.spool())
        self.assertEqual(sorted(map(self.notice, server.inbox("ann").values())), expected)

        for domain, (_, _, lines, _) in OUTCOMES.items():
            with self.subTest(domain):
                attempts = self.attempts(server, domain)
                count = 4 if domain in GIVEN_UP else 1
                word = "TRUE" if lines[-1].startswith("MAIL DATA is completed") else "FALSE"
                before = ["Connect server is failed"] if domain == "good.test" else []
                self.assertEqual(attempts, [
                    before + lines + [f"send mail [{word}] to {domain} from <{ANN}> done, retry={number}"]
                    for number in range(count)])
        self.check_the_wire(exchangers["good.test"], names)
        self.assertEqual(exchangers["none.test"].heard[0][-1], b"QUIT\r\n")
        self.assertNotIn(b"QUIT\r\n", exchangers["helo.test"].heard[0])
        self.assertEqual(server.stop(), 0)

    def check_the_wire(self, exchanger, names):
        [heard] = exchanger.heard
        self.assertEqual(heard[:4], [b"HELO example.test\r\n", b"MAIL FROM: <ann@example.test>\r\n",
                                     b"RCPT TO: <ben@good.test>\r\n", b"DATA\r\n"])
        self.assertRegex(heard[4], rb"\AReceived: from client\.test by example\.test \(Velnor Smtp v1\.0\) ; ")
        self.assertEqual(heard[5:], [b"Subject: out\r\n", b"\r\n", b"..\r\n", b"..dotted\r\n", b"end\r\n", b".\r\n",
                                     b"QUIT\r\n"])
        self.assertIn(b"\x11\xdf\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00\x04good\x04test\x00\x00\x0f\x00\x01",
                      names.questions)

    @staticmethod
    def notice(content):
        found = re.search(rb"deliver the following message to <(.*?)>\r\n\r\nReason: (.*?)\r\n\r\n--======--", content,
                          re.DOTALL)
        return found[1].decode(), found[2].decode()

    @staticmethod
    def attempts(server, domain):
        """The messages of each worker that ended with a result line of the domain, in the order of the count."""
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
                self.assertEqual(hand_in(peer, ANN, [f"user{number}@slow.test"], b"Subject: slow\r\n\r\nx"), "250 OK")
        wait_for("a hundred exchanges", lambda: len(exchanger.heard) == 100)
        send("ann", ["bob"], b"Subject: local\r\n\r\nx")
        wait_for("the local message", lambda: server.inbox_names("bob"))
        self.assertFalse(server.logged("MAIL DATA"), "the exchanges ended before the local message came")
        exchanger.go.set()
        wait_for("all exchanges", lambda: len(server.logged("MAIL DATA is completed")) == 101)
        wait_for("an empty spool", lambda: not server.spool())
        self.assertEqual(server.inbox_names("ann"), [])
        self.assertEqual(server.stop(), 0)


if __name__ == "__main__":
    main()
